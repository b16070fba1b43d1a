#include "JsonText.h"

#include <boost/json/serializer.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "pelmor/platform/XString.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace json = boost::json;

namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101ull;
constexpr std::uint64_t kHighs = 0x8080808080808080ull;

inline std::uint64_t ZeroBytes(std::uint64_t word) {
    return (word - kOnes) & ~word & kHighs;
}

// True when one of the eight bytes is a control character, '"' or '\\'.
inline bool WordNeedsEscape(std::uint64_t word) {
    const std::uint64_t control = (word - 0x20 * kOnes) & ~word & kHighs;
    return (control | ZeroBytes(word ^ ('"' * kOnes)) | ZeroBytes(word ^ ('\\' * kOnes))) != 0;
}

inline bool NeedsEscape(unsigned char c) {
    return c < 0x20 || c == '"' || c == '\\';
}

inline bool WordHasSpecial(std::uint64_t word, bool stopAboveAscii) {
    return WordNeedsEscape(word) || (stopAboveAscii && (word & kHighs) != 0);
}

// Whether a text of 4 to 15 bytes holds a byte that cannot be copied as it stands, from two loads that
// overlap in the middle and together cover it all.
inline bool ShortTextHasSpecial(const unsigned char* bytes, std::size_t length, bool stopAboveAscii) {
    if (length >= 8) {
        std::uint64_t first;
        std::uint64_t last;
        std::memcpy(&first, bytes, sizeof first);
        std::memcpy(&last, bytes + length - sizeof last, sizeof last);
        return WordHasSpecial(first, stopAboveAscii) || WordHasSpecial(last, stopAboveAscii);
    }
    std::uint32_t first;
    std::uint32_t last;
    std::memcpy(&first, bytes, sizeof first);
    std::memcpy(&last, bytes + length - sizeof last, sizeof last);
    return WordHasSpecial(first | static_cast<std::uint64_t>(last) << 32, stopAboveAscii);
}

void WriteEscape(JsonPieceWriter& out, unsigned char c) {
    char escape[6] = {'\\', 0, 0, 0, 0, 0};
    switch (c) {
        case '"':
            escape[1] = '"';
            break;
        case '\\':
            escape[1] = '\\';
            break;
        case '\b':
            escape[1] = 'b';
            break;
        case '\t':
            escape[1] = 't';
            break;
        case '\n':
            escape[1] = 'n';
            break;
        case '\f':
            escape[1] = 'f';
            break;
        case '\r':
            escape[1] = 'r';
            break;
        default: {
            static constexpr char kHex[] = "0123456789abcdef";
            const char unicode[6] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 15]};
            out.Put(unicode, sizeof unicode);
            return;
        }
    }
    out.Put(escape, 2);
}

// Where the next byte is that cannot be copied as it stands: one that needs an escape, or, unless the text
// is known to be valid UTF-8, one above ASCII. length when there is none. Sixteen bytes a step with SSE2
// (every x86-64 has it), else eight.
std::size_t FindSpecial(const unsigned char* bytes, std::size_t length, bool stopAboveAscii) {
    std::size_t i = 0;
#ifdef __SSE2__
    const __m128i lastControl = _mm_set1_epi8(0x1F);
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    const auto specials = [&](__m128i v) {
        const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(v, lastControl), v);
        const __m128i special =
            _mm_or_si128(control, _mm_or_si128(_mm_cmpeq_epi8(v, quote), _mm_cmpeq_epi8(v, backslash)));
        unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(special));
        if (stopAboveAscii) mask |= static_cast<unsigned>(_mm_movemask_epi8(v));
        return mask;
    };
    for (; i + 16 <= length; i += 16) {
        const unsigned mask = specials(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i)));
        if (mask != 0) return i + static_cast<std::size_t>(__builtin_ctz(mask));
    }
    if (i == length) return length;
    // The last few bytes in one step too. A text of sixteen bytes or more: its last sixteen, overlapping
    // what was scanned, so that the load stays inside the text.
    if (length >= 16) {
        const std::size_t start = length - 16;
        const unsigned mask =
            specials(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + start))) >> (i - start);
        return mask != 0 ? i + static_cast<std::size_t>(__builtin_ctz(mask)) : length;
    }
    // A shorter one (most keys and many texts): two overlapping words say whether anything is there; a
    // copy into a padded vector instead would stall on loading what was just stored.
    if (length >= 4 && !ShortTextHasSpecial(bytes, length, stopAboveAscii)) return length;
    for (; i < length; ++i)
        if (NeedsEscape(bytes[i]) || (stopAboveAscii && bytes[i] >= 0x80)) return i;
    return length;
#else
    for (; i + sizeof(std::uint64_t) <= length; i += sizeof(std::uint64_t)) {
        std::uint64_t word;
        std::memcpy(&word, bytes + i, sizeof word);
        if (WordHasSpecial(word, stopAboveAscii)) break;
    }
    for (; i < length; ++i)
        if (NeedsEscape(bytes[i]) || (stopAboveAscii && bytes[i] >= 0x80)) return i;
    return length;
#endif
}

// A string's characters, escaped. Text that is not valid UTF-8 (only a parsed value can hold it) goes out
// with U+FFFD for each bad sequence: the check starts at the first byte above ASCII, so the usual all-ASCII
// text is read once, by the escape scan itself.
void WriteCharacters(JsonPieceWriter& out, json::string_view text, bool knownValid) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t length = text.size();
    std::size_t runStart = 0;
    std::size_t i = 0;
    while ((i += FindSpecial(bytes + i, length - i, !knownValid)) < length) {
        if (bytes[i] >= 0x80 && !knownValid) {
            // Everything before i is ASCII, so the rest can be checked, and mended, on its own.
            out.Put(text.data() + runStart, i - runStart);
            const json::string_view rest = text.substr(i);
            if (IsValidUtf8(rest.data(), rest.size())) {
                WriteCharacters(out, rest, true);
            } else {
                const std::string mended = SanitizeUtf8(std::string(rest.data(), rest.size()));
                WriteCharacters(out, json::string_view(mended.data(), mended.size()), true);
            }
            return;
        }
        out.Put(text.data() + runStart, i - runStart);
        WriteEscape(out, bytes[i]);
        runStart = ++i;
    }
    out.Put(text.data() + runStart, length - runStart);
}

// The one value of a document written as given text instead of from the tree; none when null.
struct Verbatim {
    const json::value* at = nullptr;
    std::string_view text;
};

// Keys are short and nearly always ASCII: their bytes are or-ed together here, and only a key with a byte
// above ASCII goes to the full check.
bool HasInvalidKey(const json::object& object) {
    for (const json::key_value_pair& member : object) {
        const json::string_view key = member.key();
        unsigned char high = 0;
        for (const char c : key)
            high |= static_cast<unsigned char>(c);
        if (high >= 0x80 && !IsValidUtf8(key.data(), key.size())) return true;
    }
    return false;
}

// An object whose keys are mended: two keys that become the same text are one member, the first place
// and the last value, as when such keys are added.
json::object WithMendedKeys(const json::object& object) {
    json::object mended;
    mended.reserve(object.size());
    for (const json::key_value_pair& member : object) {
        const std::string key = SanitizeUtf8(std::string(member.key()));
        mended.insert_or_assign(json::string_view(key.data(), key.size()), member.value());
    }
    return mended;
}

// Numbers, booleans and null as the library's own serializer writes them. Integers and literals, nearly
// all of a request's scalars, are written here without setting up a serializer each.
void WriteScalar(JsonPieceWriter& out, const json::value& value) {
    char digits[24];
    switch (value.kind()) {
        case json::kind::int64:
            WriteJsonInteger(out, value.get_int64());
            return;
        case json::kind::uint64:
            out.Put(digits,
                    static_cast<std::size_t>(
                        std::to_chars(digits, digits + sizeof digits, value.get_uint64()).ptr - digits));
            return;
        case json::kind::bool_:
            value.get_bool() ? out.Put("true", 4) : out.Put("false", 5);
            return;
        case json::kind::null:
            out.Put("null", 4);
            return;
        default:
            break;
    }
    json::serializer serializer;
    serializer.reset(&value);
    char text[64];
    while (!serializer.done()) {
        const json::string_view piece = serializer.read(text, sizeof text);
        out.Put(piece.data(), piece.size());
    }
}

void WriteValue(JsonPieceWriter& out, const json::value& value, const Verbatim& verbatim) {
    if (&value == verbatim.at) {
        out.Put(verbatim.text.data(), verbatim.text.size());
        return;
    }
    switch (value.kind()) {
        case json::kind::string:
            WriteJsonString(out, value.get_string(), false);
            return;
        case json::kind::array: {
            out.Put('[');
            bool first = true;
            for (const json::value& element : value.get_array()) {
                if (!first) out.Put(',');
                first = false;
                WriteValue(out, element, verbatim);
            }
            out.Put(']');
            return;
        }
        case json::kind::object: {
            if (HasInvalidKey(value.get_object())) {
                WriteValue(out, json::value(WithMendedKeys(value.get_object())), verbatim);
                return;
            }
            out.Put('{');
            bool first = true;
            for (const json::key_value_pair& member : value.get_object()) {
                if (!first) out.Put(',');
                first = false;
                WriteJsonString(out, member.key(), false);
                out.Put(':');
                WriteValue(out, member.value(), verbatim);
            }
            out.Put('}');
            return;
        }
        case json::kind::double_:
            WriteScalar(out, std::isfinite(value.get_double())
                                 ? value
                                 : json::value(FiniteDouble(value.get_double())));
            return;
        default:
            WriteScalar(out, value);
    }
}

}  // namespace

bool RenderJson(const json::value& value, const JsonSink& sink) {
    return RenderJson(value, sink, nullptr, std::string_view());
}

bool RenderJson(const json::value& value, const JsonSink& sink, const json::value* verbatimAt,
                std::string_view verbatim) {
    JsonPieceWriter out(sink);
    WriteValue(out, value, Verbatim{verbatimAt, verbatim});
    return out.Finish();
}

void WriteJsonString(JsonPieceWriter& out, std::string_view text, bool knownValid) {
    out.Put('"');
    WriteCharacters(out, json::string_view(text.data(), text.size()), knownValid);
    out.Put('"');
}

void WriteJsonInteger(JsonPieceWriter& out, long long number) {
    char digits[24];
    out.Put(digits,
            static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, number).ptr - digits));
}

std::size_t ApproximateJsonLength(const json::value& value) noexcept {
    switch (value.kind()) {
        case json::kind::string:
            return value.get_string().size() + 2;
        case json::kind::array: {
            std::size_t length = 2;
            for (const json::value& element : value.get_array())
                length += ApproximateJsonLength(element) + 1;
            return length;
        }
        case json::kind::object: {
            std::size_t length = 2;
            for (const json::key_value_pair& member : value.get_object())
                length += member.key().size() + 4 + ApproximateJsonLength(member.value());
            return length;
        }
        default:
            return 24;  // the longest number
    }
}
