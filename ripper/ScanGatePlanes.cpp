// The gates of the chain tests over a whole block, as bit planes (AVX2). Each distinct
// (mask, value) of a gate becomes one plane: a bit per byte of the block's gate region, set
// where (byte & mask) == value. A gate at offset k is then that plane read k bits further on,
// and a pair holds where its two shifted planes both have their bit. A plane costs one pass
// over the region; a pair costs a few shifts per 256 positions, so many chain tests stay cheap.
#include "ScanCandidates.h"
#include "ScanSimd.h"

#if defined(TAMBERLO_SCAN_AVX2)
#include <cstring>

namespace {
__attribute__((target("avx2"))) inline __m256i loadBytes(const std::uint8_t* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

__attribute__((target("avx2"))) void fillPlane(const CandidateRules::PlaneClass& plane,
                                               const std::uint8_t* region, std::uint8_t* bits) {
    const __m256i mask = _mm256_broadcastsi128_si256(
        _mm_load_si128(reinterpret_cast<const __m128i*>(plane.mask.bytes)));
    const __m256i value = _mm256_broadcastsi128_si256(
        _mm_load_si128(reinterpret_cast<const __m128i*>(plane.value.bytes)));
    for (std::uint32_t at = 0; at < kGateRegion; at += 32) {
        const auto word = std::uint32_t(_mm256_movemask_epi8(
            _mm256_cmpeq_epi8(_mm256_and_si256(loadBytes(region + at), mask), value)));
        std::memcpy(bits + at / 8, &word, 4);
    }
    std::memset(bits + kGateRegion / 8, 0, kPlaneBytes - kGateRegion / 8);
}

// 256 bits of `plane` from bit `bit` on: each 64-bit lane is shifted right by the bit offset
// within the byte and takes the top bits from the lane eight bytes further on.
struct Shift {
    const std::uint8_t* bytes;
    __m128i right, left;
};
__attribute__((target("avx2"))) inline Shift shiftOf(const std::uint8_t* plane, std::uint32_t bit) {
    const int r = int(bit % 8);
    return {plane + bit / 8, _mm_cvtsi32_si128(r), _mm_cvtsi32_si128(64 - r)};
}
__attribute__((target("avx2"))) inline __m256i bitsAt(const Shift& shift, std::uint32_t byte) {
    // A left shift by 64 gives 0, so a whole-byte offset takes nothing from the next lane.
    return _mm256_or_si256(_mm256_srl_epi64(loadBytes(shift.bytes + byte), shift.right),
                           _mm256_sll_epi64(loadBytes(shift.bytes + byte + 8), shift.left));
}
} // namespace

__attribute__((target("avx2"))) void gateWordsAvx2(const CandidateRules& rules,
                                                   const std::uint8_t* region, std::uint8_t* planes,
                                                   std::uint32_t* gates) {
    for (std::size_t c = 0; c < rules.planeClasses.size(); ++c)
        fillPlane(rules.planeClasses[c], region, planes + c * kPlaneBytes);
    constexpr std::uint32_t kGroups = kBlockPositions / 256;
    __m256i held[kGroups];
    for (auto& group : held)
        group = _mm256_setzero_si256();
    for (const CandidateRules::PlanePair& pair : rules.planePairs) {
        const Shift a = shiftOf(planes + pair.classA * kPlaneBytes, pair.offsetA);
        const Shift b = shiftOf(planes + pair.classB * kPlaneBytes, pair.offsetB);
        for (std::uint32_t g = 0; g < kGroups; ++g)
            held[g] =
                _mm256_or_si256(held[g], _mm256_and_si256(bitsAt(a, 32 * g), bitsAt(b, 32 * g)));
    }
    for (std::uint32_t g = 0; g < kGroups; ++g)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(gates + 8 * g), held[g]);
}
#endif
