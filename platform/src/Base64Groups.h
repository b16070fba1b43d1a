#pragma once

#include <cstddef>

// The Base64 encoder's inner loop: whole groups of three bytes to four characters of the standard
// alphabet, with SSSE3 where the processor has it. Returns the end of what it wrote.
char* EncodeGroups(const unsigned char* in, std::size_t groups, char* out) noexcept;

// The decoder's inner loop: whole groups of four characters of the standard alphabet (no padding) to
// three bytes each, with AVX2 or SSSE3 where the processor has it. Returns how many groups it decoded: fewer
// than asked when a group holds a character outside the alphabet, which is then the first one not decoded.
// Writes nothing past groups * 3 bytes, and nothing past what it has read, so out may be in itself.
std::size_t DecodeGroups(const unsigned char* in, std::size_t groups, char* out) noexcept;

// The standard alphabet, index to character.
inline constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
