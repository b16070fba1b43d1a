#pragma once

#include <pelmor/platform/MemoryShortage.h>
#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

// A record's texts kept as the UTF-8 they arrive in, all in one block, and made wide only when a getter
// asks: a record costs one allocation instead of one per text, and a host that reads a field pays one
// conversion instead of one when the record is filled and a copy when it is read. The conversion mends
// invalid UTF-8 to U+FFFD, so a getter gives what converting at filling time gave.
template <std::size_t Count>
class Utf8Texts {
  public:
    // The texts of one filling, gathered before they are copied into the block: views of the source's
    // texts where they live, and the spelling of members that are not texts (numbers, bools).
    class Draft {
      public:
        Draft() = default;
        Draft(const Draft&) = delete;
        Draft& operator=(const Draft&) = delete;

        void Set(std::size_t index, std::string_view text) noexcept { views_[index] = text; }
        // A member's text as AsString gives it: viewed in place when it is a text.
        void Set(std::size_t index, const XJson& value) noexcept {
            if (value.IsString()) {
                views_[index] = value.TextView();
            } else {
                spelled_[index] = value.AsString();
                views_[index] = spelled_[index];
            }
        }

      private:
        friend class Utf8Texts;
        std::array<std::string_view, Count> views_{};
        std::array<std::string, Count> spelled_;
    };

    // Text index as wide text; empty when memory runs out.
    XString Wide(std::size_t index) const noexcept {
        try {
            const std::string_view text = View(index);
            return XString::FromUtf8(text.data(), text.size());
        } catch (...) {
            Pelmor::NoteMemoryShortage();
            return XString();
        }
    }

    std::string_view View(std::size_t index) const noexcept {
        return std::string_view(block_.data() + starts_[index], starts_[index + 1] - starts_[index]);
    }

    // Replaces every text with the draft's, copied into one new block (the draft may view the texts it
    // replaces). Throws std::bad_alloc when the block cannot be had; the texts then stay as they were.
    void Assign(const Draft& draft) {
        std::size_t total = 0;
        for (const std::string_view text : draft.views_)
            total += text.size();
        std::string block;
        block.reserve(total);
        std::array<std::size_t, Count + 1> starts;
        for (std::size_t i = 0; i < Count; ++i) {
            starts[i] = block.size();
            block.append(draft.views_[i]);
        }
        starts[Count] = block.size();
        block_.swap(block);
        starts_ = starts;
    }

    void Clear() noexcept {
        std::string().swap(block_);
        starts_.fill(0);
    }

  private:
    std::string block_;
    // Text i is block_[starts_[i], starts_[i + 1]).
    std::array<std::size_t, Count + 1> starts_{};
};
