#pragma once

#include <cstddef>

// AES-256-CBC on the processor's AES instructions, for the channel's short messages: OpenSSL's EVP layer
// costs more than the cipher work itself on a message of a few hundred bytes, and most of that cost is its
// dispatch through many functions, slow when caches are cold between network waits. Whole blocks only;
// padding is the caller's.
namespace AesNiCbc {

constexpr std::size_t kBlock = 16;
constexpr std::size_t kRounds = 14;

struct RoundKeys {
    alignas(16) unsigned char bytes[kRounds + 1][kBlock];
};

// Whether this processor has the instructions; the functions below must not be called otherwise.
bool Available() noexcept;

void ExpandEncryptKey(const unsigned char* key, RoundKeys& keys) noexcept;
// The decryption schedule for an encryption one.
void InvertKeys(const RoundKeys& encrypt, RoundKeys& decrypt) noexcept;

// CBC over whole blocks; chain is the IV on entry and the last cipher block on return, so that calls
// continue one another. in and out may be the same.
void EncryptBlocks(const RoundKeys& keys, unsigned char* chain, const unsigned char* in, unsigned char* out,
                   std::size_t blocks) noexcept;
void DecryptBlocks(const RoundKeys& keys, unsigned char* chain, const unsigned char* in, unsigned char* out,
                   std::size_t blocks) noexcept;

}  // namespace AesNiCbc
