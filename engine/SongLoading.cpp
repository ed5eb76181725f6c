// SoundEngine: loading a song into a slot, starting a slot and stopping everything.
#include "SoundEngine.h"

#include "EngineLog.h"
#include "GzipSong.h"
#include "RegularFile.h"
#include "RipFile.h"
#include "RipperFallback.h"

#include <sys/stat.h>

using engine_detail::engineLog;

namespace {

using audio::Mode;

// ".fc" (exactly, lower case) files are decoded whole at load; everything else streams.
bool isWholeSampleSong(const std::string& path) {
    return path.size() >= 3 && path.compare(path.size() - 3, 3, ".fc") == 0;
}

Mode pathMode(const std::string& path, bool accurate) {
    if (isWholeSampleSong(path)) {
        return Mode::Sample;
    }
    return accurate ? Mode::Stream | Mode::AccurateTime : Mode::Stream;
}

Mode memoryMode(bool accurate) {
    const Mode mode = Mode::Stream | Mode::OpenMemory;
    return accurate ? mode | Mode::AccurateTime : mode;
}

// The file's size in bytes, 0 when it cannot be examined.
unsigned long long fileBytes(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? static_cast<unsigned long long>(info.st_size) : 0;
}

audio::CreateSoundInfo rangeInfo(const SongRange& range) {
    audio::CreateSoundInfo info;
    info.rangeStartMs = range.startMs;
    info.rangeEndMs = range.endMs;
    return info;
}

int lengthMsAsInt(audio::Sound* sound) {
    unsigned length = 0;
    if (sound != nullptr) {
        sound->getLength(&length, audio::TimeUnit::Ms);
    }
    return static_cast<int>(length); // UnknownLength becomes -1
}

} // namespace

uint32_t SoundEngine::gzipUncompressedSize(const std::string& path) {
    return engine_detail::gzipTrailerSize(path);
}

audio::Result SoundEngine::releaseSlotSound(int slot) {
    audio::Sound*& sound = sounds[slot];
    // A slot whose creation failed is still marked loaded; releasing it is refused as an
    // invalid handle and logged, which is harmless.
    const audio::Result result = sound != nullptr ? sound->release() : audio::Result::InvalidHandle;
    sound = nullptr;
    return result;
}

void SoundEngine::createFromPathOrRip(const std::string& path, int slot, bool accurate,
                                      const SongRange& range, std::vector<uint8_t>* rippedBlock) {
    audio::CreateSoundInfo info = rangeInfo(range);
    lastResult = system->createSound(path.c_str(), pathMode(path, accurate), &info, &sounds[slot]);
    if (lastResult == audio::Result::Ok) {
        return;
    }
    // Only a regular file can hold a packed module; for a URL or a missing file the library's
    // refusal says it all.
    if (engine_detail::pathKind(path) != engine_detail::PathKind::Regular) {
        return;
    }
    const unsigned long long size = fileBytes(path);
    if (size > static_cast<unsigned long long>(MaxScanBytes)) {
        engineLog(0, "Module ripper scans only the first %d MiB of %s (%llu bytes)",
                  MaxScanBytes >> 20, path.c_str(), size);
    }
    const std::string ripper = ripperPath.empty() ? engine_detail::defaultRipperPath() : ripperPath;
    const engine_detail::RipOutcome rip = engine_detail::ripModule(ripper, path, ripperTimeout);
    if (!rip.problem.empty()) {
        engineLog(2, "Module ripper failed on %s: %s", path.c_str(), rip.problem.c_str());
    } else if (!rip.ripped) {
        engineLog(2, "No packed module found in %s", path.c_str());
    }
    if (!rip.ripped) {
        return; // lastResult still holds the library's refusal
    }
    info.length = rip.module.size();
    engineLog(0, "Module ripper ripped a song!");
    lastResult = system->createSound(reinterpret_cast<const char*>(rip.module.data()),
                                     memoryMode(accurate), &info, &sounds[slot]);
    *rippedBlock = std::move(rip.module);
}

bool SoundEngine::loadSong(const std::string& path, int slot, bool accurate, bool trim, int cutoff,
                           int* endOut, std::string* typeNameOut, const SongRange& range) {
    slot = slot == 1 ? 1 : 0;
    int endScratch = 0;
    std::string nameScratch;
    endOut = endOut != nullptr ? endOut : &endScratch;
    typeNameOut = typeNameOut != nullptr ? typeNameOut : &nameScratch;
    typeNameOut->clear();
    engineLog(0, "Loading song: %s", path.c_str());
    if (system == nullptr) {
        checkResult(audio::Result::NotReady, path);
        return false;
    }
    if (loaded[slot]) {
        lastResult = releaseSlotSound(slot);
        loaded[slot] = false;
        checkResult(lastResult, "");
    }

    // Gzip files are unpacked and ripped modules read into this block, which is freed when this
    // call returns: the library keeps its own copy of memory sounds, and the measurements are
    // done by then.
    std::vector<uint8_t> block;
    // A named pipe would block every open until a writer comes, and a device may never end;
    // the library refuses them too, but the sniff below and the ripper must not even try.
    const bool notRegular = engine_detail::pathKind(path) == engine_detail::PathKind::NotRegular;
    if (notRegular) {
        engineLog(2, "%s is not a regular file (a pipe, device or folder); it is not opened",
                  path.c_str());
    }
    const bool gzipped = !notRegular && engine_detail::hasGzipMagic(path);
    if (gzipped) {
        engine_detail::GzipUnpacked unpacked = engine_detail::unpackGzipSong(path);
        switch (unpacked.status) {
        case engine_detail::GzipUnpacked::Status::Ok:
            block = std::move(unpacked.data);
            break;
        case engine_detail::GzipUnpacked::Status::TooLarge:
            if (unpacked.claimedBytes > engine_detail::MaxGzipSongBytes) {
                engineLog(2, "Gzip file %s claims %u bytes uncompressed, more than the %u allowed",
                          path.c_str(), unpacked.claimedBytes, engine_detail::MaxGzipSongBytes);
            } else {
                engineLog(2, "Gzip file %s unpacks to more than the %u bytes allowed", path.c_str(),
                          engine_detail::MaxGzipSongBytes);
            }
            return false;
        case engine_detail::GzipUnpacked::Status::Unreadable:
            engineLog(2, "Gzip file %s cannot be read", path.c_str());
            return false;
        case engine_detail::GzipUnpacked::Status::Damaged:
            engineLog(2, "Gzip file %s is damaged: %s", path.c_str(), unpacked.detail.c_str());
            return false;
        }
    }

    if (notRegular) {
        lastResult = audio::Result::FileUnreadable;
    } else if (gzipped) {
        audio::CreateSoundInfo info = rangeInfo(range);
        info.length = block.size();
        lastResult = system->createSound(reinterpret_cast<const char*>(block.data()),
                                         memoryMode(accurate), &info, &sounds[slot]);
    } else {
        createFromPathOrRip(path, slot, accurate, range, &block);
    }
    if (lastResult == audio::Result::Ok) {
        *typeNameOut = soundTypeName(sounds[slot]);
    }
    engineLog(0, "Loaded file: %s", path.c_str());
    loaded[slot] = true;
    checkResult(lastResult, path);
    if (lastResult != audio::Result::Ok) {
        return false;
    }

    int start = 0;
    if (trim) {
        // A ripped module is measured from its block too: the file itself cannot be opened.
        measure(path, block.empty() ? nullptr : &block, range, cutoff, &start, endOut);
    } else {
        *endOut = lengthMsAsInt(sounds[slot]);
    }
    engineLog(0, "Found start at: %i of %s", start, path.c_str());
    lastStart = start;

    // The channel exists only once the sound plays, so it is started and paused at once; it
    // waits at the start position until startSlot.
    audio::Channel& channel = slot == 1 ? channelA : channelB;
    channel.stop();
    lastResult = system->playSound(sounds[slot], false, &channel);
    channel.setPaused(true);
    channel.setPosition(static_cast<unsigned>(start), audio::TimeUnit::Ms);
    channel.getFrequency(&baseFrequency[slot == 1 ? 0 : 1]);
    return lastResult == audio::Result::Ok;
}

void SoundEngine::measure(const std::string& path, const std::vector<uint8_t>* block,
                          const SongRange& range, int cutoff, int* start, int* end) {
    if (block == nullptr) {
        *start = findSoundStartFromPath(path, cutoff, range);
        *end = findSoundEndFromPath(path, cutoff, range);
        return;
    }
    audio::CreateSoundInfo info = rangeInfo(range);
    info.length = block->size();
    *start = findSoundStartFromMemory(block->data(), info, cutoff);
    *end = findSoundEndFromMemory(block->data(), info, cutoff);
}

bool SoundEngine::startSlot(int slot) {
    (slot == 1 ? channelA : channelB).setPaused(false);
    return true;
}

void SoundEngine::stopAll() {
    for (audio::Channel* channel : {&channelA, &channelB}) {
        bool playing = false;
        channel->isPlaying(&playing);
        if (playing) {
            lastResult = channel->stop();
            checkResult(lastResult, "");
        }
    }
    for (int slot = 0; slot < 2; ++slot) {
        if (loaded[slot]) {
            lastResult = releaseSlotSound(slot);
            checkResult(lastResult, "");
            loaded[slot] = false;
        }
    }
}
