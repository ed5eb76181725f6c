// SoundEngine: measuring the near-silence at a song's start and end for gapless playback.
//
// Both scans decode 180,000 bytes of 16-bit stereo into a zero-filled 720,000-byte buffer and
// read it as signed 32-bit integers (one left/right pair each), inspecting the second and fourth
// integer of 16-byte groups while the counter moves by 4. The zero tail, the fixed rate
// constants and the integer divisions are deliberate: they give the player's long-standing
// conservative start (a quarter of the real time, at most 1020 ms) and an end that always lies
// at least 765 ms before the length.
#include "SoundEngine.h"

#include "EngineLog.h"

#include <climits>
#include <cstring>
#include <vector>

using engine_detail::engineLog;

namespace {

constexpr unsigned StartRate = 44100;
constexpr unsigned EndRate = 176400; // 44,100 frames of 4 bytes

using ScanBuffer = std::vector<uint8_t>;

// Magnitude of the pair at `offset` as the player's 32-bit abs() gives it: INT_MIN stays
// negative, so it never counts as sound.
int32_t pairMagnitude(const ScanBuffer& buffer, size_t offset) {
    int32_t value = 0;
    std::memcpy(&value, buffer.data() + offset, sizeof value);
    return value == INT_MIN ? value : (value < 0 ? -value : value);
}

// Fills the buffer's first bytes with decoded data; returns the bytes delivered.
unsigned readStart(audio::Sound* sound, ScanBuffer& buffer, audio::Result* result) {
    unsigned total = 0;
    while (sound != nullptr && total < SoundEngine::MeasureReadBytes) {
        unsigned read = 0;
        *result =
            sound->readData(buffer.data() + total, SoundEngine::MeasureReadBytes - total, &read);
        total += read;
        if (*result != audio::Result::Ok || read == 0) {
            break;
        }
    }
    return total;
}

} // namespace

int SoundEngine::findSoundStart(audio::Sound* sound, int threshold) const {
    ScanBuffer buffer(MeasureBufferBytes, 0);
    audio::Result ignored = audio::Result::Ok;
    const unsigned read = readStart(sound, buffer, &ignored);
    engineLog(0, "read bytes:%i", static_cast<int>(read));

    unsigned counter = 0;
    while (counter < read) {
        if (pairMagnitude(buffer, 4 * counter + 4) > threshold &&
            pairMagnitude(buffer, 4 * counter + 12) > threshold) {
            break;
        }
        counter += 4;
    }
    if (sound != nullptr) {
        sound->release();
    }
    return static_cast<int>(((counter * 1000) / StartRate) / 4);
}

int SoundEngine::findSoundEnd(audio::Sound* sound, int threshold) {
    return measureEnd(sound, threshold, &lastResult);
}

int SoundEngine::measureEnd(audio::Sound* sound, int threshold, audio::Result* result) const {
    unsigned lengthMs = 0;
    if (sound != nullptr) {
        sound->getLength(&lengthMs, audio::TimeUnit::Ms);
    }
    if (lengthMs == audio::UnknownLength) {
        engineLog(0, "Sound is of unlimited length, skipping get real sound end");
        sound->release();
        return -1;
    }

    ScanBuffer buffer(MeasureBufferBytes, 0);
    unsigned lengthPcm = 0;
    if (sound != nullptr) {
        sound->getLength(&lengthPcm, audio::TimeUnit::Pcm);
    }
    // Unsigned on purpose: a song shorter than the read count wraps, the seek fails and is
    // logged, and the scan then sees what the read still delivers.
    *result = sound != nullptr ? sound->seekData(lengthPcm - MeasureReadBytes)
                               : audio::Result::InvalidHandle;
    checkResult(*result, "");
    *result = audio::Result::InvalidHandle;
    const unsigned read = readStart(sound, buffer, result);
    checkResult(*result, "");

    int counter = static_cast<int>(read);
    while (counter > 0 && 4 * counter - 12 >= 0) {
        if (pairMagnitude(buffer, 4 * static_cast<size_t>(counter) - 4) > threshold &&
            pairMagnitude(buffer, 4 * static_cast<size_t>(counter) - 12) > threshold) {
            break;
        }
        counter -= 4;
    }
    if (counter < 0) {
        counter = 0;
    }

    if (sound != nullptr) {
        sound->getLength(&lengthMs, audio::TimeUnit::Ms);
    }
    const unsigned trimmedMs = (read - static_cast<unsigned>(counter)) * 1000u / EndRate;
    // A song shorter than the trimmed stretch (a short or high-rate file) keeps its full length:
    // a negative end would read as a huge length, or as -1, the unknown one.
    const int end = static_cast<int>(trimmedMs > lengthMs ? lengthMs : lengthMs - trimmedMs);
    engineLog(0, "Found end at: %i (%i:%i.%i)", end, (end / 1000) / 60, (end / 1000) % 60,
              end - (end / 1000) * 1000);
    if (sound != nullptr) {
        sound->release();
    }
    return end;
}

namespace {

constexpr audio::Mode MeasurePathMode = audio::Mode::Stream | audio::Mode::OpenOnly;
constexpr audio::Mode MeasureMemoryMode = MeasurePathMode | audio::Mode::OpenMemory;

} // namespace

audio::Sound* SoundEngine::openMeasureSound(const std::string& path, const SongRange& range,
                                            audio::Result* result) const {
    audio::Sound* sound = nullptr;
    audio::CreateSoundInfo info;
    info.rangeStartMs = range.startMs;
    info.rangeEndMs = range.endMs;
    *result = system->createSound(path.c_str(), MeasurePathMode, &info, &sound);
    checkResult(*result, "");
    return sound;
}

audio::Sound* SoundEngine::openMeasureSound(const void* data, const audio::CreateSoundInfo& info,
                                            audio::Result* result) const {
    audio::Sound* sound = nullptr;
    audio::CreateSoundInfo copy = info;
    *result = system->createSound(static_cast<const char*>(data), MeasureMemoryMode, &copy, &sound);
    checkResult(*result, "");
    return sound;
}

int SoundEngine::findSoundStartFromPath(const std::string& path, int threshold,
                                        const SongRange& range) const {
    audio::Result ignored = audio::Result::Ok;
    return findSoundStart(openMeasureSound(path, range, &ignored), threshold);
}

int SoundEngine::findSoundStartFromMemory(const void* data, const audio::CreateSoundInfo& info,
                                          int threshold) const {
    audio::Result ignored = audio::Result::Ok;
    return findSoundStart(openMeasureSound(data, info, &ignored), threshold);
}

int SoundEngine::findSoundEndFromPath(const std::string& path, int threshold,
                                      const SongRange& range) const {
    audio::Result ignored = audio::Result::Ok;
    return measureEnd(openMeasureSound(path, range, &ignored), threshold, &ignored);
}

int SoundEngine::findSoundEndFromMemory(const void* data, const audio::CreateSoundInfo& info,
                                        int threshold) const {
    audio::Result ignored = audio::Result::Ok;
    return measureEnd(openMeasureSound(data, info, &ignored), threshold, &ignored);
}
