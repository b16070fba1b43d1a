#include "pelmor/platform/XCrypt.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "AesNiCbc.h"
#include "Base64Groups.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
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

// AES on the processor's instructions where it has them. A build for testing OpenSSL's path defines
// PELMOR_CRYPT_OPENSSL_ONLY.
bool UseAesInstructions() noexcept {
#ifdef PELMOR_CRYPT_OPENSSL_ONLY
    return false;
#else
    return AesNiCbc::Available();
#endif
}

// The plain length of a decrypted text, from its PKCS#7 padding, checked as OpenSSL checks it: the last
// byte counts 1 to 16 bytes, each of which holds the count. False for anything else.
bool StripPadding(const unsigned char* bytes, std::size_t length, std::size_t& plainLength) noexcept {
    const unsigned count = bytes[length - 1];
    if (count == 0 || count > XCrypt::AES::CBC::Encryptor::kBlock) return false;
    for (std::size_t i = length - count; i < length; ++i)
        if (bytes[i] != count) return false;
    plainLength = length - count;
    return true;
}

// Whole blocks are encrypted as they come; up to a block's worth waits in pending for the next piece or
// for the padding.
struct InstructionStream {
    AesNiCbc::RoundKeys keys;
    unsigned char chain[AesNiCbc::kBlock];
    unsigned char pending[AesNiCbc::kBlock];
    std::size_t pendingCount = 0;

    InstructionStream(const unsigned char* key, const unsigned char* iv) noexcept {
        AesNiCbc::ExpandEncryptKey(key, keys);
        std::memcpy(chain, iv, sizeof chain);
    }

    std::size_t Update(const unsigned char* data, std::size_t length, unsigned char* out) noexcept {
        std::size_t written = 0;
        if (pendingCount > 0) {
            const std::size_t taken = std::min(length, AesNiCbc::kBlock - pendingCount);
            std::memcpy(pending + pendingCount, data, taken);
            pendingCount += taken;
            data += taken;
            length -= taken;
            if (pendingCount < AesNiCbc::kBlock) return 0;
            AesNiCbc::EncryptBlocks(keys, chain, pending, out, 1);
            written = AesNiCbc::kBlock;
            pendingCount = 0;
        }
        const std::size_t blocks = length / AesNiCbc::kBlock;
        AesNiCbc::EncryptBlocks(keys, chain, data, out + written, blocks);
        written += blocks * AesNiCbc::kBlock;
        pendingCount = length % AesNiCbc::kBlock;
        std::memcpy(pending, data + blocks * AesNiCbc::kBlock, pendingCount);
        return written;
    }

    std::size_t Finish(unsigned char* out) noexcept {
        const auto padding = static_cast<unsigned char>(AesNiCbc::kBlock - pendingCount);
        std::memset(pending + pendingCount, padding, padding);
        AesNiCbc::EncryptBlocks(keys, chain, pending, out, 1);
        pendingCount = 0;
        return AesNiCbc::kBlock;
    }
};

bool DecryptWithOpenssl(const unsigned char* key, const unsigned char* iv, unsigned char* bytes,
                        std::size_t length, std::size_t& plainLength) noexcept {
    CipherContext context = TakeContext(false, key, iv);
    if (!context) return false;
    // Exactly in place, which EVP allows: it holds the last block back and decrypts it at the end.
    int written = 0;
    if (EVP_DecryptUpdate(context.get(), bytes, &written, bytes, static_cast<int>(length)) != 1) return false;
    int final = 0;
    if (EVP_DecryptFinal_ex(context.get(), bytes + written, &final) != 1) return false;
    plainLength = static_cast<std::size_t>(written) + static_cast<std::size_t>(final);
    GiveContext(false, key, std::move(context));
    return true;
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
    // One block of room for the padding; QByteArray sizes are int, so stay well below INT_MAX.
    if (data.size() > INT_MAX - 32) return QByteArray();
    try {
        QByteArray output(data.size() + static_cast<int>(Encryptor::kBlock), Qt::Uninitialized);
        std::size_t written = 0;
        if (output.size() != data.size() + static_cast<int>(Encryptor::kBlock) ||
            !EncryptInto(key, iv, data.constData(), static_cast<std::size_t>(data.size()), output.data(),
                         written))
            return QByteArray();
        output.truncate(static_cast<int>(written));
        return output;
    } catch (...) {
        return QByteArray();
    }
}

bool EncryptInto(const unsigned char* key, const unsigned char* iv, const char* data, std::size_t length,
                 char* out, std::size_t& written) noexcept {
    written = 0;
    if (!key || !iv || !out || (!data && length > 0)) return false;
    if (!data) data = "";  // nothing to encrypt, but never a null pointer to copy from
    if (UseAesInstructions()) {
        InstructionStream stream(key, iv);
        auto* bytes = reinterpret_cast<unsigned char*>(out);
        written = stream.Update(reinterpret_cast<const unsigned char*>(data), length, bytes);
        written += stream.Finish(bytes + written);
        return true;
    }
    Encryptor encryptor(key, iv);
    std::size_t last = 0;
    if (!encryptor.Update(data, length, out, written) || !encryptor.Finish(out + written, last)) return false;
    written += last;
    return true;
}

QByteArray DecryptPKCS7(const unsigned char* key, const unsigned char* iv, QByteArray data) {
    try {
        std::size_t plainLength = 0;
        // data is this call's own copy: writing to it detaches it from the caller's.
        if (data.isEmpty() ||
            !DecryptInPlace(key, iv, data.data(), static_cast<std::size_t>(data.size()), plainLength))
            return QByteArray();
        data.truncate(static_cast<int>(plainLength));
        return data;
    } catch (...) {
        return QByteArray();
    }
}

bool DecryptInPlace(const unsigned char* key, const unsigned char* iv, char* data, std::size_t length,
                    std::size_t& plainLength) noexcept {
    plainLength = 0;
    if (!key || !iv || !data || length == 0 || length % 16 != 0 || length > static_cast<std::size_t>(INT_MAX))
        return false;
    auto* bytes = reinterpret_cast<unsigned char*>(data);
    if (!UseAesInstructions()) return DecryptWithOpenssl(key, iv, bytes, length, plainLength);
    AesNiCbc::RoundKeys encryptKeys;
    AesNiCbc::RoundKeys decryptKeys;
    AesNiCbc::ExpandEncryptKey(key, encryptKeys);
    AesNiCbc::InvertKeys(encryptKeys, decryptKeys);
    unsigned char chain[AesNiCbc::kBlock];
    std::memcpy(chain, iv, sizeof chain);
    AesNiCbc::DecryptBlocks(decryptKeys, chain, bytes, bytes, length / AesNiCbc::kBlock);
    return StripPadding(bytes, length, plainLength);
}

// One of the two engines, as UseAesInstructions chose when the encryptor was made.
struct Encryptor::Context {
    CipherContext cipher;
    unsigned char key[kKeyBytes] = {};
    std::optional<InstructionStream> instructions;
    bool ok = false;
};

Encryptor::Encryptor(const unsigned char* key, const unsigned char* iv) noexcept {
    try {
        context_ = std::make_unique<Context>();
        if (key && iv && UseAesInstructions()) {
            context_->instructions.emplace(key, iv);
            context_->ok = true;
            return;
        }
    } catch (...) {
        context_.reset();
        return;
    }
    if (!key || !iv) return;
    context_->cipher = TakeContext(true, key, iv);
    context_->ok = context_->cipher != nullptr;
    std::memcpy(context_->key, key, kKeyBytes);
}

Encryptor::~Encryptor() {
    if (context_ && context_->ok && context_->cipher)
        GiveContext(true, context_->key, std::move(context_->cipher));
}

bool Encryptor::Update(const char* data, std::size_t length, char* out, std::size_t& written) noexcept {
    written = 0;
    if (!context_ || !context_->ok) return false;
    if (context_->instructions) {
        written = context_->instructions->Update(reinterpret_cast<const unsigned char*>(data), length,
                                                 reinterpret_cast<unsigned char*>(out));
        return true;
    }
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
    if (context_->instructions) {
        written = context_->instructions->Finish(reinterpret_cast<unsigned char*>(out));
        return true;
    }
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
