// The FFmpeg module's one exported symbol: the table of FfmpegModuleTable.h.
#include "FfmpegDecoder.h"
#include "FfmpegFormats.h"
#include "FfmpegModuleTable.h"

#ifdef _WIN32
#define TAMBERLO_MODULE_EXPORT __declspec(dllexport)
#else
#define TAMBERLO_MODULE_EXPORT __attribute__((visibility("default")))
#endif

extern "C" TAMBERLO_MODULE_EXPORT const void* tamberlo_ffmpeg_module() {
    static constexpr audio::ffmpeg::ModuleTable table{
        audio::ffmpeg::ModuleTableVersion,
        static_cast<uint32_t>(sizeof(audio::DecoderSource)),
        &audio::ffmpeg::isInputList,
        &audio::ffmpeg::openFfmpegDecoder,
    };
    return &table;
}
