#include "PluginRegistry.h"

#include "LoadedPlugin.h"

#include <filesystem>
#include <system_error>

namespace audio {

PluginRegistry::PluginRegistry() = default;
PluginRegistry::~PluginRegistry() = default;

Result PluginRegistry::load(const std::string& path) {
    if (path.empty()) {
        return Result::PluginMissing;
    }
    std::error_code error;
    // An absolute path keeps dlopen from searching the library path for a bare name.
    const auto absolute = std::filesystem::absolute(std::filesystem::path(path), error);
    if (error || !std::filesystem::is_regular_file(absolute, error)) {
        return Result::PluginMissing;
    }
    auto library = std::make_shared<LibraryHandle>(absolute.string());
    if (!library->isOpen()) {
        return Result::PluginMissing;
    }
    auto entry = reinterpret_cast<TamberloCodecEntry>(library->symbol(TAMBERLO_CODEC_ENTRY_NAME));
    if (entry == nullptr) {
        return Result::PluginInvalid;
    }
    const TamberloCodecTable* table = entry();
    if (table == nullptr || table->abi_version != TAMBERLO_CODEC_ABI_VERSION ||
        table->probe == nullptr || (table->open_path == nullptr && table->open_memory == nullptr) ||
        table->get_info == nullptr || table->read == nullptr || table->close == nullptr) {
        return Result::PluginInvalid;
    }
    plugins_.push_back(std::make_unique<LoadedPlugin>(std::move(library), table, path));
    return Result::Ok;
}

} // namespace audio
