#include "MpegByteSource.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

namespace audio::mpg123_decoder {

MpegByteSource::MpegByteSource(std::shared_ptr<const std::vector<uint8_t>> memory)
    : memory_(std::move(memory)), size_(memory_ != nullptr ? memory_->size() : 0) {}

MpegByteSource::MpegByteSource(const std::string& path)
    : file_(path, std::ios::binary | std::ios::ate) {
    if (!file_.is_open()) {
        return;
    }
    const std::streamoff end = file_.tellg();
    if (end < 0) {
        file_.close();
        return;
    }
    size_ = static_cast<uint64_t>(end);
}

size_t MpegByteSource::readAt(uint64_t offset, uint8_t* out, size_t bytes) {
    if (offset >= size_) {
        return 0;
    }
    const auto count = static_cast<size_t>(std::min<uint64_t>(bytes, size_ - offset));
    if (memory_ != nullptr) {
        std::memcpy(out, memory_->data() + offset, count);
        return count;
    }
    file_.clear();
    if (!file_.seekg(static_cast<std::streamoff>(offset))) {
        return 0;
    }
    file_.read(reinterpret_cast<char*>(out), static_cast<std::streamsize>(count));
    return static_cast<size_t>(file_.gcount());
}

ssize_t MpegByteSource::readStream(void* source, void* out, size_t bytes) {
    auto* self = static_cast<MpegByteSource*>(source);
    bytes = std::min<size_t>(bytes, std::numeric_limits<ssize_t>::max());
    const size_t got = self->readAt(self->position_, static_cast<uint8_t*>(out), bytes);
    if (got == 0 && bytes > 0 && self->position_ < self->size_) {
        return -1;
    }
    self->position_ += got;
    return static_cast<ssize_t>(got);
}

off_t MpegByteSource::seekStream(void* source, off_t offset, int whence) {
    auto* self = static_cast<MpegByteSource*>(source);
    int64_t base = 0;
    if (whence == SEEK_CUR) {
        base = static_cast<int64_t>(self->position_);
    } else if (whence == SEEK_END) {
        base = static_cast<int64_t>(self->size_);
    } else if (whence != SEEK_SET) {
        return -1;
    }
    // Every position inside the source is less than size() away from the base, so a larger
    // offset is refused before the sum could overflow.
    const auto reach = static_cast<int64_t>(self->size_);
    if (offset > reach || offset < -reach) {
        return -1;
    }
    const int64_t target = base + static_cast<int64_t>(offset);
    if (target < 0 || static_cast<uint64_t>(target) > self->size_) {
        return -1;
    }
    self->position_ = static_cast<uint64_t>(target);
    return static_cast<off_t>(target);
}

} // namespace audio::mpg123_decoder
