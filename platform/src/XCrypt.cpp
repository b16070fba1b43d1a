#include "pelmor/platform/XCrypt.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "Base64Groups.h"

#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace {

struct CipherContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, CipherContextDeleter>;

// AES-256-CBC fetched once and kept. EVP_aes_256_cbc() makes OpenSSL fetch it again at every
// initialisation, and when an allocation fails inside that fetch OpenSSL keeps a block it never frees.
class FetchedCipher {
  public:
    ~FetchedCipher() { EVP_CIPHER_free(cipher_.load()); }

    // Null when it cannot be fetched now (out of memory); a later call tries again.
    const EVP_CIPHER* Get() noexcept {
        if (EVP_CIPHER* kept = cipher_.load(std::memory_order_acquire)) return kept;
        EVP_CIPHER* fetched = EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr);
        if (!fetched) return nullptr;
        EVP_CIPHER* expected = nullptr;
        if (cipher_.compare_exchange_strong(expected, fetched, std::memory_order_acq_rel)) return fetched;
        EVP_CIPHER_free(fetched);  // another thread kept one first
        return expected;
    }

  private:
    std::atomic<EVP_CIPHER*> cipher_{nullptr};
};

// The kept cipher is freed when the library is unloaded, or at exit before OpenSSL cleans up: OpenSSL is
// initialised first, so its clean-up, registered then, runs after this one.
const EVP_CIPHER* Aes256Cbc() noexcept {
    if (OPENSSL_init_crypto(0, nullptr) != 1) return nullptr;
    static FetchedCipher kept;
    return kept.Get();
}

// Setting AES-256 up for a key costs more than the cipher work of a small message, and every message of
// the channel uses the same key. So each thread keeps a context per direction with its key schedule; a use
// takes it out of its slot, so that two users on one thread never share it, and gives it back when done.
constexpr std::size_t kKeyBytes = 32;

struct KeptContext {
    EVP_CIPHER_CTX* context = nullptr;
    unsigned char key[kKeyBytes] = {};
    ~KeptContext() { EVP_CIPHER_CTX_free(context); }
};
thread_local KeptContext keptContexts[2];

// A context set up for key and iv in one direction; null when that cannot be done (out of memory).
CipherContext TakeContext(bool encrypt, const unsigned char* key, const unsigned char* iv) noexcept {
    KeptContext& kept = keptContexts[encrypt ? 1 : 0];
    if (kept.context && std::memcmp(kept.key, key, kKeyBytes) == 0) {
        CipherContext context(kept.context);
        kept.context = nullptr;
        // Without a cipher or a key, only the IV and the padding state start over.
        if (EVP_CipherInit_ex(context.get(), nullptr, nullptr, nullptr, iv, encrypt ? 1 : 0) == 1)
            return context;
    }
    CipherContext context(EVP_CIPHER_CTX_new());
    const EVP_CIPHER* cipher = Aes256Cbc();
    if (!context || !cipher ||
        EVP_CipherInit_ex(context.get(), cipher, nullptr, key, iv, encrypt ? 1 : 0) != 1)
        return CipherContext();
    return context;
}

// Keeps a context whose use went through, for the next use with the same key on this thread.
void GiveContext(bool encrypt, const unsigned char* key, CipherContext context) noexcept {
    if (!context) return;
    KeptContext& kept = keptContexts[encrypt ? 1 : 0];
    EVP_CIPHER_CTX_free(kept.context);  // one given back while another was already kept
    kept.context = context.release();
    std::memcpy(kept.key, key, kKeyBytes);
}

QByteArray RunCipher(bool encrypt, const unsigned char* key, const unsigned char* iv,
                     const QByteArray& input) {
    if (!key || !iv) return QByteArray();
    if (!encrypt && (input.isEmpty() || input.size() % 16 != 0)) return QByteArray();
    CipherContext context = TakeContext(encrypt, key, iv);
    if (!context) return QByteArray();
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
    GiveContext(encrypt, key, std::move(context));
    return output;
}

constexpr const char* kAlphabet = kBase64Alphabet;

// The last one or two bytes with their padding.
char* EncodeTail(const unsigned char* in, std::size_t count, char* out) {
    const unsigned n = (in[0] << 16) | (count > 1 ? in[1] << 8 : 0);
    *out++ = kAlphabet[(n >> 18) & 63];
    *out++ = kAlphabet[(n >> 12) & 63];
    *out++ = count > 1 ? kAlphabet[(n >> 6) & 63] : '=';
    *out++ = '=';
    return out;
}

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

bool DecryptInPlace(const unsigned char* key, const unsigned char* iv, char* data, std::size_t length,
                    std::size_t& plainLength) noexcept {
    plainLength = 0;
    if (!key || !iv || !data || length == 0 || length % 16 != 0 || length > static_cast<std::size_t>(INT_MAX))
        return false;
    CipherContext context = TakeContext(false, key, iv);
    if (!context) return false;
    // Exactly in place, which EVP allows: it holds the last block back and decrypts it at the end.
    auto* bytes = reinterpret_cast<unsigned char*>(data);
    int written = 0;
    if (EVP_DecryptUpdate(context.get(), bytes, &written, bytes, static_cast<int>(length)) != 1) return false;
    int final = 0;
    if (EVP_DecryptFinal_ex(context.get(), bytes + written, &final) != 1) return false;
    plainLength = static_cast<std::size_t>(written) + static_cast<std::size_t>(final);
    GiveContext(false, key, std::move(context));
    return true;
}

struct Encryptor::Context {
    CipherContext cipher;
    unsigned char key[kKeyBytes] = {};
    bool ok = false;
};

Encryptor::Encryptor(const unsigned char* key, const unsigned char* iv) noexcept {
    try {
        context_ = std::make_unique<Context>();
    } catch (...) {
        return;
    }
    if (!key || !iv) return;
    context_->cipher = TakeContext(true, key, iv);
    context_->ok = context_->cipher != nullptr;
    std::memcpy(context_->key, key, kKeyBytes);
}

Encryptor::~Encryptor() {
    if (context_ && context_->ok) GiveContext(true, context_->key, std::move(context_->cipher));
}

bool Encryptor::Update(const char* data, std::size_t length, char* out, std::size_t& written) noexcept {
    written = 0;
    if (!context_ || !context_->ok) return false;
    // EVP takes int lengths: feed larger pieces in slices.
    constexpr std::size_t kSlice = 1u << 30;
    while (length > 0) {
        const std::size_t slice = length < kSlice ? length : kSlice;
        int produced = 0;
        if (EVP_EncryptUpdate(context_->cipher.get(), reinterpret_cast<unsigned char*>(out + written),
                              &produced, reinterpret_cast<const unsigned char*>(data),
                              static_cast<int>(slice)) != 1) {
            context_->ok = false;
            return false;
        }
        written += static_cast<std::size_t>(produced);
        data += slice;
        length -= slice;
    }
    return true;
}

bool Encryptor::Finish(char* out, std::size_t& written) noexcept {
    written = 0;
    if (!context_ || !context_->ok) return false;
    int produced = 0;
    context_->ok =
        EVP_EncryptFinal_ex(context_->cipher.get(), reinterpret_cast<unsigned char*>(out), &produced) == 1;
    written = static_cast<std::size_t>(produced);
    return context_->ok;
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
    char* out = EncodeGroups(in, length / 3, text.data());
    if (length % 3) EncodeTail(in + length / 3 * 3, length % 3, out);
    return text;
}

QByteArray Encode(const QByteArray& data) {
    return Encode(data.constData(), static_cast<std::size_t>(data.size()));
}

bool DecodeInto(const char* text, std::size_t length, char* out, std::size_t& written) noexcept {
    written = 0;
    if (!text || !out || length == 0 || length % 4 != 0) return false;
    const auto* in = reinterpret_cast<const unsigned char*>(text);
    std::size_t padding = 0;
    if (in[length - 1] == '=') padding = in[length - 2] == '=' ? 2 : 1;
    // The last group is read before anything is written over it, should out be text itself.
    const std::size_t fullGroups = (length / 4) - (padding ? 1 : 0);
    const std::size_t i = fullGroups * 4;
    const unsigned char zero = static_cast<unsigned char>(kAlphabet[0]);
    unsigned char last[4] = {zero, zero, zero, zero};
    if (padding) {
        last[0] = in[i];
        last[1] = in[i + 1];
        if (padding == 1) last[2] = in[i + 2];
    }
    if (DecodeGroups(in, fullGroups, out) != fullGroups) return false;
    out += fullGroups * 3;
    if (padding) {
        char decoded[3];
        if (DecodeGroups(last, 1, decoded) != 1) return false;
        // Bits below the last encoded byte must be zero, else the text was not produced by an encoder.
        if (decoded[2] != 0 || (padding == 2 && decoded[1] != 0)) return false;
        *out++ = decoded[0];
        if (padding == 1) *out++ = decoded[1];
    }
    written = fullGroups * 3 + (padding ? 3 - padding : 0);
    return true;
}

QByteArray Decode(const char* text, std::size_t length) {
    if (!text || length == 0 || length % 4 != 0 || length > static_cast<std::size_t>(INT_MAX))
        return QByteArray();
    QByteArray bytes;
    try {
        bytes.resize(static_cast<int>(length / 4 * 3));
    } catch (...) {
        return QByteArray();
    }
    std::size_t written = 0;
    if (!DecodeInto(text, length, bytes.data(), written)) return QByteArray();
    bytes.truncate(static_cast<int>(written));
    return bytes;
}

QByteArray Decode(const QByteArray& text) {
    return Decode(text.constData(), static_cast<std::size_t>(text.size()));
}

std::size_t Encoder::Update(const char* data, std::size_t length, char* out) noexcept {
    if (!data || !out) return 0;
    const auto* in = reinterpret_cast<const unsigned char*>(data);
    char* const start = out;
    if (heldCount_ > 0) {
        unsigned char group[3] = {held_[0], held_[1], 0};
        while (heldCount_ < 3 && length > 0) {
            group[heldCount_++] = *in++;
            --length;
        }
        if (heldCount_ < 3) {
            held_[0] = group[0];
            held_[1] = group[1];
            return 0;
        }
        out = EncodeGroups(group, 1, out);
        heldCount_ = 0;
    }
    out = EncodeGroups(in, length / 3, out);
    in += length / 3 * 3;
    heldCount_ = length % 3;
    for (std::size_t k = 0; k < heldCount_; ++k)
        held_[k] = in[k];
    return static_cast<std::size_t>(out - start);
}

std::size_t Encoder::Finish(char* out) noexcept {
    if (!out || heldCount_ == 0) return 0;
    const std::size_t count = heldCount_;
    heldCount_ = 0;
    return static_cast<std::size_t>(EncodeTail(held_, count, out) - out);
}

}  // namespace BASE64
}  // namespace XCrypt
