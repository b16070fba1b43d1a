#include "AesNiCbc.h"

#if defined(__x86_64__) || defined(__i386__)

#include <cpuid.h>
#include <wmmintrin.h>

#define AESNI_TARGET __attribute__((target("aes,sse2")))

namespace AesNiCbc {

namespace {

AESNI_TARGET inline __m128i Load(const unsigned char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

AESNI_TARGET inline void Store(unsigned char* bytes, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value);
}

AESNI_TARGET inline __m128i Key(const RoundKeys& keys, std::size_t round) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(keys.bytes[round]));
}

// Each word of a key with all the words before it xored in.
AESNI_TARGET inline __m128i Fold(__m128i key) {
    __m128i shifted = _mm_slli_si128(key, 4);
    key = _mm_xor_si128(key, shifted);
    shifted = _mm_slli_si128(shifted, 4);
    key = _mm_xor_si128(key, shifted);
    shifted = _mm_slli_si128(shifted, 4);
    return _mm_xor_si128(key, shifted);
}

// The two halves of each step of the AES-256 schedule: the even keys take the rotated, substituted last
// word with the round constant, the odd ones the substituted word alone.
AESNI_TARGET inline __m128i EvenKey(__m128i previousEven, __m128i assisted) {
    return _mm_xor_si128(Fold(previousEven), _mm_shuffle_epi32(assisted, 0xff));
}
AESNI_TARGET inline __m128i OddKey(__m128i previousOdd, __m128i even) {
    return _mm_xor_si128(Fold(previousOdd), _mm_shuffle_epi32(_mm_aeskeygenassist_si128(even, 0), 0xaa));
}

// One step of the schedule. The round constant is a template argument because the instruction takes it as
// an immediate.
template <int kRoundConstant>
AESNI_TARGET inline void NextPair(__m128i& even, __m128i& odd) {
    even = EvenKey(even, _mm_aeskeygenassist_si128(odd, kRoundConstant));
    odd = OddKey(odd, even);
}

AESNI_TARGET inline __m128i DecryptBlock(const __m128i* keys, __m128i block) {
    block = _mm_xor_si128(block, keys[0]);
    for (std::size_t round = 1; round < kRounds; ++round)
        block = _mm_aesdec_si128(block, keys[round]);
    return _mm_aesdeclast_si128(block, keys[kRounds]);
}

bool HasAesInstructions() noexcept {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) && (ecx & bit_AES) != 0;
}

}  // namespace

bool Available() noexcept {
    static const bool available = HasAesInstructions();
    return available;
}

AESNI_TARGET void ExpandEncryptKey(const unsigned char* key, RoundKeys& keys) noexcept {
    __m128i even = Load(key);
    __m128i odd = Load(key + kBlock);
    auto* out = reinterpret_cast<__m128i*>(keys.bytes);
    out[0] = even;
    out[1] = odd;
    NextPair<0x01>(even, odd), out[2] = even, out[3] = odd;
    NextPair<0x02>(even, odd), out[4] = even, out[5] = odd;
    NextPair<0x04>(even, odd), out[6] = even, out[7] = odd;
    NextPair<0x08>(even, odd), out[8] = even, out[9] = odd;
    NextPair<0x10>(even, odd), out[10] = even, out[11] = odd;
    NextPair<0x20>(even, odd), out[12] = even, out[13] = odd;
    out[14] = EvenKey(even, _mm_aeskeygenassist_si128(odd, 0x40));
}

AESNI_TARGET void InvertKeys(const RoundKeys& encrypt, RoundKeys& decrypt) noexcept {
    auto* out = reinterpret_cast<__m128i*>(decrypt.bytes);
    out[0] = Key(encrypt, kRounds);
    for (std::size_t round = 1; round < kRounds; ++round)
        out[round] = _mm_aesimc_si128(Key(encrypt, kRounds - round));
    out[kRounds] = Key(encrypt, 0);
}

AESNI_TARGET void EncryptBlocks(const RoundKeys& keys, unsigned char* chain, const unsigned char* in,
                                unsigned char* out, std::size_t blocks) noexcept {
    // The keys in registers, and the first key xored into the input before the previous block is: each
    // block waits for the one before it (CBC encryption cannot be interleaved), so only the rounds may
    // stand on that path.
    const __m128i k0 = Key(keys, 0), k1 = Key(keys, 1), k2 = Key(keys, 2), k3 = Key(keys, 3),
                  k4 = Key(keys, 4), k5 = Key(keys, 5), k6 = Key(keys, 6), k7 = Key(keys, 7),
                  k8 = Key(keys, 8), k9 = Key(keys, 9), k10 = Key(keys, 10), k11 = Key(keys, 11),
                  k12 = Key(keys, 12), k13 = Key(keys, 13), k14 = Key(keys, 14);
    __m128i previous = Load(chain);
    for (std::size_t i = 0; i < blocks; ++i, in += kBlock, out += kBlock) {
        __m128i block = _mm_xor_si128(_mm_xor_si128(Load(in), k0), previous);
        block = _mm_aesenc_si128(block, k1);
        block = _mm_aesenc_si128(block, k2);
        block = _mm_aesenc_si128(block, k3);
        block = _mm_aesenc_si128(block, k4);
        block = _mm_aesenc_si128(block, k5);
        block = _mm_aesenc_si128(block, k6);
        block = _mm_aesenc_si128(block, k7);
        block = _mm_aesenc_si128(block, k8);
        block = _mm_aesenc_si128(block, k9);
        block = _mm_aesenc_si128(block, k10);
        block = _mm_aesenc_si128(block, k11);
        block = _mm_aesenc_si128(block, k12);
        block = _mm_aesenc_si128(block, k13);
        previous = _mm_aesenclast_si128(block, k14);
        Store(out, previous);
    }
    Store(chain, previous);
}

AESNI_TARGET void DecryptBlocks(const RoundKeys& keys, unsigned char* chain, const unsigned char* in,
                                unsigned char* out, std::size_t blocks) noexcept {
    const auto* k = reinterpret_cast<const __m128i*>(keys.bytes);
    __m128i previous = Load(chain);
    std::size_t i = 0;
    // Four blocks at a time, all read before any is written, so that out may be in: decryption has no
    // chain between blocks, and four in flight hide the instructions' latency.
    for (; i + 4 <= blocks; i += 4, in += 4 * kBlock, out += 4 * kBlock) {
        const __m128i c0 = Load(in), c1 = Load(in + kBlock), c2 = Load(in + 2 * kBlock),
                      c3 = Load(in + 3 * kBlock);
        __m128i p0 = _mm_xor_si128(c0, k[0]), p1 = _mm_xor_si128(c1, k[0]), p2 = _mm_xor_si128(c2, k[0]),
                p3 = _mm_xor_si128(c3, k[0]);
        for (std::size_t round = 1; round < kRounds; ++round) {
            p0 = _mm_aesdec_si128(p0, k[round]);
            p1 = _mm_aesdec_si128(p1, k[round]);
            p2 = _mm_aesdec_si128(p2, k[round]);
            p3 = _mm_aesdec_si128(p3, k[round]);
        }
        Store(out, _mm_xor_si128(_mm_aesdeclast_si128(p0, k[kRounds]), previous));
        Store(out + kBlock, _mm_xor_si128(_mm_aesdeclast_si128(p1, k[kRounds]), c0));
        Store(out + 2 * kBlock, _mm_xor_si128(_mm_aesdeclast_si128(p2, k[kRounds]), c1));
        Store(out + 3 * kBlock, _mm_xor_si128(_mm_aesdeclast_si128(p3, k[kRounds]), c2));
        previous = c3;
    }
    for (; i < blocks; ++i, in += kBlock, out += kBlock) {
        const __m128i cipher = Load(in);
        Store(out, _mm_xor_si128(DecryptBlock(k, cipher), previous));
        previous = cipher;
    }
    Store(chain, previous);
}

}  // namespace AesNiCbc

#else

// Elsewhere OpenSSL does all the work.
namespace AesNiCbc {
bool Available() noexcept {
    return false;
}
void ExpandEncryptKey(const unsigned char*, RoundKeys&) noexcept {}
void InvertKeys(const RoundKeys&, RoundKeys&) noexcept {}
void EncryptBlocks(const RoundKeys&, unsigned char*, const unsigned char*, unsigned char*,
                   std::size_t) noexcept {}
void DecryptBlocks(const RoundKeys&, unsigned char*, const unsigned char*, unsigned char*,
                   std::size_t) noexcept {}
}  // namespace AesNiCbc

#endif
