#include "Gunzip.h"

#include <zlib.h>

#include <algorithm>
#include <climits>

namespace game_codec {

namespace {

// A zlib inflate stream that reads gzip framing; ends the stream when it goes.
class GzipInflater {
public:
    explicit GzipInflater(std::span<const uint8_t> input) {
        stream_.next_in = const_cast<Bytef*>(input.data()); // zlib's API is not const-correct
        stream_.avail_in = static_cast<uInt>(std::min<size_t>(input.size(), UINT_MAX));
        ready_ = inflateInit2(&stream_, 16 + MAX_WBITS) == Z_OK;
    }
    ~GzipInflater() {
        if (ready_) {
            inflateEnd(&stream_);
        }
    }
    GzipInflater(const GzipInflater&) = delete;
    GzipInflater& operator=(const GzipInflater&) = delete;

    bool ready() const { return ready_; }
    // Inflates into `out`; the zlib result code.
    int inflateInto(uint8_t* out, size_t size) {
        stream_.next_out = out;
        stream_.avail_out = static_cast<uInt>(size);
        return inflate(&stream_, Z_NO_FLUSH);
    }
    size_t outputLeft() const { return stream_.avail_out; }

private:
    z_stream stream_{};
    bool ready_ = false;
};

constexpr size_t Chunk = 64 * 1024;

} // namespace

bool isGzip(std::span<const uint8_t> bytes) {
    return bytes.size() >= 3 && bytes[0] == 0x1F && bytes[1] == 0x8B && bytes[2] == 8;
}

std::optional<std::vector<uint8_t>> gunzipHead(std::span<const uint8_t> head, size_t count) {
    if (!isGzip(head) || count == 0 || count > 64) {
        return std::nullopt;
    }
    GzipInflater inflater(head);
    if (!inflater.ready()) {
        return std::nullopt;
    }
    std::vector<uint8_t> out(count);
    const int result = inflater.inflateInto(out.data(), out.size());
    if ((result != Z_OK && result != Z_STREAM_END) || inflater.outputLeft() != 0) {
        return std::nullopt;
    }
    return out;
}

std::optional<std::vector<uint8_t>> gunzip(std::span<const uint8_t> data, size_t maxBytes) {
    if (!isGzip(data)) {
        return std::nullopt;
    }
    GzipInflater inflater(data);
    if (!inflater.ready()) {
        return std::nullopt;
    }
    std::vector<uint8_t> out;
    for (;;) {
        if (out.size() >= maxBytes + 1) {
            return std::nullopt; // larger than allowed
        }
        const size_t used = out.size();
        const size_t room = std::min(Chunk, maxBytes + 1 - used);
        out.resize(used + room);
        const int result = inflater.inflateInto(out.data() + used, room);
        out.resize(used + room - inflater.outputLeft());
        if (result == Z_STREAM_END) {
            if (out.size() > maxBytes) {
                return std::nullopt;
            }
            return out;
        }
        // Z_BUF_ERROR with room left means the input ran out: a truncated stream.
        if (result != Z_OK || inflater.outputLeft() != 0) {
            return std::nullopt;
        }
    }
}

} // namespace game_codec
