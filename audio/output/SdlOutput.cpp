// The sound device: the SDL module (libtamberlo-sdl, sdl/SdlModuleTable.h), loaded the first
// time an SDL output opens, so programs that render to a file never load SDL.
#include "Output.h"
#include "ProgramModule.h"
#include "sdl/SdlModuleTable.h"

#include <array>

namespace audio::detail {
namespace {

// The table, or null with the reason in *error. Loaded once for the process (a function-local
// static: concurrent first callers wait for the one that loads it).
const sdl::ModuleTable* sdlModule(std::string* error) {
    static const ProgramModule module =
        loadProgramModule(sdl::ModuleName, sdl::ModuleEntryName, sdl::ModuleTableVersion);
    if (module.table == nullptr) {
        *error = module.error;
    }
    return static_cast<const sdl::ModuleTable*>(module.table);
}

class SdlOutput final : public Output {
public:
    SdlOutput(const sdl::ModuleTable& module, Mixer& mixer) : module_(module), mixer_(mixer) {}
    ~SdlOutput() override { close(); }

    Result open(int bufferFrames, std::string* error) {
        std::array<char, 512> reason{};
        device_ = module_.open(mixer_.sampleRate(), bufferFrames, &SdlOutput::render, this,
                               reason.data(), reason.size());
        if (device_ == nullptr) {
            *error = reason.data();
            return Result::OutputInitFailed;
        }
        return Result::Ok;
    }

    void close() override {
        module_.close(device_); // waits for a running callback
        device_ = nullptr;
    }

private:
    static void render(void* self, float* out, size_t frames) {
        static_cast<SdlOutput*>(self)->mixer_.renderTimed(out, frames);
    }

    const sdl::ModuleTable& module_;
    Mixer& mixer_;
    void* device_ = nullptr;
};

} // namespace

Result openSdlOutput(Mixer& mixer, int bufferFrames, std::unique_ptr<Output>* out,
                     std::string* error) {
    const sdl::ModuleTable* module = sdlModule(error);
    if (module == nullptr) {
        return Result::OutputInitFailed;
    }
    auto output = std::make_unique<SdlOutput>(*module, mixer);
    const Result result = output->open(bufferFrames, error);
    if (result == Result::Ok) {
        *out = std::move(output);
    }
    return result;
}

} // namespace audio::detail
