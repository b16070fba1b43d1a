#include "pelmor/platform/XCrypt.h"

#include <openssl/evp.h>

#include <climits>
#include <memory>

namespace {

struct CipherContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, CipherContextDeleter>;

QByteArray RunCipher(bool encrypt, const unsigned char* key, const unsigned char* iv,
                     const QByteArray& input) {
    if (!key || !iv) return QByteArray();
    if (!encrypt && (input.isEmpty() || input.size() % 16 != 0)) return QByteArray();
    CipherContext context(EVP_CIPHER_CTX_new());
    if (!context) return QByteArray();
    if (EVP_CipherInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, key, iv, encrypt ? 1 : 0) != 1)
        return QByteArray();
    // One block of room for the padding; QByteArray sizes are int, so stay well below INT_MAX.
    if (input.size() > INT_MAX - 32) return QByteArray();
    QByteArray output;
    try {
        output.resize(input.size() + 16);
    } catch (...) {
        return QByteArray();
    }
    if (output.size() != input.size() + 16) return QByteArray();
    auto* out = reinterpret_cast<unsigned char*>(output.data());
    int written = 0;
    if (EVP_CipherUpdate(context.get(), out, &written,
                         reinterpret_cast<const unsigned char*>(input.constData()), input.size()) != 1)
        return QByteArray();
    int final = 0;
    if (EVP_CipherFinal_ex(context.get(), out + written, &final) != 1) return QByteArray();
    output.truncate(written + final);
    return output;
}

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct DecodeTable {
    signed char values[256];
    constexpr DecodeTable() : values() {
        for (int i = 0; i < 256; ++i)
            values[i] = -1;
        for (int i = 0; i < 64; ++i)
            values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<signed char>(i);
    }
};
constexpr DecodeTable kDecode;

}  // namespace

namespace XCrypt {
namespace AES {
namespace CBC {

QByteArray EncryptPKCS7(const unsigned char* key, const unsigned char* iv, QByteArray data) {
    try {
        return RunCipher(true, key, iv, data);
    } catch (...) {
        return QByteArray();
    }
}

QByteArray DecryptPKCS7(const unsigned char* key, const unsigned char* iv, QByteArray data) {
    try {
        return RunCipher(false, key, iv, data);
    } catch (...) {
        return QByteArray();
    }
}

}  // namespace CBC
}  // namespace AES

namespace BASE64 {

QByteArray Encode(const char* data, std::size_t length) {
    if (!data || length == 0) return QByteArray();
    if (length > static_cast<std::size_t>(INT_MAX / 4 * 3 - 3)) return QByteArray();
    QByteArray text;
    try {
        text.resize(static_cast<int>((length + 2) / 3 * 4));
    } catch (...) {
        return QByteArray();
    }
    const auto* in = reinterpret_cast<const unsigned char*>(data);
    char* out = text.data();
    std::size_t i = 0;
    for (; i + 3 <= length; i += 3) {
        const unsigned n = (in[i] << 16) | (in[i + 1] << 8) | in[i + 2];
        *out++ = kAlphabet[(n >> 18) & 63];
        *out++ = kAlphabet[(n >> 12) & 63];
        *out++ = kAlphabet[(n >> 6) & 63];
        *out++ = kAlphabet[n & 63];
    }
    if (i < length) {
        const unsigned n = (in[i] << 16) | (i + 1 < length ? in[i + 1] << 8 : 0);
        *out++ = kAlphabet[(n >> 18) & 63];
        *out++ = kAlphabet[(n >> 12) & 63];
        *out++ = i + 1 < length ? kAlphabet[(n >> 6) & 63] : '=';
        *out++ = '=';
    }
    return text;
}

QByteArray Encode(const QByteArray& data) {
    return Encode(data.constData(), static_cast<std::size_t>(data.size()));
}

QByteArray Decode(const char* text, std::size_t length) {
    if (!text || length == 0 || length % 4 != 0 || length > static_cast<std::size_t>(INT_MAX))
        return QByteArray();
    const auto* in = reinterpret_cast<const unsigned char*>(text);
    std::size_t padding = 0;
    if (in[length - 1] == '=') padding = in[length - 2] == '=' ? 2 : 1;
    QByteArray bytes;
    try {
        bytes.resize(static_cast<int>(length / 4 * 3 - padding));
    } catch (...) {
        return QByteArray();
    }
    char* out = bytes.data();
    const std::size_t fullGroups = (length / 4) - (padding ? 1 : 0);
    std::size_t i = 0;
    for (std::size_t group = 0; group < fullGroups; ++group, i += 4) {
        const int a = kDecode.values[in[i]], b = kDecode.values[in[i + 1]];
        const int c = kDecode.values[in[i + 2]], d = kDecode.values[in[i + 3]];
        if ((a | b | c | d) < 0) return QByteArray();
        const unsigned n = (a << 18) | (b << 12) | (c << 6) | d;
        *out++ = static_cast<char>(n >> 16);
        *out++ = static_cast<char>(n >> 8);
        *out++ = static_cast<char>(n);
    }
    if (padding) {
        const int a = kDecode.values[in[i]], b = kDecode.values[in[i + 1]];
        const int c = padding == 1 ? kDecode.values[in[i + 2]] : 0;
        if ((a | b | c) < 0) return QByteArray();
        const unsigned n = (a << 18) | (b << 12) | (c << 6);
        // Bits below the last encoded byte must be zero, else the text was not produced by an encoder.
        if ((padding == 2 && (n & 0xFFFF)) || (padding == 1 && (n & 0xFF))) return QByteArray();
        *out++ = static_cast<char>(n >> 16);
        if (padding == 1) *out++ = static_cast<char>(n >> 8);
    }
    return bytes;
}

QByteArray Decode(const QByteArray& text) {
    return Decode(text.constData(), static_cast<std::size_t>(text.size()));
}

}  // namespace BASE64
}  // namespace XCrypt
