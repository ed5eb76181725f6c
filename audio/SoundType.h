#pragma once
// The kinds of sound the library can decode. The engine maps them to display texts.
//
// Threading: plain values, usable anywhere.

namespace audio {

// Values 0..23 keep the classic order of sound-library types so that code written against that
// order keeps working; the later values extend it with types that order lacks.
enum class SoundType : int {
    Unknown = 0,
    AAC,
    AIFF,
    ASF, // WMA / ASF / WMV
    AT3,
    CDDA,
    DLS,
    FLAC,
    FSB,
    GCADPCM,
    IT,
    MIDI,
    MOD,
    MPEG, // MP2 / MP3
    OggVorbis,
    Playlist,
    Raw,
    S3M,
    SF2,
    User, // decoded by a codec plug-in
    WAV,
    XM,
    XMA,
    VAG,
    // Extensions (24 and up).
    Opus = 24,
    OtherModule, // a tracker format other than MOD/S3M/XM/IT (MTM, 669, MED, ...)
    OtherFfmpeg, // a format FFmpeg decodes that has no own entry here (ALAC, APE, WavPack, ...)
};

} // namespace audio
