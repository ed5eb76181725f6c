// SoundEngine: preparing a song (unpack, open, rip, measure) without touching a play slot, so
// that it may run on a loader thread while the GUI thread goes on.
#include "SoundEngine.h"

#include "EngineLog.h"
#include "GzipSong.h"
#include "LargeBlock.h"
#include "RegularFile.h"
#include "RipFile.h"
#include "RipperFallback.h"

#include <sys/stat.h>

using engine_detail::engineLog;
using SharedBlock = std::shared_ptr<const std::vector<uint8_t>>;

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

int lengthMsAsInt(audio::Sound* sound) {
    unsigned length = 0;
    if (sound != nullptr) {
        sound->getLength(&length, audio::TimeUnit::Ms);
    }
    return static_cast<int>(length); // UnknownLength becomes -1
}

bool isCancelled(const SongOptions& options) {
    return options.cancel != nullptr && options.cancel->load();
}

audio::CreateSoundInfo createInfo(const SongOptions& options, size_t length) {
    audio::CreateSoundInfo info;
    info.length = length;
    info.cancel = options.cancel;
    info.rangeStartMs = options.range.startMs;
    info.rangeEndMs = options.range.endMs;
    return info;
}

// Creates `song.sound` from a memory block, which the sound shares, and keeps the result.
void createFromMemory(audio::System* system, const SharedBlock& block, PreparedSong& song) {
    audio::CreateSoundInfo info = createInfo(song.options, block->size());
    info.block = block;
    audio::Sound* sound = nullptr;
    song.result = system->createSound(reinterpret_cast<const char*>(block->data()),
                                      memoryMode(song.options.accurate), &info, &sound);
    song.sound.reset(sound);
}

} // namespace

void SoundEngine::createFromPathOrRip(PreparedSong& song, SharedBlock* rippedBlock) const {
    const std::string& path = song.path;
    const audio::CreateSoundInfo info = createInfo(song.options, 0);
    audio::Sound* sound = nullptr;
    song.result =
        system->createSound(path.c_str(), pathMode(path, song.options.accurate), &info, &sound);
    song.sound.reset(sound);
    // Only a regular file can hold a packed module; for a URL or a missing file the library's
    // refusal says it all. An abandoned song goes no further.
    if (song.result == audio::Result::Ok || isCancelled(song.options) ||
        engine_detail::pathKind(path) != engine_detail::PathKind::Regular) {
        return;
    }
    const unsigned long long size = fileBytes(path);
    if (size > static_cast<unsigned long long>(MaxScanBytes)) {
        engineLog(0, "Module ripper scans only the first %d MiB of %s (%llu bytes)",
                  MaxScanBytes >> 20, path.c_str(), size);
    }
    const std::string ripper = ripperPath.empty() ? engine_detail::defaultRipperPath() : ripperPath;
    engine_detail::RipOutcome rip =
        engine_detail::ripModule(ripper, path, ripperTimeout, song.options.cancel.get());
    if (rip.cancelled) {
        return;
    }
    if (!rip.problem.empty()) {
        engineLog(2, "Module ripper failed on %s: %s", path.c_str(), rip.problem.c_str());
    } else if (!rip.ripped) {
        engineLog(2, "No packed module found in %s", path.c_str());
    }
    if (!rip.ripped) {
        return; // song.result still holds the library's refusal
    }
    engineLog(0, "Module ripper ripped a song!");
    *rippedBlock = engine_detail::shareBlock(std::move(rip.module));
    createFromMemory(system, *rippedBlock, song);
}

PreparedSong SoundEngine::prepareSong(const std::string& path, const SongOptions& options) const {
    PreparedSong song;
    song.path = path;
    song.options = options;
    engineLog(0, "Loading song: %s", path.c_str());
    if (system == nullptr) {
        checkResult(audio::Result::NotReady, path);
        return song;
    }

    // Gzip files are unpacked and ripped modules read into this block. The song's sound and the
    // measurements share it (never copied), so it lives on with the sound.
    SharedBlock block;
    // A named pipe would block every open until a writer comes, and a device may never end;
    // the library refuses them too, but the sniff below and the ripper must not even try.
    const bool notRegular = engine_detail::pathKind(path) == engine_detail::PathKind::NotRegular;
    if (notRegular) {
        engineLog(2, "%s is not a regular file (a pipe, device or folder); it is not opened",
                  path.c_str());
    }
    const bool gzipped = !notRegular && engine_detail::hasGzipMagic(path);
    if (gzipped) {
        engine_detail::GzipUnpacked unpacked =
            engine_detail::unpackGzipSong(path, options.cancel.get());
        switch (unpacked.status) {
        case engine_detail::GzipUnpacked::Status::Ok:
            block = engine_detail::shareBlock(std::move(unpacked.data));
            break;
        case engine_detail::GzipUnpacked::Status::TooLarge:
            if (unpacked.claimedBytes > engine_detail::MaxGzipSongBytes) {
                engineLog(2, "Gzip file %s claims %u bytes uncompressed, more than the %u allowed",
                          path.c_str(), unpacked.claimedBytes, engine_detail::MaxGzipSongBytes);
            } else {
                engineLog(2, "Gzip file %s unpacks to more than the %u bytes allowed", path.c_str(),
                          engine_detail::MaxGzipSongBytes);
            }
            return song;
        case engine_detail::GzipUnpacked::Status::Unreadable:
            engineLog(2, "Gzip file %s cannot be read", path.c_str());
            return song;
        case engine_detail::GzipUnpacked::Status::Damaged:
            engineLog(2, "Gzip file %s is damaged: %s", path.c_str(), unpacked.detail.c_str());
            return song;
        case engine_detail::GzipUnpacked::Status::Cancelled:
            song.cancelled = true;
            return song;
        }
    }

    song.opened = true;
    if (notRegular) {
        song.result = audio::Result::FileUnreadable;
    } else if (gzipped) {
        createFromMemory(system, block, song);
    } else {
        createFromPathOrRip(song, &block);
    }
    // Whatever an abandoned song got is released with it, and nothing more is said about it.
    if (isCancelled(options)) {
        song.cancelled = true;
        return song;
    }
    if (song.result == audio::Result::Ok) {
        song.typeName = soundTypeName(song.sound.get());
    }
    engineLog(0, "Loaded file: %s", path.c_str());
    checkResult(song.result, path);
    if (song.result != audio::Result::Ok) {
        return song;
    }

    if (options.trim) {
        // A ripped module is measured from its block too: the file itself cannot be opened.
        measure(song, block);
    } else {
        song.endMs = lengthMsAsInt(song.sound.get());
    }
    engineLog(0, "Found start at: %i of %s", song.startMs, path.c_str());
    return song;
}

void SoundEngine::measure(PreparedSong& song, const SharedBlock& block) const {
    const int cutoff = song.options.cutoff;
    if (block == nullptr) {
        song.startMs = findSoundStartFromPath(song.path, cutoff, song.options.range);
        song.endMs = findSoundEndFromPath(song.path, cutoff, song.options.range);
        return;
    }
    audio::CreateSoundInfo info = createInfo(song.options, block->size());
    info.cancel = nullptr;
    info.block = block;
    song.startMs = findSoundStartFromMemory(block->data(), info, cutoff);
    song.endMs = findSoundEndFromMemory(block->data(), info, cutoff);
}
