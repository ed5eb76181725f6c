#pragma once
// The vector instructions the scan pre-pass may use: SSE2 wherever the compiler targets it, and
// on GCC and Clang for x86 also an AVX2 form, chosen at run time by the processor.
//
// Threading: hasAvx2() is safe from any thread.

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#include <emmintrin.h>
#define TAMBERLO_SCAN_SSE2 1
#endif
#if defined(TAMBERLO_SCAN_SSE2) && (defined(__GNUC__) || defined(__clang__)) &&                    \
    (defined(__x86_64__) || defined(__i386__))
#include <immintrin.h>
#define TAMBERLO_SCAN_AVX2 1

inline bool hasAvx2() {
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}
#endif
