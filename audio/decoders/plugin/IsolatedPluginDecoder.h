#pragma once
// Decodes with a codec plug-in in a separate process, for the formats whose plug-in says (probe
// result 2) that its library may crash or hang on a damaged file: tamberlo-codec-host loads the
// plug-in, decodes the file and writes the frames into a pipe (CodecHostProtocol.h), so a crash
// or an endless loop ends that process and never the player. A seek or a subsong change starts
// a new host at the new position (the plug-ins seek by decoding and discarding anyway, so this
// costs about what an in-process seek costs, plus a process start). POSIX only.
//
// Threading: see Decoder.h (one thread at a time). read() blocks that thread on the pipe (at
// most stallTimeout without data), so it runs on a sound's feeder worker, never in the
// real-time callback.

#ifndef _WIN32

#include "Decoder.h"
#include "LoadedPlugin.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace audio {

class PipedChild;
class PrivateTempFile;

struct IsolationLimits {
    // From starting a host until it has opened the file, reached the position and sent its
    // first frame; a host that takes longer is killed and the open (or seek) fails.
    std::chrono::milliseconds startTimeout{5000};
    // Longest wait for more frames once playing; a host that stalls longer is killed and the
    // data ends with FormatCorrupt.
    std::chrono::milliseconds stallTimeout{2000};
};

// The host program for `plugin`: tamberlo-codec-host in the folder above the plug-in's folder
// (the application folder, as plug-ins live in its plugin/).
std::string codecHostPath(const LoadedPlugin& plugin);

// Opens the file `path` (when `memory` is null) or `memory` (copied to a private temporary file
// for the host) with `plugin`, which has claimed it with probe result 2. Accepted only when the
// host reports sane info and sends a first frame within limits.startTimeout. Returns Ok with
// *out set; FormatUnsupported when there is no host program or the plug-in refuses the data;
// FileUnreadable when a memory block cannot be copied; FormatCorrupt when the host crashes,
// hangs or sends nonsense.
Result openIsolatedPluginDecoder(const LoadedPlugin& plugin, const std::string& path,
                                 std::shared_ptr<const std::vector<uint8_t>> memory,
                                 uint64_t rawBytes, const IsolationLimits& limits,
                                 std::unique_ptr<Decoder>* out);

class IsolatedPluginDecoder final : public Decoder {
public:
    struct Source {
        std::string hostPath;                  // absolute
        std::string pluginPath;                // absolute
        std::string filePath;                  // absolute
        std::unique_ptr<PrivateTempFile> copy; // the file when it is a copy of a memory block
        uint64_t rawBytes = 0;
        bool canSeek = false;          // the plug-in has a seek operation
        bool canSelectSubsong = false; // the plug-in has a select_subsong operation
    };
    IsolatedPluginDecoder(Source source, const IsolationLimits& limits);
    ~IsolatedPluginDecoder() override;
    IsolatedPluginDecoder(const IsolatedPluginDecoder&) = delete;
    IsolatedPluginDecoder& operator=(const IsolatedPluginDecoder&) = delete;

    // Starts the first host (subsong 0, frame 0) and waits for its info and first frame.
    Result start();

    int sampleRate() const override { return sampleRate_; }
    SoundType type() const override { return SoundType::User; }
    std::string formatName() const override { return formatName_; }
    uint64_t lengthFrames() const override { return lengthFrames_; }
    uint64_t lengthRawBytes() const override { return source_.rawBytes; }
    int64_t bitRate() const override { return 0; }
    int subsongCount() const override { return subsongCount_; }
    Result selectSubsong(int index) override;
    size_t read(float* out, size_t frames) override;
    Result seek(uint64_t frame) override;
    Result lastError() const override { return error_; }

private:
    // A running host and what it said about itself.
    struct Host;
    // Starts a host at (subsong, frame) and waits for its header and first frame. The current
    // host keeps running until the new one is ready, so a failed seek changes nothing.
    Result restart(int subsong, uint64_t frame);
    // Reads more of the host's output into pending_; false when the data ended (end_ set).
    bool fill();
    // Ends the data: reaps the host and records why.
    void endData(Result error);

    Source source_;
    IsolationLimits limits_;
    std::unique_ptr<Host> host_;
    int sampleRate_ = 0;
    int channels_ = 2;
    uint64_t lengthFrames_ = UnknownFrames;
    int subsongCount_ = 1;
    std::string formatName_;
    int subsong_ = 0;
    uint64_t position_ = 0; // frame of the subsong that the next read starts with
    bool ended_ = false;
    Result error_ = Result::Ok;
};

} // namespace audio

#endif
