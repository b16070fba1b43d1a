#include "emulator/core/codec.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>

namespace pelmor::emulator::codec {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Inverse of kAlphabet; -1 for bytes outside it.
constexpr std::array<int, 256> make_reverse() {
    std::array<int, 256> table{};
    for (auto& v : table)
        v = -1;
    for (int i = 0; i < 64; ++i)
        table[static_cast<unsigned char>(kAlphabet[i])] = i;
    return table;
}
constexpr std::array<int, 256> kReverse = make_reverse();

struct CipherCtxFree {
    void operator()(EVP_CIPHER_CTX* ctx) const { EVP_CIPHER_CTX_free(ctx); }
};
using CipherCtx = std::unique_ptr<EVP_CIPHER_CTX, CipherCtxFree>;

const unsigned char* key_bytes() {
    return reinterpret_cast<const unsigned char*>(kAesKey.data());
}
const unsigned char* iv_bytes() {
    return reinterpret_cast<const unsigned char*>(kAesIv.data());
}

static_assert(kAesKey.size() == 32 && kAesIv.size() == 16, "AES-256-CBC needs a 32-byte key and 16-byte IV");

// EVP takes int lengths; feed large inputs in slices.
constexpr std::size_t kSlice = 1 << 30;

}  // namespace

std::string base64_encode(std::string_view bytes) {
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const unsigned v = static_cast<unsigned char>(bytes[i]) << 16 |
                           static_cast<unsigned char>(bytes[i + 1]) << 8 |
                           static_cast<unsigned char>(bytes[i + 2]);
        out += kAlphabet[v >> 18 & 63];
        out += kAlphabet[v >> 12 & 63];
        out += kAlphabet[v >> 6 & 63];
        out += kAlphabet[v & 63];
    }
    const std::size_t rest = bytes.size() - i;
    if (rest == 1) {
        const unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
        out += kAlphabet[v >> 18 & 63];
        out += kAlphabet[v >> 12 & 63];
        out += "==";
    } else if (rest == 2) {
        const unsigned v =
            static_cast<unsigned char>(bytes[i]) << 16 | static_cast<unsigned char>(bytes[i + 1]) << 8;
        out += kAlphabet[v >> 18 & 63];
        out += kAlphabet[v >> 12 & 63];
        out += kAlphabet[v >> 6 & 63];
        out += '=';
    }
    return out;
}

std::optional<std::string> base64_decode(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::size_t padding = 0;
    if (!text.empty() && text.back() == '=') padding = text[text.size() - 2] == '=' ? 2 : 1;

    std::string out;
    out.reserve(text.size() / 4 * 3);
    const std::size_t data_chars = text.size() - padding;
    unsigned buffer = 0;
    int bits = 0;
    for (std::size_t i = 0; i < data_chars; ++i) {
        const int v = kReverse[static_cast<unsigned char>(text[i])];
        if (v < 0) return std::nullopt;  // also catches '=' before the end
        buffer = (buffer << 6 | static_cast<unsigned>(v)) & 0xFFFFFF;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out += static_cast<char>(buffer >> bits & 0xFF);
        }
    }
    // Leftover bits must be zero, otherwise two different texts would decode to the same bytes.
    if (bits > 0 && (buffer & ((1u << bits) - 1)) != 0) return std::nullopt;
    return out;
}

std::string aes_encrypt(std::string_view plaintext) {
    CipherCtx ctx(EVP_CIPHER_CTX_new());
    if (!ctx || EVP_EncryptInit_ex(ctx.get(), EVP_aes_256_cbc(), nullptr, key_bytes(), iv_bytes()) != 1)
        throw std::runtime_error("AES encryption could not be set up");

    std::string out(plaintext.size() + 16, '\0');
    auto* dst = reinterpret_cast<unsigned char*>(out.data());
    std::size_t written = 0;
    for (std::size_t off = 0; off < plaintext.size(); off += kSlice) {
        const std::size_t n = std::min(kSlice, plaintext.size() - off);
        int len = 0;
        if (EVP_EncryptUpdate(ctx.get(), dst + written, &len,
                              reinterpret_cast<const unsigned char*>(plaintext.data() + off),
                              static_cast<int>(n)) != 1)
            throw std::runtime_error("AES encryption failed");
        written += static_cast<std::size_t>(len);
    }
    int len = 0;
    if (EVP_EncryptFinal_ex(ctx.get(), dst + written, &len) != 1)
        throw std::runtime_error("AES encryption failed");
    out.resize(written + static_cast<std::size_t>(len));
    return out;
}

std::optional<std::string> aes_decrypt(std::string_view ciphertext) {
    if (ciphertext.empty() || ciphertext.size() % 16 != 0) return std::nullopt;
    CipherCtx ctx(EVP_CIPHER_CTX_new());
    if (!ctx || EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_cbc(), nullptr, key_bytes(), iv_bytes()) != 1)
        return std::nullopt;

    std::string out(ciphertext.size() + 16, '\0');
    auto* dst = reinterpret_cast<unsigned char*>(out.data());
    std::size_t written = 0;
    for (std::size_t off = 0; off < ciphertext.size(); off += kSlice) {
        const std::size_t n = std::min(kSlice, ciphertext.size() - off);
        int len = 0;
        if (EVP_DecryptUpdate(ctx.get(), dst + written, &len,
                              reinterpret_cast<const unsigned char*>(ciphertext.data() + off),
                              static_cast<int>(n)) != 1)
            return std::nullopt;
        written += static_cast<std::size_t>(len);
    }
    int len = 0;
    if (EVP_DecryptFinal_ex(ctx.get(), dst + written, &len) != 1) return std::nullopt;
    out.resize(written + static_cast<std::size_t>(len));
    return out;
}

std::string render(const nlohmann::ordered_json& value) {
    return value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string seal(std::string_view plaintext) {
    nlohmann::ordered_json envelope;
    envelope["En"] = 1;
    envelope["data"] = base64_encode(aes_encrypt(plaintext));
    return base64_encode(render(envelope));
}

Opened open(std::string_view body) {
    Opened result;
    if (body.empty()) {
        result.error = "body is empty";
        return result;
    }
    const auto outer = base64_decode(body);
    if (!outer) {
        result.error = "body is not Base64";
        return result;
    }
    const auto envelope = nlohmann::json::parse(*outer, nullptr, false);
    if (!envelope.is_object()) {
        result.error = "envelope is not a JSON object";
        return result;
    }
    const auto en = envelope.find("En");
    if (en == envelope.end() || !en->is_number_integer() || *en != 1) {
        result.error = "envelope member \"En\" is not the integer 1";
        return result;
    }
    const auto data = envelope.find("data");
    if (data == envelope.end() || !data->is_string()) {
        result.error = "envelope has no string member \"data\"";
        return result;
    }
    const auto ciphertext = base64_decode(data->get_ref<const std::string&>());
    if (!ciphertext) {
        result.error = "envelope \"data\" is not Base64";
        return result;
    }
    auto plaintext = aes_decrypt(*ciphertext);
    if (!plaintext) {
        result.error = "envelope \"data\" does not decrypt (length or padding wrong)";
        return result;
    }
    result.plaintext = std::move(*plaintext);
    return result;
}

Decoded decode_document(std::string_view body) {
    Decoded result;
    Opened opened = open(body);
    if (!opened.ok()) {
        result.error = std::move(opened.error);
        return result;
    }
    auto document = nlohmann::ordered_json::parse(opened.plaintext, nullptr, false);
    if (document.is_discarded()) {
        result.error = "plaintext is not JSON";
        return result;
    }
    result.document = std::move(document);
    return result;
}

}  // namespace pelmor::emulator::codec
