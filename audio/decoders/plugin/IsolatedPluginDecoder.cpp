#ifndef _WIN32

#include "IsolatedPluginDecoder.h"

#include "CodecHostProtocol.h"
#include "PipedChild.h"
#include "PrivateTempFile.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace audio {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t MaxSampleRate = 768000;
// Bytes taken from the pipe per read: the pipe's usual capacity.
constexpr size_t ReadChunkBytes = 64 * 1024;

std::string absolutePath(const std::string& path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.string();
}

// What a host's exit status before its header says about the request.
Result failureOf(std::optional<int> exitStatus) {
    if (!exitStatus) {
        return Result::FormatCorrupt; // crashed, or hung and was killed
    }
    switch (*exitStatus) {
    case codec_host::ExitPluginUnusable:
    case codec_host::ExitOpenFailed:
        return Result::FormatUnsupported;
    case codec_host::ExitSubsongFailed:
        return Result::InvalidParameter;
    case codec_host::ExitSeekFailed:
        return Result::SeekFailed;
    default:
        return Result::FormatCorrupt;
    }
}

bool isSane(const codec_host::Header& header) {
    return std::memcmp(header.magic, codec_host::Magic, sizeof header.magic) == 0 &&
           header.sampleRate >= 1 && header.sampleRate <= MaxSampleRate &&
           (header.channels == 1 || header.channels == 2) && header.subsongCount >= 1;
}

} // namespace

struct IsolatedPluginDecoder::Host {
    std::unique_ptr<PipedChild> child;
    codec_host::Header header{};
    std::vector<uint8_t> pending; // read from the pipe, not yet delivered
    size_t consumed = 0;          // bytes of `pending` already delivered

    size_t available() const { return pending.size() - consumed; }
    size_t frameBytes() const { return sizeof(float) * static_cast<size_t>(header.channels); }

    // Appends what the pipe has within `timeout`. Compacts first, so `pending` stays small.
    PipedChild::ReadStatus readMore(std::chrono::milliseconds timeout) {
        pending.erase(pending.begin(), pending.begin() + static_cast<long>(consumed));
        consumed = 0;
        const size_t had = pending.size();
        pending.resize(had + ReadChunkBytes);
        size_t got = 0;
        const auto status = child->read(pending.data() + had, ReadChunkBytes, timeout, &got);
        pending.resize(had + got);
        return status;
    }
};

std::string codecHostPath(const LoadedPlugin& plugin) {
    const auto pluginFolder = std::filesystem::path(absolutePath(plugin.path())).parent_path();
    return (pluginFolder.parent_path() / "tamberlo-codec-host").string();
}

Result openIsolatedPluginDecoder(const LoadedPlugin& plugin, const std::string& path,
                                 std::shared_ptr<const std::vector<uint8_t>> memory,
                                 uint64_t rawBytes, const IsolationLimits& limits,
                                 std::unique_ptr<Decoder>* out) {
    IsolatedPluginDecoder::Source source;
    source.hostPath = codecHostPath(plugin);
    if (access(source.hostPath.c_str(), X_OK) != 0) {
        return Result::FormatUnsupported;
    }
    source.pluginPath = absolutePath(plugin.path());
    if (memory) {
        source.copy = PrivateTempFile::write(*memory);
        if (!source.copy) {
            return Result::FileUnreadable;
        }
        source.filePath = source.copy->path();
    } else {
        source.filePath = absolutePath(path);
    }
    source.rawBytes = rawBytes;
    source.canSeek = plugin.table().seek != nullptr;
    source.canSelectSubsong = plugin.table().select_subsong != nullptr;
    auto decoder = std::make_unique<IsolatedPluginDecoder>(std::move(source), limits);
    const Result started = decoder->start();
    if (started != Result::Ok) {
        return started;
    }
    *out = std::move(decoder);
    return Result::Ok;
}

IsolatedPluginDecoder::IsolatedPluginDecoder(Source source, const IsolationLimits& limits)
    : source_(std::move(source)), limits_(limits) {}

IsolatedPluginDecoder::~IsolatedPluginDecoder() = default;

Result IsolatedPluginDecoder::start() {
    const Result started = restart(0, 0);
    if (started != Result::Ok) {
        return started == Result::FormatUnsupported ? started : Result::FormatCorrupt;
    }
    // The first frame must come within the same time as the header: a plug-in that opens a
    // file but cannot decode it is refused like one that cannot open it.
    const auto deadline = Clock::now() + limits_.startTimeout;
    while (host_->available() < host_->frameBytes()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::max(deadline - Clock::now(), Clock::duration::zero()));
        if (host_->readMore(left) != PipedChild::ReadStatus::Data) {
            host_.reset(); // kills and reaps it
            return Result::FormatCorrupt;
        }
    }
    return Result::Ok;
}

Result IsolatedPluginDecoder::restart(int subsong, uint64_t frame) {
    auto host = std::make_unique<Host>();
    host->child = PipedChild::start({source_.hostPath, source_.pluginPath, source_.filePath,
                                     std::to_string(subsong), std::to_string(frame)});
    if (!host->child) {
        return Result::FormatUnsupported;
    }
    const auto deadline = Clock::now() + limits_.startTimeout;
    if (!host->child->readExactly(&host->header, sizeof host->header, deadline)) {
        // Ended early (its exit status says why) or too slow (killed now).
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::max(deadline - Clock::now(), Clock::duration::zero()));
        return failureOf(host->child->finish(left));
    }
    if (!isSane(host->header)) {
        return Result::FormatCorrupt;
    }
    const auto& header = host->header;
    sampleRate_ = header.sampleRate;
    channels_ = header.channels;
    lengthFrames_ = header.lengthFrames;
    subsongCount_ = header.subsongCount;
    formatName_.assign(header.formatName, strnlen(header.formatName, sizeof header.formatName));
    host_ = std::move(host); // the previous host, if any, is killed and reaped here
    subsong_ = subsong;
    position_ = frame;
    ended_ = false;
    error_ = Result::Ok;
    return Result::Ok;
}

bool IsolatedPluginDecoder::fill() {
    switch (host_->readMore(limits_.stallTimeout)) {
    case PipedChild::ReadStatus::Data:
        return true;
    case PipedChild::ReadStatus::End: {
        // The host closes its output when it exits; give it the stall time to do so.
        const auto status = host_->child->finish(limits_.stallTimeout);
        endData(status == 0 ? Result::Ok : Result::FormatCorrupt);
        return false;
    }
    case PipedChild::ReadStatus::TimedOut:
    case PipedChild::ReadStatus::Failed:
        break;
    }
    endData(Result::FormatCorrupt); // stalled: the host is killed
    return false;
}

void IsolatedPluginDecoder::endData(Result error) {
    host_.reset();
    ended_ = true;
    error_ = error;
}

size_t IsolatedPluginDecoder::read(float* out, size_t frames) {
    size_t written = 0;
    while (written < frames && !ended_ && host_) {
        const size_t frameBytes = host_->frameBytes();
        if (host_->available() < frameBytes) {
            if (!fill()) {
                break;
            }
            continue;
        }
        const size_t count = std::min(frames - written, host_->available() / frameBytes);
        const uint8_t* from = host_->pending.data() + host_->consumed;
        if (channels_ == 2) {
            std::memcpy(out + 2 * written, from, count * frameBytes);
        } else {
            for (size_t i = 0; i < count; ++i) {
                float sample = 0;
                std::memcpy(&sample, from + i * sizeof sample, sizeof sample);
                out[2 * (written + i)] = sample;
                out[2 * (written + i) + 1] = sample;
            }
        }
        host_->consumed += count * frameBytes;
        written += count;
    }
    position_ += written;
    return written;
}

Result IsolatedPluginDecoder::seek(uint64_t frame) {
    if (!source_.canSeek) {
        return Result::Unsupported;
    }
    if (lengthFrames_ != UnknownFrames && frame > lengthFrames_) {
        return Result::SeekFailed;
    }
    if (frame == position_ && host_ && !ended_) {
        return Result::Ok; // already there
    }
    return restart(subsong_, frame) == Result::Ok ? Result::Ok : Result::SeekFailed;
}

Result IsolatedPluginDecoder::selectSubsong(int index) {
    if (index < 0 || index >= subsongCount_) {
        return Result::InvalidParameter;
    }
    if (!source_.canSelectSubsong && index != 0) {
        return Result::Unsupported;
    }
    const Result started = restart(index, 0);
    if (started == Result::Ok || started == Result::InvalidParameter) {
        return started;
    }
    return Result::FormatCorrupt;
}

} // namespace audio

#endif
