// Display texts of the sound library's sound types, as the player shows them.
#include "SoundEngine.h"

std::string SoundEngine::soundTypeName(audio::SoundType type) {
    using audio::SoundType;
    switch (type) {
    case SoundType::Unknown:
        return "";
    case SoundType::AAC:
        return "AAC";
    case SoundType::AIFF:
        return "AIFF";
    case SoundType::ASF:
        return "WMA/ASF/WMV";
    case SoundType::AT3:
        return "Sony ATRAC 3";
    case SoundType::CDDA:
        return "Digital CD audio";
    case SoundType::DLS:
        return "Downloadable Sound Bank";
    case SoundType::FLAC:
        return "FLAC";
    case SoundType::FSB:
        return "Sample Bank";
    case SoundType::GCADPCM:
        return "GameCube ADPCM";
    case SoundType::IT:
        return "Impulse Tracker";
    case SoundType::MIDI:
        return "MIDI";
    case SoundType::MOD:
        return "Protracker/Fasttracker";
    case SoundType::MPEG:
        return "MP2/MP3 MPEG";
    case SoundType::OggVorbis:
        return "Ogg vorbis";
    case SoundType::Playlist:
        return "ASX/PLS/M3U/WAX playlist";
    case SoundType::Raw:
        return "Raw PCM data";
    case SoundType::S3M:
        return "ScreamTracker 3";
    case SoundType::SF2:
        return "Sound font 2 format";
    case SoundType::User:
        return "User created sound";
    case SoundType::WAV:
        return "Microsoft WAV";
    case SoundType::XM:
        return "FastTracker 2 XM";
    case SoundType::XMA:
        return "Xbox360 XMA";
    case SoundType::VAG:
        return "PlayStation 2 / PlayStation Portable adpcm VAG ";
    case SoundType::Opus:
        return "Ogg Opus";
    case SoundType::OtherModule:
        return "Tracker module";
    case SoundType::OtherFfmpeg:
        return "Other audio format";
    }
    return "Unknown format";
}

std::string SoundEngine::soundTypeName(audio::Sound* sound) const {
    audio::SoundType type = audio::SoundType::Unknown;
    if (sound == nullptr) {
        return soundTypeName(type);
    }
    sound->getType(&type);
    // A plug-in's own name ("C64 PSID") tells more than the plug-in type's generic text.
    std::string pluginName;
    if (type == audio::SoundType::User && sound->getFormatName(&pluginName) == audio::Result::Ok &&
        !pluginName.empty()) {
        return pluginName.substr(0, MaxFormatNameChars);
    }
    return soundTypeName(type);
}
