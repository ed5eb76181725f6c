#include "FfmpegModule.h"

#include "ProgramModule.h"
#include "ffmpeg/FfmpegModuleTable.h"

#include <cstdio>

namespace audio::ffmpeg_module {

namespace {

// The table, or null when the module cannot be used. Loaded on the first call (a function-local
// static: concurrent first callers wait for the one that loads it).
const ffmpeg::ModuleTable* table() {
    static const ProgramModule module = [] {
        ProgramModule loaded = loadProgramModule(ffmpeg::ModuleName, ffmpeg::ModuleEntryName,
                                                 ffmpeg::ModuleTableVersion);
        const auto* found = static_cast<const ffmpeg::ModuleTable*>(loaded.table);
        if (found != nullptr && found->sourceBytes != sizeof(DecoderSource)) {
            loaded.table = nullptr;
            loaded.error = "module " + modulePath(ffmpeg::ModuleName) +
                           " was built from other sources than this program";
        }
        if (loaded.table == nullptr) {
            std::fprintf(stderr, "FFmpeg decoding unavailable: %s\n", loaded.error.c_str());
        }
        return loaded;
    }();
    return static_cast<const ffmpeg::ModuleTable*>(module.table);
}

} // namespace

bool isInputList(const uint8_t* head, size_t size) {
    const ffmpeg::ModuleTable* module = table();
    return module != nullptr && module->isInputList(head, size);
}

Result openDecoder(const SourceLocation& where, const DecoderSource& source,
                   std::unique_ptr<Decoder>* out) {
    const ffmpeg::ModuleTable* module = table();
    if (module == nullptr) {
        return Result::NoFfmpegModule;
    }
    return module->open(where, source, out);
}

} // namespace audio::ffmpeg_module
