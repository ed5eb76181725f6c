#include "LargeBlock.h"

#ifndef _WIN32
#include <sys/mman.h> // madvise; Windows has no huge-page hint for heap blocks
#endif

namespace engine_detail {
namespace {

constexpr uintptr_t HugePageBytes = uintptr_t{2} << 20;

} // namespace

void reserveLargeBlock(std::vector<uint8_t>& block, size_t bytes) {
    block.reserve(bytes);
#ifdef MADV_HUGEPAGE
    if (block.capacity() < 2 * HugePageBytes) {
        return;
    }
    // The allocator's mapping rarely starts on a huge-page boundary: only whole aligned 2 MiB
    // pieces inside the block are hinted.
    const auto start = reinterpret_cast<uintptr_t>(block.data());
    const uintptr_t first = (start + HugePageBytes - 1) & ~(HugePageBytes - 1);
    const uintptr_t end = (start + block.capacity()) & ~(HugePageBytes - 1);
    if (end > first) {
        ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE); // a hint only
    }
#endif
}

std::shared_ptr<const std::vector<uint8_t>> shareBlock(std::vector<uint8_t>&& block) {
    return std::make_shared<const std::vector<uint8_t>>(std::move(block));
}

} // namespace engine_detail
