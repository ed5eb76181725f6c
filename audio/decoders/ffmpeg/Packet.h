#pragma once
// Owns an AVPacket; av_packet_unref between uses keeps the same allocation.
//
// Threading: as the owning decoder (one thread at a time).

#include "FfmpegHeaders.h"

#include <memory>

namespace audio::ffmpeg {

struct PacketFreer {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using Packet = std::unique_ptr<AVPacket, PacketFreer>;

// Returns an empty packet, or null when out of memory.
inline Packet makePacket() {
    return Packet(av_packet_alloc());
}

} // namespace audio::ffmpeg
