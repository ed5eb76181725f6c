#pragma once
// One codec plug-in that PluginRegistry has loaded and checked: its library and its table.
//
// Threading: immutable after creation; any thread may read it and open decoders through it.

#include "LibraryHandle.h"
#include "TamberloCodec.h"

#include <memory>
#include <string>

namespace audio {

class LoadedPlugin {
public:
    LoadedPlugin(std::shared_ptr<LibraryHandle> library, const TamberloCodecTable* table,
                 std::string path)
        : library_(std::move(library)), table_(table), path_(std::move(path)) {}

    const TamberloCodecTable& table() const { return *table_; }
    const std::string& path() const { return path_; }
    std::string name() const { return table_->name != nullptr ? table_->name : path_; }
    // Decoders keep the library loaded for as long as they live.
    const std::shared_ptr<LibraryHandle>& library() const { return library_; }

private:
    std::shared_ptr<LibraryHandle> library_;
    const TamberloCodecTable* table_;
    std::string path_;
};

} // namespace audio
