#pragma once

#include <pelmor/platform/MemoryShortage.h>
#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

// Whether a record copies its texts or views them in the data it is filled from.
enum class TextKeeping { kCopy, kView };

// A record's texts kept as the UTF-8 they arrive in and made wide only when a getter asks: a host that
// reads a field pays one conversion instead of one when the record is filled and a copy when it is read.
// The conversion mends invalid UTF-8 to U+FFFD, so a getter gives what converting at filling time gave.
//
// The texts are either copied into one block that the record owns (one allocation instead of one per
// text), or, for a record that is destroyed before the data it was filled from, viewed where they live.
// Not to be moved or copied: the views may point into the record's own block.
template <std::size_t Count>
class Utf8Texts {
  public:
    Utf8Texts() = default;
    Utf8Texts(const Utf8Texts&) = delete;
    Utf8Texts& operator=(const Utf8Texts&) = delete;

    // The texts of one filling, gathered before they are taken over: views of the source's texts where
    // they live, and the spelling of members that are not texts (numbers, bools).
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
                anySpelled_ = anySpelled_ || !spelled_[index].empty();
            }
        }

      private:
        friend class Utf8Texts;
        std::array<std::string_view, Count> views_{};
        std::array<std::string, Count> spelled_;
        bool anySpelled_ = false;
    };

    // Text number index as wide text; empty when memory runs out.
    XString Wide(std::size_t index) const noexcept {
        try {
            return XString::FromUtf8(texts_[index].data(), texts_[index].size());
        } catch (...) {
            Pelmor::NoteMemoryShortage();
            return XString();
        }
    }

    std::string_view View(std::size_t index) const noexcept { return texts_[index]; }

    // Replaces every text with the draft's, copied into one new block (the draft may view the texts it
    // replaces). Throws std::bad_alloc when the block cannot be had; the texts then stay as they were.
    void Assign(const Draft& draft) {
        std::size_t total = 0;
        for (const std::string_view text : draft.views_)
            total += text.size();
        std::string block;
        block.reserve(total);
        for (const std::string_view text : draft.views_)
            block.append(text);
        block_.swap(block);
        // Only now, in the block where it stays, can each text be viewed.
        std::size_t start = 0;
        for (std::size_t i = 0; i < Count; ++i) {
            texts_[i] = std::string_view(block_.data() + start, draft.views_[i].size());
            start += draft.views_[i].size();
        }
    }

    // Replaces every text with the draft's, viewed where it lives: the source the draft viewed must
    // outlive these texts. Texts spelled from numbers live only in the draft, so then all are copied.
    void Borrow(const Draft& draft) {
        if (draft.anySpelled_) return Assign(draft);
        texts_ = draft.views_;
    }

    void Take(const Draft& draft, TextKeeping keeping) {
        if (keeping == TextKeeping::kView)
            Borrow(draft);
        else
            Assign(draft);
    }

    void Clear() noexcept {
        texts_.fill(std::string_view());
        std::string().swap(block_);
    }

  private:
    std::string block_;
    std::array<std::string_view, Count> texts_{};
};
