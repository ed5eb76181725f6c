#pragma once
// One song loaded by libmodplug, rendered as 44100 Hz stereo float.
//
// Threading: libmodplug mixes through process-wide settings and buffers, so every call into it,
// from any ModPlugSong, is serialised by one lock; a ModPlugSong itself is used by one thread at
// a time.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct _ModPlugFile;

namespace libmod_codec {

class ModPlugSong {
public:
    static constexpr int Rate = 44100; // Hz; output is always stereo

    // Loads `data` (the song keeps it while libmodplug plays it); null when libmodplug does not
    // recognise it.
    static std::unique_ptr<ModPlugSong> load(std::vector<uint8_t> data);

    // The module type libmodplug reports (its MOD_TYPE_... bits).
    int moduleType() const { return type_; }
    // The song's length in frames by libmodplug's play-through, 0 when it does not know.
    uint64_t lengthFrames() const { return length_; }

    // Renders up to `frames` stereo frames (at most a few thousand per call) into `out`;
    // returns the frames written, 0 at the end.
    size_t render(float* out, size_t frames);
    // Back to the start, which renders exactly as the first time (libmodplug's seek to other
    // positions lands only near them, so exact seeks render from the start).
    void rewind();

private:
    struct Unloader {
        void operator()(_ModPlugFile* file) const;
    };
    using FileHandle = std::unique_ptr<_ModPlugFile, Unloader>;

    ModPlugSong(std::vector<uint8_t> data, FileHandle file);

    std::vector<uint8_t> data_;
    FileHandle file_;
    int type_ = 0;
    uint64_t length_ = 0;
    std::vector<int32_t> mix_;
};

} // namespace libmod_codec
