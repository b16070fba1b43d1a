#pragma once

#include <QByteArray>
#include <cstddef>

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
}  // namespace CBC
}  // namespace AES

namespace BASE64 {
// Standard alphabet with '=' padding. Decoding is strict: whitespace or a stray character gives empty.
PELMOR_PLATFORM_API QByteArray Encode(const QByteArray& data);
PELMOR_PLATFORM_API QByteArray Encode(const char* data, std::size_t length);
PELMOR_PLATFORM_API QByteArray Decode(const QByteArray& text);
PELMOR_PLATFORM_API QByteArray Decode(const char* text, std::size_t length);
}  // namespace BASE64
}  // namespace XCrypt
