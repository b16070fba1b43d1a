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

bool HasSsse3() noexcept {
    static const bool has = __builtin_cpu_supports("ssse3");
    return has;
}
#endif

}  // namespace

char* EncodeGroups(const unsigned char* in, std::size_t groups, char* out) noexcept {
#ifdef PELMOR_BASE64_SSSE3
    if (HasSsse3()) return EncodeGroupsSsse3(in, groups, out);
#endif
    return EncodeGroupsScalar(in, groups, out);
}
