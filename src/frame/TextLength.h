#pragma once

#include <cstddef>
#include <cstring>

// Length of bytes read as a C string: up to the first zero byte, at most size. memchr instead of a
// byte loop, since whole files and reply bodies pass through here.
inline std::size_t TextLength(const char* bytes, std::size_t size) noexcept {
    if (!bytes) return 0;
    const void* zero = std::memchr(bytes, 0, size);
    return zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - bytes) : size;
}
