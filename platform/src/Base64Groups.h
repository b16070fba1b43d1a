#pragma once

#include <cstddef>

// The Base64 encoder's inner loop: whole groups of three bytes to four characters of the standard
// alphabet, with SSSE3 where the processor has it. Returns the end of what it wrote.
char* EncodeGroups(const unsigned char* in, std::size_t groups, char* out) noexcept;

// The standard alphabet, index to character.
inline constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
