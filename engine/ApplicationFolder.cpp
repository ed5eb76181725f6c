#include "ApplicationFolder.h"

#include <filesystem>
#include <system_error>

namespace engine_detail {

std::string applicationFolder() {
    std::error_code error;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string(".") : exe.parent_path().string();
}

} // namespace engine_detail
