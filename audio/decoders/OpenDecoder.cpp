// openDecoder: tries the decoders in a fixed order and keeps the first that accepts the source.
#include "Decoder.h"
#include "FfmpegModule.h"
#include "PluginRegistry.h"
#include "RangeDecoder.h"
#include "SourceLocation.h"
#include "mpg123/Mpg123Decoder.h"
#include "openmpt/OpenMptDecoder.h"
#include "plugin/IsolatedPluginDecoder.h"
#include "plugin/LoadedPlugin.h"
#include "plugin/PluginDecoder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace audio {

namespace {

// Leading bytes handed to the content probes (plug-ins and libopenmpt).
constexpr size_t PluginProbeBytes = 4096;
// Probe answers (TamberloCodec.h): decode in the player, or in tamberlo-codec-host.
constexpr int PluginClaims = 1;
constexpr int PluginClaimsIsolated = 2;
// Modules are loaded whole; anything larger is not a module we can play.
constexpr uint64_t MaxModuleBytes = 256u * 1024 * 1024;

struct LocalBytes {
    std::vector<uint8_t> head;
    uint64_t total = 0;
};

Result readHead(const std::string& path, size_t wanted, LocalBytes* out) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    // Only a missing name is "not found"; a folder that may not be searched hides a file that
    // may well be there.
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
        (!error && !std::filesystem::exists(status))) {
        return Result::FileNotFound;
    }
    if (error) {
        return Result::FileUnreadable;
    }
    if (!std::filesystem::is_regular_file(status)) {
        return Result::FileUnreadable;
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return Result::FileUnreadable;
    }
    out->total = std::filesystem::file_size(path, error);
    if (error) {
        return Result::FileUnreadable;
    }
    out->head.resize(static_cast<size_t>(std::min<uint64_t>(wanted, out->total)));
    file.read(reinterpret_cast<char*>(out->head.data()),
              static_cast<std::streamsize>(out->head.size()));
    out->head.resize(static_cast<size_t>(file.gcount()));
    return Result::Ok;
}

Result readWhole(const std::string& path, uint64_t size, std::vector<uint8_t>* out) {
    std::ifstream file(path, std::ios::binary);
    out->resize(static_cast<size_t>(size));
    if (!file.read(reinterpret_cast<char*>(out->data()), static_cast<std::streamsize>(size))) {
        return Result::FileUnreadable;
    }
    return Result::Ok;
}

// Picks the decoder for the whole source (see openDecoder).
Result openWholeSource(const DecoderSource& source, const PluginRegistry* plugins,
                       std::unique_ptr<Decoder>* out) {
    SourceLocation where;
    const Result resolved = resolveSourceLocation(source, &where);
    if (resolved != Result::Ok) {
        return resolved;
    }
    if (where.kind == SourceKind::NetworkUrl) {
        return ffmpeg_module::openDecoder(where, source, out);
    }

    // Local data: let the content probes look at the first bytes.
    const size_t wanted = std::max(PluginProbeBytes, openmpt_decoder::probeBytesWanted());
    LocalBytes local;
    const uint8_t* head = nullptr;
    size_t headSize = 0;
    if (where.kind == SourceKind::Memory) {
        local.total = source.memory->size();
        head = source.memory->data();
        headSize = static_cast<size_t>(std::min<uint64_t>(wanted, local.total));
    } else {
        const Result read = readHead(where.location, wanted, &local);
        if (read != Result::Ok) {
            return read;
        }
        head = local.head.data();
        headSize = local.head.size();
    }
    if (local.total == 0) {
        return Result::FormatUnsupported;
    }

    // The most telling failure so far: a decoder that claimed the data but could not decode it
    // says more than "unsupported".
    Result failure = Result::FormatUnsupported;
    if (plugins != nullptr) {
        const std::string name = std::filesystem::path(where.location).filename().string();
        for (const auto& plugin : plugins->plugins()) {
            const int claim =
                plugin->table().probe(head, std::min(headSize, PluginProbeBytes), name.c_str());
            if (claim != PluginClaims && claim != PluginClaimsIsolated) {
                continue;
            }
            const bool fromMemory = where.kind == SourceKind::Memory;
            auto memory = fromMemory ? source.memory : nullptr;
            Result opened = Result::FormatUnsupported;
            if (claim == PluginClaims) {
                opened =
                    openPluginDecoder(*plugin, where.location, std::move(memory), local.total, out);
            } else {
#ifndef _WIN32
                opened = openIsolatedPluginDecoder(*plugin, where.location, std::move(memory),
                                                   local.total, IsolationLimits{}, out);
#else
                continue; // no separate process here: such data is not claimed
#endif
            }
            if (opened == Result::Ok) {
                return opened;
            }
            failure = opened;
        }
    }

    if (openmpt_decoder::looksLikeModule(head, headSize, local.total)) {
        Result opened = Result::FormatUnsupported;
        if (where.kind == SourceKind::Memory) {
            opened = openmpt_decoder::openOpenMptDecoder(*source.memory, out);
        } else if (local.total <= MaxModuleBytes) {
            std::vector<uint8_t> whole;
            opened = readWhole(where.location, local.total, &whole);
            if (opened == Result::Ok) {
                opened = openmpt_decoder::openOpenMptDecoder(whole, out);
            }
        }
        if (opened == Result::Ok) {
            return opened;
        }
        failure = opened;
    }

    // MPEG audio that passes the frame-chain rule: libopenmpt has loaded libmpg123 already,
    // so an MP3 plays without FFmpeg. Anything else goes on to FFmpeg as before.
    const Result mpeg = mpg123_decoder::openMpg123Decoder(where, source, out);
    if (mpeg == Result::Ok) {
        return mpeg;
    }
    if (mpeg != Result::FormatUnsupported) {
        failure = mpeg;
    }

    if (ffmpeg_module::isInputList(head, headSize)) {
        return Result::ProtocolRefused;
    }
    const Result opened = ffmpeg_module::openDecoder(where, source, out);
    if (opened == Result::FormatUnsupported && failure != Result::FormatUnsupported) {
        return failure;
    }
    return opened;
}

} // namespace

Result openDecoder(const DecoderSource& source, const PluginRegistry* plugins,
                   std::unique_ptr<Decoder>* out) {
    if (out == nullptr) {
        return Result::InvalidParameter;
    }
    if (source.rangeStartMs == 0 && source.rangeEndMs == 0) {
        return openWholeSource(source, plugins, out);
    }
    if (source.rangeEndMs != 0 && source.rangeEndMs <= source.rangeStartMs) {
        return Result::InvalidParameter;
    }
    std::unique_ptr<Decoder> whole;
    const Result opened = openWholeSource(source, plugins, &whole);
    if (opened != Result::Ok) {
        return opened;
    }
    const int rate = whole->sampleRate();
    const uint64_t end =
        source.rangeEndMs == 0 ? UnknownFrames : rangeMsToFrames(source.rangeEndMs, rate);
    return openRangeDecoder(std::move(whole), rangeMsToFrames(source.rangeStartMs, rate), end, out);
}

} // namespace audio
