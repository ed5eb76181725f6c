#include "FfmpegFormats.h"

#include <cstring>
#include <vector>

namespace audio::ffmpeg {

const char* const AllowedDemuxers =
    "mp3,ogg,flac,wav,w64,aiff,asf,aac,mov,matroska,webm,caf,ape,wv,tta,au,voc,mpc,mpc8,"
    "ac3,eac3,dts,amr,dsf,truehd,mlp,shn,tak,rm,xwma,spdif";

bool isInputList(const uint8_t* head, size_t size) {
    // Probing needs zeroed padding behind the data.
    std::vector<uint8_t> padded(size + AVPROBE_PADDING_SIZE, 0);
    std::memcpy(padded.data(), head, size);
    AVProbeData probe{};
    probe.filename = "";
    probe.buf = padded.data();
    probe.buf_size = static_cast<int>(size);
    int score = 0;
    const AVInputFormat* format = av_probe_input_format3(&probe, 1, &score);
    if (format == nullptr || score < MinimumProbeScore) {
        return false;
    }
    for (const char* list : {"concat", "hls", "dash", "webm_dash_manifest", "imf"}) {
        if (std::strcmp(format->name, list) == 0) {
            return true;
        }
    }
    return false;
}

SoundType soundTypeOf(const char* demuxerName, AVCodecID codecId) {
    const auto demuxerIs = [demuxerName](const char* name) {
        return demuxerName != nullptr && std::strcmp(demuxerName, name) == 0;
    };
    if (demuxerIs("wav") || demuxerIs("w64")) {
        return SoundType::WAV;
    }
    if (demuxerIs("aiff")) {
        return SoundType::AIFF;
    }
    if (demuxerIs("asf")) {
        return SoundType::ASF;
    }
    switch (codecId) {
    case AV_CODEC_ID_MP1:
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
        return SoundType::MPEG;
    case AV_CODEC_ID_VORBIS:
        return SoundType::OggVorbis;
    case AV_CODEC_ID_OPUS:
        return SoundType::Opus;
    case AV_CODEC_ID_FLAC:
        return SoundType::FLAC;
    case AV_CODEC_ID_AAC:
        return SoundType::AAC;
    case AV_CODEC_ID_WMAV1:
    case AV_CODEC_ID_WMAV2:
    case AV_CODEC_ID_WMAPRO:
    case AV_CODEC_ID_WMALOSSLESS:
        return SoundType::ASF;
    default:
        return SoundType::OtherFfmpeg;
    }
}

} // namespace audio::ffmpeg
