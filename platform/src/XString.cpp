#include "pelmor/platform/XString.h"

#include <cstdint>
#include <cstring>
#include <cwctype>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsScalarValue(char32_t cp) {
    return cp <= 0x10FFFF && (cp < 0xD800 || cp > 0xDFFF);
}

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

}  // namespace

void AppendUtf8(std::string& out, char32_t cp) {
    if (!IsScalarValue(cp)) cp = kReplacement;
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
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
        // bytes at a time, then a word at a time.
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
    XString out;
    // Never more characters than bytes: written in place, then cut to what was decoded.
    out.resize(length);
    wchar_t* next = &out[0];
    size_t i = 0;
    while (i < length)
        *next++ = static_cast<wchar_t>(bytes[i] < 0x80 ? bytes[i++] : DecodeOne(bytes, length, i));
    out.resize(static_cast<size_t>(next - out.data()));
    return out;
}

XString XString::FromUtf8(const char* text) {
    if (!text) return XString();
    return FromUtf8(text, std::char_traits<char>::length(text));
}

std::string XString::ToUtf8() const {
    std::string out;
    out.reserve(size());
    for (wchar_t ch : *this)
        AppendUtf8(out, static_cast<char32_t>(ch));
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
