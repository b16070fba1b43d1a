#pragma once

#include <boost/json/array.hpp>
#include <boost/json/error.hpp>
#include <boost/json/object.hpp>
#include <boost/json/string.hpp>
#include <boost/json/string_view.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// Reads a whole JSON text in memory and tells a handler of the shape of Boost.JSON's basic_parser what it
// finds, the same calls in the same order. It reads only what it can read exactly as that parser does:
// objects, arrays, texts (with every escape), integers that fit 64 bits, literals. It gives up on anything
// else, a number with a fraction or an exponent, a lone surrogate, anything that is not JSON, and the
// caller then has the general parser read the text from the start. Giving up is always safe; reading
// something differently never is.
//
// The general parser can stop at any byte and go on with the next buffer, and pays for that at every
// token; here the text is all there, so each value is read by one plain loop.
// The sizes Boost.JSON's containers take, which a handler of the reader or of basic_parser states as its own.
struct BoostJsonSizeLimits {
    static constexpr std::size_t max_object_size = boost::json::object::max_size();
    static constexpr std::size_t max_array_size = boost::json::array::max_size();
    static constexpr std::size_t max_key_size = boost::json::string::max_size();
    static constexpr std::size_t max_string_size = boost::json::string::max_size();
};

template <typename Handler>
class JsonFastReader {
  public:
    // watched: a member of the top-level object whose value's place in the text is wanted (Watched).
    JsonFastReader(Handler& handler, boost::json::string_view text,
                   boost::json::string_view watched = {}) noexcept
        : handler_(handler), end_(text.data() + text.size()), begin_(text.data()), watched_(watched) {}

    // True when the text was one document the handler now holds; false when the reader gave up.
    bool Read() {
        // A shorter text holds no string, key, object or array larger than the general parser takes, so
        // nothing below needs to count sizes. (Decoding never makes a text longer.)
        if (static_cast<std::size_t>(end_ - begin_) > kLongestText) return false;
        const char* p = begin_;
        const char c = Peek(p);
        p = Member(p, c, kMaxDepth);
        if (!p) return false;
        const char* const end = SkipSpace(p);
        if (end != p) compact_ = false;
        return end == end_;
    }

    // After Read: whether the text held no space between tokens, no escape the renderer writes otherwise
    // (only \" \\ \b \f \n \r \t) and no "-0". Byte for byte what the renderer writes of the tree, then,
    // provided its texts are valid UTF-8 and no object had a key twice, which the reader does not check.
    bool Compact() const { return compact_; }
    // The watched member's value as it stands in the text; empty when there was none.
    boost::json::string_view Watched() const { return watchedValue_; }

  private:
    // As deep as the general parser goes with its default options.
    static constexpr unsigned kMaxDepth = 32;
    static constexpr std::size_t Least(std::size_t a, std::size_t b) { return a < b ? a : b; }
    static constexpr std::size_t kLongestText =
        Least(Least(Handler::max_string_size, Handler::max_key_size),
              Least(Handler::max_object_size, Handler::max_array_size));
    // Escaped texts are decoded into a buffer of this size and handed over in parts when longer.
    static constexpr std::size_t kDecodeBuffer = 4096;

    static bool IsSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
    static bool IsDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }
    // Ends a run of bytes that go into a text as they are. Bytes from 0x80 up go in as they are: invalid
    // UTF-8 is allowed.
    static bool EndsPlainRun(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

    const char* SkipSpace(const char* p) const {
        while (p != end_ && IsSpace(*p))
            ++p;
        return p;
    }

    // The first byte of the next token, moving p past any space before it; 0 at the end of the text (a
    // 0 byte in the text is no token either). Compact text has no space: one test for the usual case.
    char Peek(const char*& p) {
        if (p != end_ && static_cast<unsigned char>(*p) > ' ') return *p;
        const char* const next = SkipSpace(p);
        if (next != p) compact_ = false;
        p = next;
        return p != end_ ? *p : 0;
    }

    // The first byte from p on that ends a plain run, or end_.
    const char* PlainRunEnd(const char* p) const {
#ifdef __SSE2__
        const __m128i lastControl = _mm_set1_epi8(0x1F);
        const __m128i quote = _mm_set1_epi8('"');
        const __m128i backslash = _mm_set1_epi8('\\');
        while (end_ - p >= 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(v, lastControl), v);
            const __m128i special =
                _mm_or_si128(control, _mm_or_si128(_mm_cmpeq_epi8(v, quote), _mm_cmpeq_epi8(v, backslash)));
            const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(special));
            if (mask != 0) return p + __builtin_ctz(mask);
            p += 16;
        }
#endif
        while (p != end_ && !EndsPlainRun(*p))
            ++p;
        return p;
    }

    // The value other than a text that starts with c at p (c is 0 at the end). depth: how many more
    // containers may open.
    const char* Value(const char* p, char c, unsigned depth) {
        switch (c) {
            case '{':
                return depth ? Object(p + 1, depth - 1) : nullptr;
            case '[':
                return depth ? Array(p + 1, depth - 1) : nullptr;
            case 't':
                return Literal(p, "true", 4) ? (handler_.on_bool(true, ec_), p + 4) : nullptr;
            case 'f':
                return Literal(p, "false", 5) ? (handler_.on_bool(false, ec_), p + 5) : nullptr;
            case 'n':
                return Literal(p, "null", 4) ? (handler_.on_null(ec_), p + 4) : nullptr;
            case '-':
            case '0':
            case '1':
            case '2':
            case '3':
            case '4':
            case '5':
            case '6':
            case '7':
            case '8':
            case '9':
                return Number(p);
            default:
                return nullptr;
        }
    }

    // Any value. Texts, most of them, are tested for first, and Value has no case for them: one copy fewer
    // of the text's inlined handling, which made the whole parse measurably slower.
    const char* Member(const char* p, char c, unsigned depth) {
        return c == '"' ? Text<false>(p + 1) : Value(p, c, depth);
    }

    bool Literal(const char* p, const char* word, std::size_t length) const {
        return static_cast<std::size_t>(end_ - p) >= length && std::memcmp(p, word, length) == 0;
    }

    // p is just past the '{'.
    const char* Object(const char* p, unsigned depth) {
        const bool topLevel = depth == kMaxDepth - 1;
        std::size_t members = 0;
        char c = Peek(p);
        if (c != '}') {
            for (;;) {
                if (c != '"') return nullptr;
                const char* const key = p + 1;
                p = Text<true>(key);
                if (!p) return nullptr;
                // Compared as written: a key with an escape is not matched, which only costs the shortcut.
                const bool watched = topLevel && !watched_.empty() &&
                                     static_cast<std::size_t>(p - key) == watched_.size() + 1 &&
                                     std::memcmp(key, watched_.data(), watched_.size()) == 0;
                if (Peek(p) != ':') return nullptr;
                ++p;
                c = Peek(p);  // moves p: not in the call below, whose arguments have no order
                const char* const value = p;
                p = Member(p, c, depth);
                if (!p) return nullptr;
                if (watched)
                    watchedValue_ = boost::json::string_view(value, static_cast<std::size_t>(p - value));
                ++members;
                c = Peek(p);
                if (c != ',') break;
                ++p;
                c = Peek(p);
            }
            if (c != '}') return nullptr;
        }
        handler_.on_object_end(members, ec_);
        return p + 1;
    }

    // p is just past the '['.
    const char* Array(const char* p, unsigned depth) {
        std::size_t elements = 0;
        char c = Peek(p);
        if (c != ']') {
            for (;;) {
                p = Member(p, c, depth);
                if (!p) return nullptr;
                ++elements;
                c = Peek(p);
                if (c != ',') break;
                ++p;
                c = Peek(p);
            }
            if (c != ']') return nullptr;
        }
        handler_.on_array_end(elements, ec_);
        return p + 1;
    }

    // An integer, as the general parser reads it: int64 when it fits, else uint64 when it is positive and
    // fits that. Anything else (a fraction, an exponent, more digits) is left to the general parser.
    const char* Number(const char* p) {
        const bool negative = *p == '-';
        if (negative) ++p;
        if (p == end_ || !IsDigit(*p)) return nullptr;
        std::uint64_t value = 0;
        if (*p == '0') {
            ++p;  // a digit after it is not JSON, and stops whatever reads on
        } else {
            // Nineteen digits always fit; a twentieth might.
            const char* const digits = p;
            while (p != end_ && IsDigit(*p) && p - digits < 19)
                value = 10 * value + static_cast<unsigned>(*p++ - '0');
            if (p != end_ && IsDigit(*p)) {
                const unsigned last = static_cast<unsigned>(*p++ - '0');
                if (value > UINT64_MAX / 10 || 10 * value > UINT64_MAX - last) return nullptr;
                value = 10 * value + last;
                if (p != end_ && IsDigit(*p)) return nullptr;
            }
        }
        if (p != end_ && (*p == '.' || *p == 'e' || *p == 'E')) return nullptr;
        if (negative && value == 0) compact_ = false;  // "-0" is rendered "0"
        if (negative) {
            if (value > std::uint64_t(1) << 63) return nullptr;
            handler_.on_int64(static_cast<std::int64_t>(0 - value), {}, ec_);
        } else if (value <= static_cast<std::uint64_t>(INT64_MAX)) {
            handler_.on_int64(static_cast<std::int64_t>(value), {}, ec_);
        } else {
            handler_.on_uint64(value, {}, ec_);
        }
        return p;
    }

    // p is just past the opening quote. A text without escapes goes to the handler straight from the
    // input, in one piece.
    template <bool IsKey>
    const char* Text(const char* p) {
        const char* const start = p;
        p = PlainRunEnd(p);
        if (p == end_) return nullptr;
        const std::size_t size = static_cast<std::size_t>(p - start);
        if (*p == '"') {
            Whole<IsKey>(start, size);
            return p + 1;
        }
        if (*p != '\\') return nullptr;  // a control character
        if (size) Part<IsKey>(start, size);
        return Escaped<IsKey>(p);
    }

    template <bool IsKey>
    void Whole(const char* text, std::size_t size) {
        if (IsKey)
            handler_.on_key({text, size}, 0, ec_);
        else
            handler_.on_string({text, size}, 0, ec_);
    }

    template <bool IsKey>
    void Part(const char* text, std::size_t size) {
        if (IsKey)
            handler_.on_key_part({text, size}, 0, ec_);
        else
            handler_.on_string_part({text, size}, 0, ec_);
    }

    // The rest of a text from its first backslash at p.
    template <bool IsKey>
    const char* Escaped(const char* p) {
        char buffer[kDecodeBuffer];
        std::size_t used = 0;
        const auto flush = [&] {
            if (used) Part<IsKey>(buffer, used);
            used = 0;
        };
        for (;;) {
            if (p == end_) return nullptr;
            if (*p == '\\') {
                // Room for the longest decoded escape, a surrogate pair's four bytes.
                if (used > sizeof buffer - 4) flush();
                p = Escape(p + 1, buffer + used, used);
                if (!p) return nullptr;
            } else {
                const char* const run = p;
                p = PlainRunEnd(p);
                if (p == end_) return nullptr;
                const std::size_t size = static_cast<std::size_t>(p - run);
                if (used + size > sizeof buffer) flush();
                if (size > sizeof buffer) {
                    Part<IsKey>(run, size);
                } else {
                    std::memcpy(buffer + used, run, size);
                    used += size;
                }
                if (*p == '"') {
                    Whole<IsKey>(buffer, used);
                    return p + 1;
                }
                if (*p != '\\') return nullptr;
            }
        }
    }

    // Decodes the escape whose letter is at p into out, adding its length to used; returns what follows it.
    const char* Escape(const char* p, char* out, std::size_t& used) {
        if (p == end_) return nullptr;
        char c;
        switch (*p) {
            case '/':
                compact_ = false;  // the renderer writes '/' as it is
                c = *p;
                break;
            case '"':
            case '\\':
                c = *p;
                break;
            case 'b':
                c = '\b';
                break;
            case 'f':
                c = '\f';
                break;
            case 'n':
                c = '\n';
                break;
            case 'r':
                c = '\r';
                break;
            case 't':
                c = '\t';
                break;
            case 'u':
                compact_ = false;  // rarely the renderer's own form: not worth telling apart
                return Utf16Escape(p + 1, out, used);
            default:
                return nullptr;
        }
        *out = c;
        ++used;
        return p + 1;
    }

    // p is just past "\u". A surrogate must be a leading one followed by an escaped trailing one.
    const char* Utf16Escape(const char* p, char* out, std::size_t& used) const {
        const long unit = Hex4(p);
        if (unit < 0) return nullptr;
        p += 4;
        unsigned long point = static_cast<unsigned long>(unit);
        if (point >= 0xD800 && point <= 0xDFFF) {
            if (point > 0xDBFF || end_ - p < 6 || p[0] != '\\' || p[1] != 'u') return nullptr;
            const long trailing = Hex4(p + 2);
            if (trailing < 0xDC00 || trailing > 0xDFFF) return nullptr;
            p += 6;
            point = 0x10000 + ((point - 0xD800) << 10) + (static_cast<unsigned long>(trailing) - 0xDC00);
        }
        used += EncodeUtf8(point, reinterpret_cast<unsigned char*>(out));
        return p;
    }

    // Four hex digits at p as a number, or -1.
    long Hex4(const char* p) const {
        if (end_ - p < 4) return -1;
        long value = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = p[i];
            int digit;
            if (IsDigit(c))
                digit = c - '0';
            else if ((c | 0x20) >= 'a' && (c | 0x20) <= 'f')
                digit = (c | 0x20) - 'a' + 10;
            else
                return -1;
            value = 16 * value + digit;
        }
        return value;
    }

    static std::size_t EncodeUtf8(unsigned long point, unsigned char* out) {
        if (point < 0x80) {
            out[0] = static_cast<unsigned char>(point);
            return 1;
        }
        if (point < 0x800) {
            out[0] = static_cast<unsigned char>(0xC0 | (point >> 6));
            out[1] = static_cast<unsigned char>(0x80 | (point & 0x3F));
            return 2;
        }
        if (point < 0x10000) {
            out[0] = static_cast<unsigned char>(0xE0 | (point >> 12));
            out[1] = static_cast<unsigned char>(0x80 | ((point >> 6) & 0x3F));
            out[2] = static_cast<unsigned char>(0x80 | (point & 0x3F));
            return 3;
        }
        out[0] = static_cast<unsigned char>(0xF0 | (point >> 18));
        out[1] = static_cast<unsigned char>(0x80 | ((point >> 12) & 0x3F));
        out[2] = static_cast<unsigned char>(0x80 | ((point >> 6) & 0x3F));
        out[3] = static_cast<unsigned char>(0x80 | (point & 0x3F));
        return 4;
    }

    Handler& handler_;
    const char* const end_;
    const char* const begin_;
    const boost::json::string_view watched_;
    boost::json::string_view watchedValue_;
    bool compact_ = true;
    // The handler's calls take one; the tree builder never sets it.
    boost::json::error_code ec_;
};
