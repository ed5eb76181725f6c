#include "FfmpegFormats.h"

#include <cstring>

namespace audio::ffmpeg {

const char* const AllowedDemuxers =
    "mp3,ogg,flac,wav,w64,aiff,asf,aac,mov,matroska,webm,caf,ape,wv,tta,au,voc,mpc,mpc8,"
    "ac3,eac3,dts,amr,dsf,truehd,mlp,shn,tak,rm,xwma,spdif";

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
