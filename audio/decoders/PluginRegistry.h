#pragma once
// Codec plug-ins loaded at run time: shared libraries (`codec_NAME.so`, `.dll` on Windows) that
// export one C function returning a versioned table of operations (see TamberloCodec.h).
//
// Threading: load() is called on the GUI thread during start-up, before any sound is created;
// afterwards the registry is read-only and openDecoder may read it from any thread.

#include "Result.h"

#include <memory>
#include <string>
#include <vector>

namespace audio {

class LoadedPlugin;

class PluginRegistry {
public:
    PluginRegistry();
    ~PluginRegistry();
    PluginRegistry(const PluginRegistry&) = delete;
    PluginRegistry& operator=(const PluginRegistry&) = delete;

    // Loads the plug-in at `path` (relative paths are taken from the current directory).
    // Returns Ok, PluginMissing (no such file, or it cannot be loaded as a library) or
    // PluginInvalid (no entry point, or a table of another version).
    Result load(const std::string& path);

    // The plug-ins loaded so far, in load order.
    const std::vector<std::unique_ptr<LoadedPlugin>>& plugins() const { return plugins_; }

private:
    std::vector<std::unique_ptr<LoadedPlugin>> plugins_;
};

} // namespace audio
