#pragma once
// A libadplug file provider over one memory block: libadplug's loaders open files by name,
// and this one answers only for the song's own name, so a loader never touches the disk (a
// format that wants a second file, such as an instrument bank, fails to load instead).
//
// Threading: one provider per open song; used by the thread that loads it.

#include <adplug/fprovide.h>

#include <cstdint>
#include <span>
#include <string>

namespace adplug_codec {

class MemoryFileProvider final : public CFileProvider {
public:
    // `data` must outlive the provider and every stream it opens.
    MemoryFileProvider(std::string name, std::span<const uint8_t> data);

    // A new little-endian stream over the block when `name` is the song's name, else null.
    // The caller hands it back to close().
    binistream* open(std::string name) const override;
    void close(binistream* stream) const override;

private:
    std::string name_;
    std::span<const uint8_t> data_;
};

} // namespace adplug_codec
