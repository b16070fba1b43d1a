#include "Base64Groups.h"

#include <cstdint>

#if (defined(__x86_64__) || defined(__i386__)) && (defined(__GNUC__) || defined(__clang__))
#define PELMOR_BASE64_SSSE3 1
#include <immintrin.h>
#endif

namespace {

// Two output characters per 12 bits of input: half the lookups of a character table.
struct PairTable {
    char pairs[4096][2];
    constexpr PairTable() : pairs() {
        for (int i = 0; i < 4096; ++i) {
            pairs[i][0] = kBase64Alphabet[i >> 6];
            pairs[i][1] = kBase64Alphabet[i & 63];
        }
    }
};
constexpr PairTable kPairs;

inline void PutPair(char* out, unsigned index) {
    out[0] = kPairs.pairs[index][0];
    out[1] = kPairs.pairs[index][1];
}

char* EncodeGroupsScalar(const unsigned char* in, std::size_t groups, char* out) noexcept {
    for (std::size_t g = 0; g < groups; ++g, in += 3, out += 4) {
        const unsigned n = (in[0] << 16) | (in[1] << 8) | in[2];
        PutPair(out, n >> 12);
        PutPair(out + 2, n & 0xFFF);
    }
    return out;
}

// Each character's six bits already shifted into place for its position in a group of four; a character
// outside the alphabet sets kInvalid, so one test per group finds it.
constexpr std::uint32_t kInvalid = 1u << 24;
struct DecodeTables {
    std::uint32_t shifted[4][256];
    constexpr DecodeTables() : shifted() {
        for (int p = 0; p < 4; ++p)
            for (int c = 0; c < 256; ++c)
                shifted[p][c] = kInvalid;
        for (int i = 0; i < 64; ++i)
            for (int p = 0; p < 4; ++p)
                shifted[p][static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<std::uint32_t>(i)
                                                                             << (18 - 6 * p);
    }
};
constexpr DecodeTables kDecode;

std::size_t DecodeGroupsScalar(const unsigned char* in, std::size_t groups, char* out) noexcept {
    for (std::size_t g = 0; g < groups; ++g, in += 4, out += 3) {
        const std::uint32_t n = kDecode.shifted[0][in[0]] | kDecode.shifted[1][in[1]] |
                                kDecode.shifted[2][in[2]] | kDecode.shifted[3][in[3]];
        if (n & kInvalid) return g;
        out[0] = static_cast<char>(n >> 16);
        out[1] = static_cast<char>(n >> 8);
        out[2] = static_cast<char>(n);
    }
    return groups;
}

#ifdef PELMOR_BASE64_SSSE3
// Four groups per step: twelve bytes spread into sixteen six-bit indices by shuffles and multiplies,
// then turned into characters by one more shuffle of per-range offsets. Reads sixteen bytes per step,
// so it stops while at least that many remain.
__attribute__((target("ssse3"))) char* EncodeGroupsSsse3(const unsigned char* in, std::size_t groups,
                                                         char* out) noexcept {
    const __m128i spread = _mm_set_epi8(10, 11, 9, 10, 7, 8, 6, 7, 4, 5, 3, 4, 1, 2, 0, 1);
    const __m128i offsets =
        _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                      '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    std::size_t g = 0;
    for (; g + 6 <= groups; g += 4, in += 12, out += 16) {
        const __m128i bytes = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in)), spread);
        const __m128i high =
            _mm_mulhi_epu16(_mm_and_si128(bytes, _mm_set1_epi32(0x0fc0fc00)), _mm_set1_epi32(0x04000040));
        const __m128i low =
            _mm_mullo_epi16(_mm_and_si128(bytes, _mm_set1_epi32(0x003f03f0)), _mm_set1_epi32(0x01000010));
        const __m128i indices = _mm_or_si128(high, low);
        // 0..25 -> 13, 26..51 -> 0, 52..61 -> 1..10, 62 -> 11, 63 -> 12: the slot of each range's offset.
        __m128i slot = _mm_subs_epu8(indices, _mm_set1_epi8(51));
        const __m128i upper = _mm_cmpgt_epi8(_mm_set1_epi8(26), indices);
        slot = _mm_or_si128(slot, _mm_and_si128(upper, _mm_set1_epi8(13)));
        const __m128i text = _mm_add_epi8(_mm_shuffle_epi8(offsets, slot), indices);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), text);
    }
    return EncodeGroupsScalar(in, groups - g, out);
}

// Eight groups per step: the SSSE3 step above in both halves of a 256-bit register, each half taking its
// own twelve bytes. Reads sixteen bytes from the second twelve, so it stops while at least ten groups
// remain, and leaves the rest to the SSSE3 step.
__attribute__((target("avx2"))) char* EncodeGroupsAvx2(const unsigned char* in, std::size_t groups,
                                                       char* out) noexcept {
    const __m256i spread = _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, 1, 0, 2, 1, 4,
                                            3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    const __m256i offsets = _mm256_setr_epi8(
        'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
        '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0, 'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
        '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    std::size_t g = 0;
    for (; g + 10 <= groups; g += 8, in += 24, out += 32) {
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 12));
        const __m256i bytes =
            _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1), spread);
        const __m256i high = _mm256_mulhi_epu16(_mm256_and_si256(bytes, _mm256_set1_epi32(0x0fc0fc00)),
                                                _mm256_set1_epi32(0x04000040));
        const __m256i low = _mm256_mullo_epi16(_mm256_and_si256(bytes, _mm256_set1_epi32(0x003f03f0)),
                                               _mm256_set1_epi32(0x01000010));
        const __m256i indices = _mm256_or_si256(high, low);
        __m256i slot = _mm256_subs_epu8(indices, _mm256_set1_epi8(51));
        const __m256i upper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), indices);
        slot = _mm256_or_si256(slot, _mm256_and_si256(upper, _mm256_set1_epi8(13)));
        const __m256i text = _mm256_add_epi8(_mm256_shuffle_epi8(offsets, slot), indices);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), text);
    }
    return EncodeGroupsSsse3(in, groups - g, out);
}

// Four groups per step: each character's class found from its two nibbles by table shuffles (any
// character outside the alphabet lands in a class that marks it), turned into its six bits by a per-class
// offset, and the sixteen six-bit values packed into twelve bytes by two multiply-adds and a shuffle.
// Writes sixteen bytes per step, so it stops while two further groups follow to take the four extra; a step
// that finds a stray character leaves it to the scalar loop, which tells exactly where it is.
__attribute__((target("ssse3"))) std::size_t DecodeGroupsSsse3(const unsigned char* in, std::size_t groups,
                                                               char* out) noexcept {
    const __m128i lowClasses = _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13,
                                             0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
    const __m128i highClasses = _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10,
                                              0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    const __m128i offsets = _mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m128i slash = _mm_set1_epi8(0x2F);
    const __m128i pack = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    std::size_t g = 0;
    for (; g + 6 <= groups; g += 4, in += 16, out += 12) {
        const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
        const __m128i highNibbles = _mm_and_si128(_mm_srli_epi32(text, 4), slash);
        const __m128i lowNibbles = _mm_and_si128(text, slash);
        const __m128i stray = _mm_and_si128(_mm_shuffle_epi8(lowClasses, lowNibbles),
                                            _mm_shuffle_epi8(highClasses, highNibbles));
        if (_mm_movemask_epi8(_mm_cmpgt_epi8(stray, _mm_setzero_si128())) != 0) break;
        const __m128i offset =
            _mm_shuffle_epi8(offsets, _mm_add_epi8(_mm_cmpeq_epi8(text, slash), highNibbles));
        const __m128i sixBits = _mm_add_epi8(text, offset);
        const __m128i pairs = _mm_maddubs_epi16(sixBits, _mm_set1_epi32(0x01400140));
        const __m128i triples = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(triples, pack));
    }
    return g + DecodeGroupsScalar(in, groups - g, out);
}

// Eight groups per step: the SSSE3 step above in both halves of a 256-bit register, the two halves' twelve
// bytes then joined by one permutation. Writes thirty-two bytes per step, so it stops while three further
// groups follow to take the eight extra, and leaves the rest (and any stray character) to the SSSE3 step.
__attribute__((target("avx2"))) std::size_t DecodeGroupsAvx2(const unsigned char* in, std::size_t groups,
                                                             char* out) noexcept {
    const __m256i lowClasses = _mm256_setr_epi8(
        0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A, 0x15,
        0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
    const __m256i highClasses = _mm256_setr_epi8(
        0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,
        0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    const __m256i offsets = _mm256_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16,
                                             19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m256i slash = _mm256_set1_epi8(0x2F);
    const __m256i pack = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, 2, 1, 0, 6,
                                          5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    std::size_t g = 0;
    for (; g + 11 <= groups; g += 8, in += 32, out += 24) {
        const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
        const __m256i highNibbles = _mm256_and_si256(_mm256_srli_epi32(text, 4), slash);
        const __m256i lowNibbles = _mm256_and_si256(text, slash);
        const __m256i stray = _mm256_and_si256(_mm256_shuffle_epi8(lowClasses, lowNibbles),
                                               _mm256_shuffle_epi8(highClasses, highNibbles));
        if (_mm256_movemask_epi8(_mm256_cmpgt_epi8(stray, _mm256_setzero_si256())) != 0) break;
        const __m256i offset =
            _mm256_shuffle_epi8(offsets, _mm256_add_epi8(_mm256_cmpeq_epi8(text, slash), highNibbles));
        const __m256i sixBits = _mm256_add_epi8(text, offset);
        const __m256i pairs = _mm256_maddubs_epi16(sixBits, _mm256_set1_epi32(0x01400140));
        const __m256i triples = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(triples, pack), join);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), packed);
    }
    return g + DecodeGroupsSsse3(in, groups - g, out);
}

bool HasSsse3() noexcept {
    static const bool has = __builtin_cpu_supports("ssse3");
    return has;
}

bool HasAvx2() noexcept {
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}
#endif

}  // namespace

char* EncodeGroups(const unsigned char* in, std::size_t groups, char* out) noexcept {
#ifdef PELMOR_BASE64_SSSE3
    if (HasAvx2()) return EncodeGroupsAvx2(in, groups, out);
    if (HasSsse3()) return EncodeGroupsSsse3(in, groups, out);
#endif
    return EncodeGroupsScalar(in, groups, out);
}

std::size_t DecodeGroups(const unsigned char* in, std::size_t groups, char* out) noexcept {
#ifdef PELMOR_BASE64_SSSE3
    if (HasAvx2()) return DecodeGroupsAvx2(in, groups, out);
    if (HasSsse3()) return DecodeGroupsSsse3(in, groups, out);
#endif
    return DecodeGroupsScalar(in, groups, out);
}
