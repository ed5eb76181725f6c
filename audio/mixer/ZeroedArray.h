#pragma once
// Zero-filled arrays whose pages the kernel commits on first touch. A large calloc maps fresh
// zero pages instead of writing them, so reserving the mixer's rings and histories at set-up
// costs address space, not start-up time; whoever first writes a page pays for it.
//
// Threading: no shared state; the array is owned like a unique_ptr.

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace audio::detail {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

template <class T> using ZeroedArray = std::unique_ptr<T[], FreeDeleter>;

// `count` elements whose every byte is zero. T must be valid as all-zero bytes with no
// constructor run: plain numbers, or aggregates of them whose defaults are zero.
template <class T> ZeroedArray<T> makeZeroedArray(size_t count) {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    void* memory = std::calloc(count, sizeof(T));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return ZeroedArray<T>(static_cast<T*>(memory));
}

} // namespace audio::detail
