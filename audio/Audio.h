#pragma once
// The public interface of the sound library: System, Sound, Channel, ChannelGroup and Dsp.
// It knows nothing of Qt. Every operation answers with a Result (see Result.h).
//
// Threading: one thread (the GUI thread) owns a System and everything made from it and makes
// every call below; none of them is thread-safe against another call on the same System, with
// one exception: one other thread (a song loader) may call createSound while the owner uses the
// System, and may call readData, seekData, getLength, getType, getFormatName and release on the
// sounds it made as long as they do not play; it hands a sound over to the owner before the
// owner plays it. init, close and release of the System must not overlap such a createSound.
// The library runs its own threads internally: the output's real-time callback (mixing only)
// and one decode worker per playing channel. With the `offline` output there is no output
// thread and the caller drives the mixer through System::mix. errorString and parseOutputSpec
// may be called from any thread.

#include "Result.h"
#include "SoundType.h"
#include "StreamStatus.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace audio {

class Sound;
class Dsp;
class ChannelGroup;
class PluginRegistry;
namespace detail {
class ChannelPool;
class SystemCore;
} // namespace detail

// How createSound opens a source. Combine with |.
enum class Mode : unsigned {
    Default = 0,            // same as Sample
    Stream = 1u << 0,       // decoded while playing, by a worker thread
    Sample = 1u << 1,       // decoded whole at creation (up to 30 minutes; a source of unknown
                            // length, such as a live stream, is streamed instead)
    AccurateTime = 1u << 2, // exact length and sample-accurate seeking (scans VBR files at open)
    OpenOnly = 1u << 3,     // only opened: for readData/seekData on the caller's thread
    OpenMemory = 1u << 4,   // the first argument is a memory block of CreateSoundInfo::length
};
constexpr Mode operator|(Mode a, Mode b) {
    return static_cast<Mode>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool hasMode(Mode set, Mode flag) {
    return (static_cast<unsigned>(set) & static_cast<unsigned>(flag)) != 0;
}

enum class TimeUnit {
    Ms,           // milliseconds
    Pcm,          // frames at the sound's own rate
    RawBytes,     // encoded bytes (for positions: estimated from the bit rate)
    SubsongCount, // Sound::getLength: number of subsongs; Channel::setPosition: subsong index
};

// Returned by getLength when the length is not known (live streams).
inline constexpr unsigned UnknownLength = 0xFFFFFFFFu;

enum class SpeakerMode { Stereo };
enum class DspType { Reverb, Normalize };

enum class OutputKind {
    Auto,    // TAMBERLO_OUTPUT from the environment when set, else Sdl
    Sdl,     // the sound device through SDL2; falls back to Null when it cannot be opened
    Null,    // no device: a thread mixes at real-time pace and discards the sound
    Offline, // no thread: the caller renders with System::mix
    Wav,     // like Null, but writes what it mixes to wavPath (16-bit stereo WAV)
};

struct OutputSpec {
    OutputKind kind = OutputKind::Auto;
    std::string wavPath;     // for Wav
    int sampleRate = 44100;  // mixer output rate in Hz, 8000..192000
    int bufferFrames = 1024; // frames per real-time callback, 64..16384
};

// Parses "sdl", "null", "offline" or "wav:PATH" (the text of --output or TAMBERLO_OUTPUT) into
// outputSpec->kind and outputSpec->wavPath, leaving the other fields. Returns Ok or
// InvalidParameter.
Result parseOutputSpec(const std::string& text, OutputSpec* outputSpec);

// What init actually opened: `fallbackReason` is Ok unless the requested device could not be
// opened and the Null output runs instead (then OutputInitFailed, `detail` says why).
struct OutputInfo {
    OutputKind kind = OutputKind::Null;
    int sampleRate = 0;
    int bufferFrames = 0;
    Result fallbackReason = Result::Ok;
    std::string detail;
};

struct CreateSoundInfo {
    size_t length = 0; // OpenMemory: the block's size in bytes (the block is copied; see `block`)
    // OpenMemory: when set (and not empty), the sound reads this block, shared and never copied,
    // and the first argument and `length` are not used. A large block is opened at no cost, and
    // it is freed with the last sound (or caller) holding it, on that thread.
    std::shared_ptr<const std::vector<uint8_t>> block;
    int connectTimeoutMs = 5000; // URLs: connect and first answer, 1..600000
    int readTimeoutMs = 5000;    // URLs: longest wait for more data while playing
    // Only this part of the source plays, as a sound of its own (a CUE sheet's track): ms from
    // the source's start. Position 0 is rangeStartMs, the length is the range's, reads end at
    // rangeEndMs and seeks stay within it. rangeEndMs 0: to the source's end; otherwise it must
    // be above rangeStartMs (else InvalidParameter). Both 0 (default): the whole source.
    unsigned rangeStartMs = 0;
    unsigned rangeEndMs = 0;
    // Set: the open gives up (some failure result) soon after it turns true, so another thread
    // can abandon a slow connect. The sound made keeps a reference; null: never cancelled.
    std::shared_ptr<const std::atomic<bool>> cancel;
};

// A handle to one playing sound. Copyable and cheap; it goes stale when the channel is stopped,
// finishes, or its sound is released: every call on a stale or default-constructed handle
// returns InvalidHandle and changes nothing.
class Channel {
public:
    Channel() = default;

    Result setPaused(bool paused);
    Result getPaused(bool* paused) const;
    Result stop();
    // Ok with *playing = true while the channel exists (paused or not). A stale handle gives
    // InvalidHandle and *playing = false.
    Result isPlaying(bool* playing) const;
    // Ms and Pcm count source frames consumed by the mixer (exact); RawBytes is estimated from
    // the decoder's bit rate. Subsong is not a position unit for get (InvalidParameter).
    Result getPosition(unsigned* position, TimeUnit unit) const;
    // Ms or Pcm: sample-accurate seek within the current subsong (SeekFailed past the end,
    // Unsupported for live streams). SubsongCount: switch to subsong `position` from its start.
    Result setPosition(unsigned position, TimeUnit unit);
    // Playback rate in Hz; the sound's own rate plays at normal speed, twice that plays twice as
    // fast and an octave higher. Clamped to MaxSpeed times the output rate; <= 0 is invalid.
    Result setFrequency(float hz);
    Result getFrequency(float* hz) const;
    // Balance -1 (left only) .. 0 (both at full level) .. 1 (right only); clamped.
    Result setPan(float pan);
    Result getPan(float* pan) const;
    // Copies this channel's most recent `count` output values (after pan, before the DSP chain
    // and master volume) of side `side` (0 left, 1 right), oldest first. count 1..16384.
    Result getWaveData(float* out, int count, int side) const;

    // Highest playback rate as a multiple of the output rate.
    static constexpr double MaxSpeed = 8.0;
    static constexpr int MaxWaveData = 16384;

private:
    friend class System;
    friend class Sound;
    friend class detail::SystemCore;
    Channel(std::weak_ptr<detail::ChannelPool> pool, uint32_t index, uint32_t generation)
        : pool_(std::move(pool)), index_(index), generation_(generation) {}

    std::weak_ptr<detail::ChannelPool> pool_;
    uint32_t index_ = 0;
    uint32_t generation_ = 0;
};

// The sum of all channels; only its volume is adjustable.
class ChannelGroup {
public:
    // 0 silent .. 1 full (the default); clamped.
    Result setVolume(float volume);
    Result getVolume(float* volume) const;

private:
    friend class detail::SystemCore;
    explicit ChannelGroup(detail::SystemCore* core) : core_(core) {}
    detail::SystemCore* core_;
};

// An effect unit in the master chain. Created by System::createDsp, owned by the System.
// Starts bypassed = false; parameters start at the defaults below.
class Dsp {
public:
    // Reverb: 0 room size (0.5), 1 damping (0.5), 2 wet mix (0.33), 3 dry mix (0.66),
    //         4 width (1.0); each 0..1.
    // Normalize: 0 fade time in ms (5000, 0..20000), 1 threshold (0.1, 0..1),
    //         2 maximum amplification (20, 1..100000).
    // Values are clamped to the range; an unknown index gives InvalidParameter.
    Result setParameter(int index, float value);
    Result getParameter(int index, float* value) const;
    // A bypassed unit is skipped: it costs nothing and leaves its input untouched.
    Result setBypass(bool bypass);
    Result getBypass(bool* bypass) const;

    ~Dsp();
    Dsp(const Dsp&) = delete;
    Dsp& operator=(const Dsp&) = delete;

    class Unit; // the processing behind it (internal)
    Unit& unit() { return *unit_; }

private:
    friend class System;
    explicit Dsp(std::unique_ptr<Unit> unit);
    std::unique_ptr<Unit> unit_;
};

class System {
public:
    // Makes a System that is not yet initialised. Returns Ok or OutOfMemory.
    static Result create(System** out);
    // Closes (if needed) and deletes the System; every Sound, Dsp and Channel made from it is
    // gone afterwards (Channel handles then answer InvalidHandle).
    Result release();

    // Loads a codec plug-in (relative paths from the current directory). Returns Ok,
    // PluginMissing or PluginInvalid. Call before creating sounds.
    Result loadPlugin(const std::string& path);
    // Speaker mode of driver 0 (the only driver): always stereo.
    Result getSpeakerMode(int driver, SpeakerMode* mode) const;
    // Opens the output and reserves all mixer memory for `maxChannels` channels (1..256).
    // An Sdl output that cannot be opened falls back to Null (see getOutputInfo) and init
    // still returns Ok. Returns InvalidParameter, NotReady (already initialised), OutputInitFailed
    // (a Wav file that cannot be written).
    Result init(int maxChannels, const OutputSpec& output = {});
    Result getOutputInfo(OutputInfo* info) const;
    // Stops every channel and the output, releases every sound. The System may be init again.
    Result close();
    // Periodic housekeeping (reclaims finished channels). Call a few times a second.
    Result update();

    Result getMasterChannelGroup(ChannelGroup** group);
    Result createDsp(DspType type, Dsp** dsp);
    // Appends the unit to the master chain (units run in the order added). Adding the same unit
    // twice gives InvalidParameter; at most 8 units.
    Result addDsp(Dsp* dsp);

    // Opens a path, an http(s) URL or (OpenMemory) a memory block of info->length bytes. See Mode.
    // Returns Ok with *sound set, or the decoder's failure (FileNotFound, FormatUnsupported, ...),
    // NotReady before init, InvalidParameter for contradictory modes or a missing length.
    Result createSound(const char* pathOrData, Mode mode, const CreateSoundInfo* info,
                       Sound** sound);
    // Plays `sound` on a free channel, from its start. A stream plays on one channel at a time:
    // playing it again stops its earlier channel. Returns Ok, NoFreeChannel, InvalidHandle.
    Result playSound(Sound* sound, bool paused, Channel* channel);
    // Queues `next` on a free channel that starts, from its start, at the output frame right
    // after `current`'s last frame, within the same mixer callback: no gap and no overlap, each
    // channel resampled to the output rate on its own when the rates differ. Until then the
    // new channel is playing (isPlaying true), unpaused, at position 0; it reports its own
    // position from its start and takes setPaused, setFrequency, setPan and setPosition like any
    // channel. Stopping `current` before its end stops the queued channel too; once started it
    // is a channel of its own. A channel that is paused or stopped never reaches its end, so
    // its successor does not start (a paused one hands over once it plays on to its end).
    // Returns Ok, NoFreeChannel, InvalidHandle (a stale
    // `current` or unknown sound), InvalidParameter (`current` already has a queued channel, or
    // `next` is the stream `current` plays), NotReady before init.
    Result playSoundAfter(Sound* next, Channel current, Channel* channel);

    // Offline output only: renders `frames` frames of interleaved stereo float into `out`
    // (2 * frames floats) synchronously, decoding on this thread as needed. NotReady otherwise.
    Result mix(size_t frames, float* out);
    // Number of real-time callbacks in which a playing channel had no decoded data ready.
    uint64_t underrunCount() const;
    // Cost of the real-time mixing so far: median and 99th percentile of the time spent per
    // callback as a share of the buffer period (0..1+), for benchmarks. Zero when unmeasured.
    void getCallbackLoad(double* median, double* p99) const;
    // When the first real-time callback whose mix was not silent started, as
    // std::chrono::steady_clock ticks since its epoch (start-up measurements); 0 before that,
    // and always 0 on the offline output.
    int64_t firstSoundTime() const;

    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    detail::SystemCore& core() { return *core_; } // internal

private:
    System();
    std::unique_ptr<detail::SystemCore> core_;
};

// A source opened by System::createSound. Owned by the caller until release().
class Sound {
public:
    // Ms and Pcm (UnknownLength for live streams), RawBytes (encoded size), SubsongCount.
    Result getLength(unsigned* length, TimeUnit unit) const;
    Result getType(SoundType* type) const;
    // The display name a codec plug-in gives the sound's format (type User); empty otherwise.
    Result getFormatName(std::string* name) const;
    // The sound's own sample rate in Hz.
    Result getDefaultFrequency(float* hz) const;
    // Reads decoded audio as 16-bit signed stereo interleaved at the sound's own rate (mono is
    // duplicated): up to `bytes` bytes (rounded down to whole frames) into `buffer`. *read gets
    // the bytes delivered. Returns Ok while data came, FileEndOfData when none is left,
    // Unsupported while the sound is playing on a channel.
    Result readData(void* buffer, unsigned bytes, unsigned* read);
    // Positions the next readData at `frame` (sound's own rate). SeekFailed past the end.
    Result seekData(unsigned frame);
    // For an http(s) stream: the title the server announces and whether it is reconnecting
    // after a drop (see StreamStatus.h); an empty status for other sounds. Never waits for the
    // decoder, so it is cheap enough for a display's periodic tick. Ok or InvalidParameter.
    Result getStreamStatus(StreamStatus* status) const;
    // Stops the channels playing this sound and deletes it. A stream's network waits (a
    // reconnect's back-off, a read blocked on the server) end at once.
    Result release();

    class Impl; // internal
    Impl& impl() { return *impl_; }
    ~Sound();
    Sound(const Sound&) = delete;
    Sound& operator=(const Sound&) = delete;

private:
    friend class System;
    friend class detail::SystemCore;
    explicit Sound(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

} // namespace audio
