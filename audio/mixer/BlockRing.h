#pragma once
// A lock-free single-producer/single-consumer ring of fixed-size blocks of decoded audio: the
// decode worker fills blocks, the mixer drains them. All memory is reserved by the constructor;
// prefault() commits it before first use, so neither side takes a page fault mid-stream.
//
// Threading: exactly one producer thread calls beginWrite/commitWrite and one consumer thread
// calls front/pop at the same time. reset() and prefault() only while neither side is active.

#include "ZeroedArray.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace audio::detail {

// All-zero bytes are a valid empty block (ZeroedArray relies on it).
struct AudioBlock {
    static constexpr size_t MaxFrames = 1024;
    uint32_t epoch = 0;      // the seek generation the block belongs to (stale ones are dropped)
    uint32_t frames = 0;     // valid frames in samples, 0..MaxFrames
    uint64_t startFrame = 0; // source frame of samples[0]
    bool endOfData = false;  // no block of this epoch follows
    float samples[MaxFrames * 2];
};

class BlockRing {
public:
    // capacity: number of blocks, rounded up to a power of two (at least 2).
    explicit BlockRing(size_t capacity) {
        size_t n = 2;
        while (n < capacity) {
            n *= 2;
        }
        blocks_ = makeZeroedArray<AudioBlock>(n);
        mask_ = n - 1;
    }

    // Producer: a free block to fill, or nullptr when the ring is full.
    AudioBlock* beginWrite() {
        const size_t head = head_.load(std::memory_order_relaxed);
        if (head - tail_.load(std::memory_order_acquire) > mask_) {
            return nullptr;
        }
        return &blocks_[head & mask_];
    }
    // Producer: publishes the block returned by beginWrite.
    void commitWrite() {
        head_.store(head_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }

    // Consumer: the oldest filled block, or nullptr when empty.
    AudioBlock* front() {
        const size_t tail = tail_.load(std::memory_order_relaxed);
        if (tail == head_.load(std::memory_order_acquire)) {
            return nullptr;
        }
        return &blocks_[tail & mask_];
    }
    // Consumer: releases the block returned by front.
    void pop() {
        tail_.store(tail_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }

    // Writes every block once so their pages are committed; only while neither side is active.
    void prefault() {
        std::memset(static_cast<void*>(blocks_.get()), 0, capacity() * sizeof(AudioBlock));
    }

    size_t capacity() const { return mask_ + 1; }
    // Blocks the consumer has released so far (counts on across laps; reset() restarts it).
    size_t consumed() const { return tail_.load(std::memory_order_acquire); }
    void reset() {
        head_.store(0, std::memory_order_relaxed);
        tail_.store(0, std::memory_order_relaxed);
    }

private:
    ZeroedArray<AudioBlock> blocks_;
    size_t mask_ = 0;
    alignas(64) std::atomic<size_t> head_{0};
    alignas(64) std::atomic<size_t> tail_{0};
};

} // namespace audio::detail
