#include "pelmor/platform/XString.h"

#include <cstdint>
#include <cstring>
#include <cwctype>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "Utf8Encoding.h"

namespace {

using Utf8::IsScalarValue;
using Utf8::kReplacement;

// Decodes one UTF-8 sequence at text[i]; advances i past it. Malformed input yields U+FFFD and consumes
// the longest prefix that could have started a valid sequence, so one bad byte never eats good ones.
char32_t DecodeOne(const unsigned char* text, size_t length, size_t& i) noexcept {
    const unsigned char lead = text[i++];
    if (lead < 0x80) return lead;
    int extra;
    char32_t cp;
    char32_t min;
    if (lead >= 0xC2 && lead <= 0xDF) {
        extra = 1, cp = lead & 0x1F, min = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        extra = 2, cp = lead & 0x0F, min = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        extra = 3, cp = lead & 0x07, min = 0x10000;
    } else {
        return kReplacement;
    }
    for (int k = 0; k < extra; ++k) {
        if (i >= length || (text[i] & 0xC0) != 0x80) return kReplacement;
        cp = (cp << 6) | (text[i++] & 0x3F);
    }
    if (cp < min || !IsScalarValue(cp)) return kReplacement;
    return cp;
}

bool IsAscii(const unsigned char* text, size_t length) noexcept {
    size_t i = 0;
    std::uint64_t high = 0;
    for (; i + sizeof high <= length; i += sizeof high) {
        std::uint64_t word;
        std::memcpy(&word, text + i, sizeof word);
        high |= word;
    }
    for (; i < length; ++i)
        high |= text[i];
    return (high & 0x8080808080808080ull) == 0;
}

// Decodes length bytes into out, which has room for length characters; gives the characters written.
size_t Decode(const unsigned char* bytes, size_t length, wchar_t* out) noexcept {
    wchar_t* next = out;
    size_t i = 0;
    while (i < length)
        *next++ = static_cast<wchar_t>(bytes[i] < 0x80 ? bytes[i++] : DecodeOne(bytes, length, i));
    return static_cast<size_t>(next - out);
}

// Characters of a text decoded on the stack before it is copied into its own.
constexpr size_t kDecodeRoom = 256;

}  // namespace

void AppendUtf8(std::string& out, char32_t cp) {
    char bytes[4];
    out.append(bytes, static_cast<size_t>(Utf8::Encode(bytes, cp) - bytes));
}

namespace {

// The bytes that may follow a lead byte as its first continuation: narrower than 80-BF for the leads whose
// sequences could otherwise be overlong (E0, F0), a surrogate (ED) or past U+10FFFF (F4).
inline bool FirstContinuationFits(unsigned char lead, unsigned char next) noexcept {
    switch (lead) {
        case 0xE0:
            return next >= 0xA0 && next <= 0xBF;
        case 0xED:
            return next >= 0x80 && next <= 0x9F;
        case 0xF0:
            return next >= 0x90 && next <= 0xBF;
        case 0xF4:
            return next >= 0x80 && next <= 0x8F;
        default:
            return (next & 0xC0) == 0x80;
    }
}

}  // namespace

bool IsValidUtf8(const char* text, size_t length) noexcept {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    size_t i = 0;
    while (i < length) {
        // Plain ASCII runs are by far the common case (a device's whole file is one): skip them sixteen
        // bytes at a time, then a word at a time. Not tried between the characters of a multi-byte
        // run, as in Chinese text, where they would fail every time.
        if (bytes[i] < 0x80) {
#ifdef __SSE2__
            while (i + 16 <= length &&
                   _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i))) == 0)
                i += 16;
#endif
            while (i + sizeof(std::uint64_t) <= length) {
                std::uint64_t word;
                std::memcpy(&word, bytes + i, sizeof word);
                if (word & 0x8080808080808080ull) break;
                i += sizeof word;
            }
            if (i >= length) break;
        }
        const unsigned char lead = bytes[i];
        if (lead < 0x80) {
            ++i;
            continue;
        }
        // Checked in place rather than decoded: texts in other scripts are mostly multi-byte.
        size_t extra;
        if (lead >= 0xC2 && lead <= 0xDF)
            extra = 1;
        else if (lead >= 0xE0 && lead <= 0xEF)
            extra = 2;
        else if (lead >= 0xF0 && lead <= 0xF4)
            extra = 3;
        else
            return false;
        if (length - i <= extra || !FirstContinuationFits(lead, bytes[i + 1])) return false;
        for (size_t k = 2; k <= extra; ++k)
            if ((bytes[i + k] & 0xC0) != 0x80) return false;
        i += extra + 1;
    }
    return true;
}

std::string SanitizeUtf8(const std::string& text) {
    if (IsValidUtf8(text.data(), text.size())) return text;
    std::string out;
    out.reserve(text.size() + 8);
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    size_t i = 0;
    while (i < text.size())
        AppendUtf8(out, DecodeOne(bytes, text.size(), i));
    return out;
}

XString XString::FromUtf8(const char* text, size_t length) {
    if (!text || length == 0) return XString();
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    // ASCII, by far the usual case, widens one byte to one character.
    if (IsAscii(bytes, length)) return XString(bytes, bytes + length);
    // Never more characters than bytes. A short text, the usual one, is decoded on the stack and copied
    // once into a text of its exact length; a long one is decoded in place, then cut to what was decoded.
    wchar_t room[kDecodeRoom];
    const bool onStack = length <= kDecodeRoom;
    XString out;
    if (!onStack) out.resize(length);
    wchar_t* const first = onStack ? room : &out[0];
    const size_t count = Decode(bytes, length, first);
    if (onStack) return XString(first, count);
    out.resize(count);
    return out;
}

XString XString::FromUtf8(const char* text) {
    if (!text) return XString();
    return FromUtf8(text, std::char_traits<char>::length(text));
}

std::string XString::ToUtf8() const {
    const size_t bytes = Utf8::Length(data(), size());
    // ASCII, by far the usual case, narrows as it is copied; anything else is encoded into room sized once.
    if (bytes == size()) return std::string(begin(), end());
    std::string out(bytes, '\0');
    Utf8::Encode(&out[0], data(), size(), bytes);
    return out;
}

int XString::compare(const wchar_t* other, CaseSensitivity sensitivity) const {
    if (!other) other = L"";
    if (sensitivity == CaseSensitive) return std::wstring::compare(other);
    const wchar_t* a = c_str();
    const size_t n = size();
    size_t i = 0;
    for (; i < n && other[i] != L'\0'; ++i) {
        const auto x = static_cast<wint_t>(std::towlower(static_cast<wint_t>(a[i])));
        const auto y = static_cast<wint_t>(std::towlower(static_cast<wint_t>(other[i])));
        if (x != y) return x < y ? -1 : 1;
    }
    if (i < n) return 1;
    return other[i] == L'\0' ? 0 : -1;
}
