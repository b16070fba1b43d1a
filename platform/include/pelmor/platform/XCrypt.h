#pragma once

#include <QByteArray>
#include <cstddef>
#include <memory>

#include "Export.h"

// Ciphers and encodings of the core library. Every failure (bad key material, wrong length, bad padding,
// text that is not Base64, no memory) gives an empty result; nothing throws.
namespace XCrypt {
namespace AES {
namespace CBC {
// AES-256-CBC with PKCS#7 padding; key is 32 bytes, iv 16 bytes.
PELMOR_PLATFORM_API QByteArray EncryptPKCS7(const unsigned char* key, const unsigned char* iv,
                                            QByteArray data);
PELMOR_PLATFORM_API QByteArray DecryptPKCS7(const unsigned char* key, const unsigned char* iv,
                                            QByteArray data);
// EncryptPKCS7 into out, which needs room for length + 16 bytes; written is the cipher text's length.
// Allocates nothing on a processor with AES instructions. False on any failure.
PELMOR_PLATFORM_API bool EncryptInto(const unsigned char* key, const unsigned char* iv, const char* data,
                                     std::size_t length, char* out, std::size_t& written) noexcept;
// DecryptPKCS7 where the data lies: the plain text takes the cipher text's place from its start, and
// plainLength its length. False on any failure, which leaves the bytes undefined.
PELMOR_PLATFORM_API bool DecryptInPlace(const unsigned char* key, const unsigned char* iv, char* data,
                                        std::size_t length, std::size_t& plainLength) noexcept;

// EncryptPKCS7 for data that arrives in pieces, so that no whole copy of it is needed: the pieces of
// output, joined, are what EncryptPKCS7 gives for the joined input.
class PELMOR_PLATFORM_API Encryptor {
  public:
    Encryptor(const unsigned char* key, const unsigned char* iv) noexcept;
    ~Encryptor();
    Encryptor(const Encryptor&) = delete;
    Encryptor& operator=(const Encryptor&) = delete;

    // Room Update needs in out for length bytes of input; Finish needs kBlock.
    static constexpr std::size_t kBlock = 16;
    static constexpr std::size_t OutputRoom(std::size_t length) noexcept { return length + kBlock; }

    // Encrypts the next piece; false once anything has failed (bad key material, no memory).
    bool Update(const char* data, std::size_t length, char* out, std::size_t& written) noexcept;
    // Pads and encrypts the last block.
    bool Finish(char* out, std::size_t& written) noexcept;

  private:
    struct Context;
    std::unique_ptr<Context> context_;
};
}  // namespace CBC
}  // namespace AES

namespace BASE64 {
// Standard alphabet with '=' padding. Decoding is strict: whitespace or a stray character gives empty.
PELMOR_PLATFORM_API QByteArray Encode(const QByteArray& data);
PELMOR_PLATFORM_API QByteArray Encode(const char* data, std::size_t length);
PELMOR_PLATFORM_API QByteArray Decode(const QByteArray& text);
PELMOR_PLATFORM_API QByteArray Decode(const char* text, std::size_t length);
// Decode into out, which needs room for length / 4 * 3 bytes and may be text itself, or lie before it:
// decoding runs forward and never writes past what it has read. False for text that is not Base64, which
// leaves out undefined.
PELMOR_PLATFORM_API bool DecodeInto(const char* text, std::size_t length, char* out,
                                    std::size_t& written) noexcept;

// Encode for data that arrives in pieces: the joined output equals Encode of the joined input. Holds at
// most two bytes between calls and allocates nothing.
class PELMOR_PLATFORM_API Encoder {
  public:
    // Room Update needs in out for length bytes of input; Finish needs 4.
    static constexpr std::size_t OutputRoom(std::size_t length) noexcept { return (length + 2) / 3 * 4 + 4; }

    // Encodes what forms whole groups of three with the bytes held back; returns the characters written.
    std::size_t Update(const char* data, std::size_t length, char* out) noexcept;
    // The held-back bytes with '=' padding.
    std::size_t Finish(char* out) noexcept;

  private:
    unsigned char held_[2] = {0, 0};
    std::size_t heldCount_ = 0;
};
}  // namespace BASE64
}  // namespace XCrypt
