#include "JsonMemberCut.h"

#include <boost/json/error.hpp>

#include <cstdint>
#include <cstring>

#include "JsonFastReader.h"
#include "pelmor/platform/XString.h"

// A file of its own: beside the tree builder's reader, this second reader took the compiler's inlining
// budget for that file, and the builder's reader came out slower.

namespace json = boost::json;

namespace {

// A handler that builds nothing and checks only what a text cannot show of itself: whether an object in it
// has a key twice. Keys are compared as written, so a key with an escape counts as a repeat, as does any key
// once too many are open at once to keep track of.
class KeyRepeatCheck : public BoostJsonSizeLimits {
  public:
    explicit KeyRepeatCheck(json::string_view text) noexcept : text_(text) {}

    bool Repeated() const { return repeated_; }

    bool on_key_part(json::string_view, std::size_t, json::error_code&) {
        repeated_ = true;
        return true;
    }
    bool on_key(json::string_view key, std::size_t, json::error_code&) {
        // A key decoded from escapes is handed over from the reader's buffer, not the text.
        const bool asWritten =
            key.data() >= text_.data() && key.data() + key.size() <= text_.data() + text_.size();
        if (repeated_ || !asWritten || open_ == kKeys) {
            repeated_ = true;
            return true;
        }
        keys_[open_++] = Key{key.data(), key.size()};
        return true;
    }
    // An object's keys are the last n kept; compared two by two, as few as objects have.
    bool on_object_end(std::size_t n, json::error_code&) {
        if (repeated_) return true;
        const Key* const keys = keys_ + (open_ - n);
        for (std::size_t i = 1; i < n; ++i)
            for (std::size_t j = 0; j < i; ++j)
                if (keys[i].size == keys[j].size &&
                    std::memcmp(keys[i].data, keys[j].data, keys[i].size) == 0) {
                    repeated_ = true;
                    return true;
                }
        open_ -= n;
        return true;
    }
    bool on_array_end(std::size_t, json::error_code&) { return true; }
    bool on_string_part(json::string_view, std::size_t, json::error_code&) { return true; }
    bool on_string(json::string_view, std::size_t, json::error_code&) { return true; }
    bool on_int64(std::int64_t, json::string_view, json::error_code&) { return true; }
    bool on_uint64(std::uint64_t, json::string_view, json::error_code&) { return true; }
    bool on_bool(bool, json::error_code&) { return true; }
    bool on_null(json::error_code&) { return true; }

  private:
    struct Key {
        const char* data;
        std::size_t size;
    };
    static constexpr std::size_t kKeys = 64;
    const json::string_view text_;
    Key keys_[kKeys];
    std::size_t open_ = 0;
    bool repeated_ = false;
};

}  // namespace

CutMember CutOutMember(json::string_view text, json::string_view key) {
    KeyRepeatCheck check(text);
    JsonFastReader<KeyRepeatCheck> reader(check, text, key);
    CutMember cut;
    if (!reader.Read() || !reader.Compact() || check.Repeated()) return cut;
    const json::string_view value = reader.Watched();
    // A null is its own stand-in; Render would write it on its own as {}.
    if (value.empty() || value == "null" || !IsValidUtf8(value.data(), value.size())) return cut;
    const std::size_t before = static_cast<std::size_t>(value.data() - text.data());
    cut.rest.reserve(text.size() - value.size() + 4);
    cut.rest.append(text.data(), before)
        .append("null")
        .append(value.data() + value.size(), text.size() - before - value.size());
    cut.value = value;
    return cut;
}
