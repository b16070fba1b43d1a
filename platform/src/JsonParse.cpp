#include "JsonParse.h"

#include <boost/json/basic_parser_impl.hpp>

#include <cstring>
#include <new>
#include <utility>

#include "JsonFastReader.h"
#include "JsonMemberCut.h"
#include "pelmor/platform/XString.h"

namespace json = boost::json;

namespace {

// Builds the tree while the parser reads: each value is made in place on a stack of values as soon as it
// is complete, and an object or array takes its members off the stack in one piece, as Boost.JSON's own
// parser does. Written here, beside the parser's template, so that the whole parse is one piece of
// inlined code instead of a call into the library per value.
class TreeBuilder : public BoostJsonSizeLimits {
  public:
    explicit TreeBuilder(ParseArena& arena) noexcept : arena_(arena), storage_(&arena) {}
    ~TreeBuilder() {
        // The values themselves live in the arena and go with it; only the stack's blocks are let go.
        if (begin_ != Local()) arena_.deallocate(begin_, Capacity() * sizeof(json::value));
        if (chars_) arena_.deallocate(chars_, charsCapacity_);
    }
    TreeBuilder(const TreeBuilder&) = delete;
    TreeBuilder& operator=(const TreeBuilder&) = delete;

    // The finished document, once the parser is done.
    json::value Release() noexcept { return json::value(std::move(*begin_)); }

    bool on_document_begin(json::error_code&) { return true; }
    bool on_document_end(json::error_code&) { return true; }
    bool on_object_begin(json::error_code&) { return true; }
    bool on_array_begin(json::error_code&) { return true; }

    bool on_object_end(std::size_t n, json::error_code&) {
        Room();
        top_ -= 2 * n;
        // The object's constructor takes the keys and values over and keeps the last of duplicate keys in
        // the first one's place.
        PushMade(json::detail::unchecked_object(top_, n, storage_));
        return true;
    }
    bool on_array_end(std::size_t n, json::error_code&) {
        Room();
        top_ -= n;
        PushMade(json::detail::unchecked_array(top_, n, storage_));
        return true;
    }

    bool on_key_part(json::string_view s, std::size_t, json::error_code&) {
        Keep(s);
        return true;
    }
    // Texts and keys are most of a document: their two handlers are inlined into the readers, whatever the
    // compiler makes of their size: the calls were about a twentieth of a parse.
    [[gnu::always_inline]] bool on_key(json::string_view s, std::size_t, json::error_code&) {
        Room();
        if (kept_ == 0) {
            json::detail::access::construct_value(top_, json::detail::key_t{}, s, storage_);
        } else {
            json::detail::access::construct_value(top_, json::detail::key_t{}, Kept(), s, storage_);
            kept_ = 0;
        }
        ++top_;
        return true;
    }
    bool on_string_part(json::string_view s, std::size_t, json::error_code&) {
        Keep(s);
        return true;
    }
    [[gnu::always_inline]] bool on_string(json::string_view s, std::size_t, json::error_code&) {
        Room();
        if (kept_ == 0) {
            new (top_) json::value(s, storage_);
        } else {
            json::string& text = (new (top_) json::value(json::string_kind, storage_))->get_string();
            ++top_;  // on the stack before it can throw, so that nothing it holds is lost track of
            text.reserve(kept_ + s.size());
            text.append(Kept()).append(s);
            kept_ = 0;
            return true;
        }
        ++top_;
        return true;
    }

    bool on_number_part(json::string_view, json::error_code&) { return true; }
    bool on_int64(std::int64_t i, json::string_view, json::error_code&) { return Push(i); }
    bool on_uint64(std::uint64_t u, json::string_view, json::error_code&) { return Push(u); }
    bool on_double(double d, json::string_view, json::error_code&) { return Push(d); }
    bool on_bool(bool b, json::error_code&) { return Push(b); }
    bool on_null(json::error_code&) { return Push(nullptr); }
    // Comments are not allowed, so these are never called.
    bool on_comment_part(json::string_view, json::error_code&) { return true; }
    bool on_comment(json::string_view, json::error_code&) { return true; }

  private:
    json::value* Local() { return reinterpret_cast<json::value*>(local_); }
    std::size_t Capacity() const { return static_cast<std::size_t>(end_ - begin_); }

    // Room for one more value on the stack.
    void Room() {
        if (top_ == end_) Grow();
    }

    void Grow() {
        const std::size_t capacity = Capacity();
        auto* bigger = static_cast<json::value*>(arena_.allocate(2 * capacity * sizeof(json::value)));
        // Values move by their bytes, as Boost.JSON's own stack moves them.
        std::memcpy(static_cast<void*>(bigger), static_cast<const void*>(begin_),
                    capacity * sizeof(json::value));
        if (begin_ != Local()) arena_.deallocate(begin_, capacity * sizeof(json::value));
        begin_ = bigger;
        top_ = bigger + capacity;
        end_ = bigger + 2 * capacity;
    }

    template <typename Scalar>
    bool Push(Scalar scalar) {
        Room();
        new (top_) json::value(scalar, storage_);
        ++top_;
        return true;
    }

    // Makes a container from members just taken off the stack, and puts it where they began. It is made
    // beside the stack first: its constructor reads the members from the very place it goes.
    template <typename Unchecked>
    void PushMade(Unchecked&& members) {
        union Made {
            json::value value;
            Made() {}
            ~Made() {}
        } made;
        json::detail::access::construct_value(&made.value, std::move(members));
        std::memcpy(static_cast<void*>(top_), static_cast<const void*>(&made.value), sizeof(json::value));
        ++top_;
    }

    // Text of a string or key that arrives in pieces, kept until its last piece.
    void Keep(json::string_view s) {
        if (kept_ + s.size() > charsCapacity_) {
            std::size_t capacity = charsCapacity_ ? 2 * charsCapacity_ : 256;
            while (capacity < kept_ + s.size())
                capacity *= 2;
            char* bigger = static_cast<char*>(arena_.allocate(capacity, 1));
            if (kept_) std::memcpy(bigger, chars_, kept_);
            if (chars_) arena_.deallocate(chars_, charsCapacity_, 1);
            chars_ = bigger;
            charsCapacity_ = capacity;
        }
        std::memcpy(chars_ + kept_, s.data(), s.size());
        kept_ += s.size();
    }
    json::string_view Kept() const { return json::string_view(chars_, kept_); }

    ParseArena& arena_;
    json::storage_ptr storage_;
    // A document of up to this many pending values needs no stack of its own.
    static constexpr std::size_t kLocalValues = 64;
    alignas(json::value) unsigned char local_[kLocalValues * sizeof(json::value)];
    json::value* begin_ = Local();
    json::value* top_ = begin_;
    json::value* end_ = begin_ + kLocalValues;
    char* chars_ = nullptr;
    std::size_t kept_ = 0;
    std::size_t charsCapacity_ = 0;
};

}  // namespace

json::value ParseJson(json::string_view text, ParseArena*& arena, bool& ok, JsonReader reader,
                      JsonReader* readBy, RenderedMember* member) {
    ok = false;
    if (readBy) *readBy = reader;
    if (member) member->text = json::string_view();
    // With a member asked for, the document is built without it where its text can stand for it.
    CutMember cut;
    if (member && reader == JsonReader::kFastFirst) cut = CutOutMember(text, member->key);
    const json::string_view read = cut.value.empty() ? text : json::string_view(cut.rest);
    if (reader == JsonReader::kFastFirst) {
        try {
            TreeBuilder builder(*arena);
            JsonFastReader<TreeBuilder> fast(builder, read);
            if (fast.Read()) {
                ok = true;
                if (member) member->text = cut.value;
                return builder.Release();
            }
        } catch (const ParseArena::OverBudget&) {
            // The general parser's own tree decides whether the text fits.
        }
        if (readBy) *readBy = JsonReader::kGeneral;
        // Start over in a fresh arena, so that the text gets its whole budget and what the fast reader
        // built is gone before the general parser builds its own.
        arena->Drop();
        arena = ParseArena::Create(text.size());
        if (!arena) throw std::bad_alloc();
    }
    json::parse_options options;
    options.allow_invalid_utf8 = true;
    json::basic_parser<TreeBuilder> parser(options, *arena);
    json::error_code ec;
    const std::size_t used = parser.write_some(false, text.data(), text.size(), ec);
    if (ec || used < text.size() || !parser.done()) return json::value();
    ok = true;
    return parser.handler().Release();
}
