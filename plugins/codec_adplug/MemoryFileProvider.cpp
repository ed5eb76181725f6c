#include "MemoryFileProvider.h"

#include <binstr.h>

#include <utility>

namespace adplug_codec {

MemoryFileProvider::MemoryFileProvider(std::string name, std::span<const uint8_t> data)
    : name_(std::move(name)), data_(data) {}

binistream* MemoryFileProvider::open(std::string name) const {
    if (name != name_) {
        return nullptr;
    }
    // binisstream only reads, but its constructor takes a mutable pointer.
    auto* stream = new binisstream(const_cast<uint8_t*>(data_.data()), data_.size());
    stream->setFlag(binio::BigEndian, false);
    stream->setFlag(binio::FloatIEEE);
    return stream;
}

void MemoryFileProvider::close(binistream* stream) const {
    delete stream;
}

} // namespace adplug_codec
