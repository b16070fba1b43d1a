#pragma once

#include <cstddef>

// UTF-8 encoding of wide text into room sized beforehand, so that a conversion allocates once and never
// grows its result byte by byte. Anything that is not a Unicode scalar value is written as U+FFFD.
namespace Utf8 {

constexpr char32_t kReplacement = 0xFFFD;

inline bool IsScalarValue(char32_t cp) noexcept {
    return cp <= 0x10FFFF && (cp < 0xD800 || cp > 0xDFFF);
}

// Bytes that Encode writes for cp.
inline std::size_t Length(char32_t cp) noexcept {
    if (cp < 0x80) return 1;
    if (cp < 0x800) return 2;
    if (cp < 0x10000 || !IsScalarValue(cp)) return 3;
    return 4;
}

// Bytes that the wide text takes; equal to its length exactly when it is ASCII.
inline std::size_t Length(const wchar_t* text, std::size_t length) noexcept {
    // ASCII, nearly every text, is told by one branch-free pass that the compiler runs over whole vectors.
    char32_t bits = 0;
    for (std::size_t i = 0; i < length; ++i)
        bits |= static_cast<char32_t>(text[i]);
    if (bits < 0x80) return length;
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < length; ++i)
        bytes += Length(static_cast<char32_t>(text[i]));
    return bytes;
}

// Writes cp at out and returns the end of what it wrote.
inline char* Encode(char* out, char32_t cp) noexcept {
    if (!IsScalarValue(cp)) cp = kReplacement;
    if (cp < 0x80) {
        *out++ = static_cast<char>(cp);
    } else if (cp < 0x800) {
        *out++ = static_cast<char>(0xC0 | (cp >> 6));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (cp >> 12));
        *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (cp >> 18));
        *out++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    }
    return out;
}

// Writes the wide text, which takes bytes (from Length), at out: ASCII one character to one byte.
inline void Encode(char* out, const wchar_t* text, std::size_t length, std::size_t bytes) noexcept {
    if (bytes == length) {
        for (std::size_t i = 0; i < length; ++i)
            out[i] = static_cast<char>(text[i]);
        return;
    }
    for (std::size_t i = 0; i < length; ++i)
        out = Encode(out, static_cast<char32_t>(text[i]));
}

}  // namespace Utf8
