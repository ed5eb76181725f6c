#include "OpenMptDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ostream>
#include <streambuf>

namespace audio::openmpt_decoder {

namespace {

constexpr size_t FirstBlockFrames = 1024;

// libopenmpt writes loader warnings to a stream; ours go nowhere.
class NullBuffer final : public std::streambuf {
protected:
    int overflow(int c) override { return c == traits_type::eof() ? 0 : c; }
};

std::ostream& silentLog() {
    static NullBuffer buffer;
    static std::ostream stream(&buffer);
    return stream;
}

SoundType typeOfModule(const std::string& name) {
    if (name == "mod") {
        return SoundType::MOD;
    }
    if (name == "s3m") {
        return SoundType::S3M;
    }
    if (name == "xm") {
        return SoundType::XM;
    }
    if (name == "it") {
        return SoundType::IT;
    }
    return SoundType::OtherModule;
}

} // namespace

size_t probeBytesWanted() {
    return openmpt::probe_file_header_get_recommended_size();
}

bool looksLikeModule(const uint8_t* head, size_t size, uint64_t totalBytes) {
    try {
        return openmpt::probe_file_header(openmpt::probe_file_header_flags_default2, head, size,
                                          totalBytes) == openmpt::probe_file_header_result_success;
    } catch (const std::exception&) {
        return false;
    }
}

Result openOpenMptDecoder(const std::vector<uint8_t>& data, std::unique_ptr<Decoder>* out) {
    std::unique_ptr<openmpt::module> module;
    try {
        module = std::make_unique<openmpt::module>(data, silentLog());
    } catch (const std::bad_alloc&) {
        return Result::OutOfMemory;
    } catch (const std::exception&) {
        return Result::FormatUnsupported;
    }
    auto decoder = std::make_unique<OpenMptDecoder>(std::move(module), data.size());
    if (!decoder->renderFirstFrames()) {
        return Result::FormatCorrupt;
    }
    *out = std::move(decoder);
    return Result::Ok;
}

OpenMptDecoder::OpenMptDecoder(std::unique_ptr<openmpt::module> module, uint64_t rawBytes)
    : module_(std::move(module)), rawBytes_(rawBytes) {
    type_ = typeOfModule(module_->get_metadata("type"));
    subsongs_ = std::max(1, static_cast<int>(module_->get_num_subsongs()));
    // Without a choice libopenmpt would play from the start of the order list, which may
    // run through several subsongs; we always play exactly one.
    module_->select_subsong(0);
    updateLength();
}

void OpenMptDecoder::updateLength() {
    const double seconds = module_->get_duration_seconds();
    lengthFrames_ =
        seconds > 0 ? static_cast<uint64_t>(std::llround(seconds * ModuleSampleRate)) : 0;
}

int64_t OpenMptDecoder::bitRate() const {
    if (lengthFrames_ == 0) {
        return 0;
    }
    return static_cast<int64_t>(static_cast<double>(rawBytes_) * 8.0 * ModuleSampleRate /
                                static_cast<double>(lengthFrames_));
}

size_t OpenMptDecoder::render(float* out, size_t frames) {
    try {
        return module_->read_interleaved_stereo(ModuleSampleRate, frames, out);
    } catch (const std::exception&) {
        return 0;
    }
}

bool OpenMptDecoder::renderFirstFrames() {
    pending_.resize(FirstBlockFrames * 2);
    const size_t got = render(pending_.data(), FirstBlockFrames);
    pending_.resize(got * 2);
    pendingOffset_ = 0;
    return got > 0;
}

size_t OpenMptDecoder::read(float* out, size_t frames) {
    const size_t fromPending = std::min(frames, pending_.size() / 2 - pendingOffset_);
    if (fromPending > 0) {
        std::memcpy(out, pending_.data() + 2 * pendingOffset_, fromPending * 2 * sizeof(float));
        pendingOffset_ += fromPending;
    }
    size_t written = fromPending;
    // read_interleaved_stereo may return fewer frames than asked before the end.
    while (written < frames) {
        const size_t got = render(out + 2 * written, frames - written);
        if (got == 0) {
            break;
        }
        written += got;
    }
    return written;
}

Result OpenMptDecoder::selectSubsong(int index) {
    if (index < 0 || index >= subsongs_) {
        return Result::InvalidParameter;
    }
    try {
        module_->select_subsong(index);
    } catch (const std::exception&) {
        return Result::InvalidParameter;
    }
    pending_.clear();
    pendingOffset_ = 0;
    updateLength();
    return Result::Ok;
}

Result OpenMptDecoder::seek(uint64_t frame) {
    if (frame > lengthFrames_) {
        return Result::SeekFailed;
    }
    pending_.clear();
    pendingOffset_ = 0;
    double reached = 0;
    try {
        if (frame == 0) {
            // Selecting the subsong again restarts it exactly as after opening.
            module_->select_subsong(module_->get_selected_subsong());
        } else {
            // libopenmpt seeks to the start of a row, which may lie after the target: step back
            // until it lands at or before it, then render and drop the rest of the way.
            const double target = static_cast<double>(frame) / ModuleSampleRate;
            double ask = target;
            reached = module_->set_position_seconds(ask);
            while (reached > target && ask > 0) {
                ask = std::max(0.0, ask - 0.5);
                reached = module_->set_position_seconds(ask);
            }
        }
    } catch (const std::exception&) {
        return Result::SeekFailed;
    }
    auto position = static_cast<uint64_t>(std::max(0.0, std::floor(reached * ModuleSampleRate)));
    std::vector<float> scratch(2 * 4096);
    while (position < frame) {
        const size_t want = std::min<uint64_t>(4096, frame - position);
        const size_t got = render(scratch.data(), want);
        if (got == 0) {
            break;
        }
        position += got;
    }
    return Result::Ok;
}

} // namespace audio::openmpt_decoder
