// System calls that open sources or load plug-ins through the decoders.
#include "PluginRegistry.h"
#include "SystemCore.h"

#include <cstring>
#include <vector>

namespace audio {

Result System::loadPlugin(const std::string& path) {
    return core_->plugins().load(path);
}

Result System::createSound(const char* pathOrData, Mode mode, const CreateSoundInfo* info,
                           Sound** sound) {
    if (sound == nullptr) {
        return Result::InvalidParameter;
    }
    *sound = nullptr;
    if (!core_->initialised()) {
        return Result::NotReady;
    }
    const bool sharedBlock =
        hasMode(mode, Mode::OpenMemory) && info != nullptr && info->block && !info->block->empty();
    if ((pathOrData == nullptr && !sharedBlock) ||
        (hasMode(mode, Mode::Stream) && hasMode(mode, Mode::Sample))) {
        return Result::InvalidParameter;
    }
    DecoderSource source;
    source.accurateTime = hasMode(mode, Mode::AccurateTime);
    if (info != nullptr) {
        if (info->connectTimeoutMs < 1 || info->connectTimeoutMs > 600000 ||
            info->readTimeoutMs < 1 || info->readTimeoutMs > 600000) {
            return Result::InvalidParameter;
        }
        source.network.connectTimeoutMs = info->connectTimeoutMs;
        source.network.readTimeoutMs = info->readTimeoutMs;
        source.rangeStartMs = info->rangeStartMs;
        source.rangeEndMs = info->rangeEndMs;
        source.cancel = info->cancel;
    }
    if (sharedBlock) {
        source.memory = info->block;
        source.path = "memory";
    } else if (hasMode(mode, Mode::OpenMemory)) {
        if (info == nullptr || info->length == 0) {
            return Result::InvalidParameter;
        }
        // Our own copy: the caller may free its block as soon as this returns (info->block
        // avoids it).
        const auto* bytes = reinterpret_cast<const uint8_t*>(pathOrData);
        source.memory = std::make_shared<const std::vector<uint8_t>>(bytes, bytes + info->length);
        source.path = "memory";
    } else {
        source.path = pathOrData;
    }
    std::unique_ptr<Decoder> decoder;
    const Result opened = openDecoder(source, &core_->plugins(), &decoder);
    if (opened != Result::Ok) {
        return opened;
    }
    return core_->createSound(std::move(decoder), mode, sound);
}

} // namespace audio
