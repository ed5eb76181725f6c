#pragma once
// Four floats processed together: SSE2 where the compiler targets it (every x86-64 build),
// plain arrays elsewhere. The effect units write their inner loops once against this type.
//
// Threading: plain values; no shared state.

#include <cstring>

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#include <emmintrin.h>
#define TAMBERLO_FLOAT4_SSE2 1
#endif

namespace audio::detail {

#if defined(TAMBERLO_FLOAT4_SSE2)

struct Float4 {
    __m128 v;

    static Float4 load(const float* p) { return {_mm_loadu_ps(p)}; }
    static Float4 fill(float x) { return {_mm_set1_ps(x)}; }
    static Float4 of(float a, float b, float c, float d) { return {_mm_setr_ps(a, b, c, d)}; }
    void store(float* p) const { _mm_storeu_ps(p, v); }

    friend Float4 operator+(Float4 a, Float4 b) { return {_mm_add_ps(a.v, b.v)}; }
    friend Float4 operator-(Float4 a, Float4 b) { return {_mm_sub_ps(a.v, b.v)}; }
    friend Float4 operator*(Float4 a, Float4 b) { return {_mm_mul_ps(a.v, b.v)}; }
    friend Float4 max(Float4 a, Float4 b) { return {_mm_max_ps(a.v, b.v)}; }
    friend Float4 abs(Float4 a) {
        return {_mm_and_ps(a.v, _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff)))};
    }

    // Lanes moved up by one / two places, zeros shifted in: {0, a0, a1, a2} / {0, 0, a0, a1}.
    Float4 shiftUp1() const { return {_mm_castsi128_ps(_mm_slli_si128(_mm_castps_si128(v), 4))}; }
    Float4 shiftUp2() const { return {_mm_castsi128_ps(_mm_slli_si128(_mm_castps_si128(v), 8))}; }
    // {a3, a3, a3, a3}
    Float4 broadcastLast() const { return {_mm_shuffle_ps(v, v, _MM_SHUFFLE(3, 3, 3, 3))}; }
    // {a0, a0, a1, a1} and {a2, a2, a3, a3}: per-frame values spread over stereo pairs.
    Float4 pairsLow() const { return {_mm_unpacklo_ps(v, v)}; }
    Float4 pairsHigh() const { return {_mm_unpackhi_ps(v, v)}; }
    float last() const { return _mm_cvtss_f32(broadcastLast().v); }
    float largest() const {
        const __m128 half = _mm_max_ps(v, _mm_movehl_ps(v, v));
        return _mm_cvtss_f32(_mm_max_ss(half, _mm_shuffle_ps(half, half, 1)));
    }
};

#else

struct Float4 {
    float v[4];

    static Float4 load(const float* p) {
        Float4 r;
        std::memcpy(r.v, p, sizeof r.v);
        return r;
    }
    static Float4 fill(float x) { return {{x, x, x, x}}; }
    static Float4 of(float a, float b, float c, float d) { return {{a, b, c, d}}; }
    void store(float* p) const { std::memcpy(p, v, sizeof v); }

    template <typename Op> static Float4 each(Float4 a, Float4 b, Op op) {
        return {{op(a.v[0], b.v[0]), op(a.v[1], b.v[1]), op(a.v[2], b.v[2]), op(a.v[3], b.v[3])}};
    }
    friend Float4 operator+(Float4 a, Float4 b) {
        return each(a, b, [](float x, float y) { return x + y; });
    }
    friend Float4 operator-(Float4 a, Float4 b) {
        return each(a, b, [](float x, float y) { return x - y; });
    }
    friend Float4 operator*(Float4 a, Float4 b) {
        return each(a, b, [](float x, float y) { return x * y; });
    }
    friend Float4 max(Float4 a, Float4 b) {
        return each(a, b, [](float x, float y) { return x > y ? x : y; });
    }
    friend Float4 abs(Float4 a) {
        return each(a, a, [](float x, float) { return x < 0.0f ? -x : x; });
    }

    Float4 shiftUp1() const { return {{0.0f, v[0], v[1], v[2]}}; }
    Float4 shiftUp2() const { return {{0.0f, 0.0f, v[0], v[1]}}; }
    Float4 broadcastLast() const { return fill(v[3]); }
    Float4 pairsLow() const { return {{v[0], v[0], v[1], v[1]}}; }
    Float4 pairsHigh() const { return {{v[2], v[2], v[3], v[3]}}; }
    float last() const { return v[3]; }
    float largest() const {
        const float a = v[0] > v[1] ? v[0] : v[1];
        const float b = v[2] > v[3] ? v[2] : v[3];
        return a > b ? a : b;
    }
};

#endif

} // namespace audio::detail
