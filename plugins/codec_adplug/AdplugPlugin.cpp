// The plug-in for AdLib music through libadplug (see AdplugProbe.h for the formats claimed).
#include "AdplugCodec.h"
#include "AdplugProbe.h"
#include "CodecPlugin.h"
#include "HscCheck.h"

#include <algorithm>

namespace {

// Bytes the player hands probe at most.
constexpr size_t ProbeBytes = 4096;

std::string_view baseName(std::string_view path) {
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

struct AdplugPlugin {
    static constexpr const char* Name = "adplug";
    // The largest AdLib songs are register captures of a few MiB.
    static constexpr size_t MaxFileBytes = size_t{32} << 20;

    static tamberlo_codec::Claim probe(std::span<const uint8_t> head, std::string_view fileName) {
        // A head shorter than the probe size is the whole file, so its size is known.
        const size_t fileSize = head.size() < ProbeBytes ? head.size() : 0;
        if (!adplug_codec::formatExtension(head, fileName, fileSize).empty()) {
            return tamberlo_codec::Claim::Yes;
        }
        return adplug_codec::isolatedExtension(head).empty() ? tamberlo_codec::Claim::No
                                                             : tamberlo_codec::Claim::Isolated;
    }

    static std::unique_ptr<tamberlo_codec::Codec> open(std::span<const uint8_t> data,
                                                       const char* pathOrNull) {
        const std::string_view name = pathOrNull != nullptr ? baseName(pathOrNull) : "";
        const auto head = data.first(std::min(data.size(), ProbeBytes));
        std::string_view extension = adplug_codec::formatExtension(head, name, data.size());
        // A memory block comes without its name; the player opens it only after probe claimed
        // it, which for data without magic means the name said HSC or IMF. HSC's exact size and
        // value rules are far stricter than IMF's, so they decide first.
        if (extension.empty() && pathOrNull == nullptr) {
            if (adplug_codec::isPlayableHsc(data, data.size())) {
                extension = ".hsc";
            } else if (adplug_codec::looksLikeImf(head, data.size())) {
                extension = ".imf";
            }
        }
        // Opened here only inside the separate process the probe asked for.
        if (extension.empty()) {
            extension = adplug_codec::isolatedExtension(head);
        }
        if (extension.empty() || !adplug_codec::wholeFileIsPlayable(extension, data)) {
            return nullptr;
        }
        return adplug_codec::AdplugCodec::load(data, extension);
    }
};

} // namespace

TAMBERLO_CODEC_PLUGIN(AdplugPlugin)
