#include "MemoryIo.h"

#include <algorithm>
#include <cstring>

namespace audio::ffmpeg {

namespace {
constexpr int IoBufferBytes = 32 * 1024;
}

int MemoryReader::read(void* opaque, uint8_t* buffer, int size) {
    auto* self = static_cast<MemoryReader*>(opaque);
    const auto total = static_cast<int64_t>(self->block_->size());
    const int64_t left = total - self->position_;
    if (left <= 0 || size <= 0) {
        return AVERROR_EOF;
    }
    const auto count = static_cast<int>(std::min<int64_t>(left, size));
    std::memcpy(buffer, self->block_->data() + self->position_, static_cast<size_t>(count));
    self->position_ += count;
    return count;
}

int64_t MemoryReader::seek(void* opaque, int64_t offset, int whence) {
    auto* self = static_cast<MemoryReader*>(opaque);
    const auto total = static_cast<int64_t>(self->block_->size());
    int64_t target = 0;
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return total;
    case SEEK_SET:
        target = offset;
        break;
    case SEEK_CUR:
        target = self->position_ + offset;
        break;
    case SEEK_END:
        target = total + offset;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (target < 0 || target > total) {
        return AVERROR(EINVAL);
    }
    self->position_ = target;
    return target;
}

AvioContext makeMemoryAvio(MemoryReader* reader) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(IoBufferBytes));
    if (buffer == nullptr) {
        return nullptr;
    }
    AVIOContext* context = avio_alloc_context(buffer, IoBufferBytes, 0, reader, &MemoryReader::read,
                                              nullptr, &MemoryReader::seek);
    if (context == nullptr) {
        av_free(buffer);
    }
    return AvioContext(context);
}

} // namespace audio::ffmpeg
