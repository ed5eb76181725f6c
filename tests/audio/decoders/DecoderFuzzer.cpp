// Fuzz target: openDecoder on arbitrary memory blocks, then bounded reads and seeks on whatever
// it accepts. Finds crashes, hangs and runaway allocations in the accept path and the decoders.
#include "Decoder.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    audio::DecoderSource source;
    source.path = "fuzz";
    source.memory = std::make_shared<std::vector<uint8_t>>(data, data + size);
    std::unique_ptr<audio::Decoder> decoder;
    if (audio::openDecoder(source, nullptr, &decoder) != audio::Result::Ok) {
        return 0;
    }
    constexpr size_t Block = 4096;
    constexpr size_t MaxFrames = 1 << 16;
    std::vector<float> buffer(2 * Block);
    size_t total = 0;
    while (total < MaxFrames) {
        const size_t got = decoder->read(buffer.data(), Block);
        if (got == 0 || got > Block) {
            break;
        }
        total += got;
    }
    const uint64_t length = decoder->lengthFrames();
    if (length != audio::UnknownFrames && length < (uint64_t{1} << 32)) {
        if (decoder->seek(length / 2) == audio::Result::Ok) {
            decoder->read(buffer.data(), Block);
        }
    }
    decoder->selectSubsong(decoder->subsongCount() - 1);
    decoder->read(buffer.data(), Block);
    return 0;
}
