#include "ProgramModule.h"

#include <filesystem>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#endif

namespace audio {

std::string executableFolder() {
#ifdef _WIN32
    wchar_t buffer[MAX_PATH];
    const DWORD length = ::GetModuleFileNameW(nullptr, buffer, MAX_PATH);
    if (length == 0 || length == MAX_PATH) {
        return ".";
    }
    return std::filesystem::path(std::wstring(buffer, length)).parent_path().string();
#else
    std::error_code error;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string(".") : exe.parent_path().string();
#endif
}

std::string modulePath(const std::string& name) {
#ifdef _WIN32
    const std::string file = "tamberlo-" + name + ".dll";
#else
    const std::string file = "libtamberlo-" + name + ".so";
#endif
    return (std::filesystem::path(executableFolder()) / file).string();
}

ProgramModule loadProgramModule(const std::string& name, const char* entryName, uint32_t version) {
    ProgramModule module;
    const std::string path = modulePath(name);
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        module.error = "module " + path + " not found";
        return module;
    }
    module.library = std::make_unique<LibraryHandle>(path, true);
    if (!module.library->isOpen()) {
        module.error = "module " + path + " could not be loaded: " + module.library->error();
        return module;
    }
    using Entry = const void* (*)();
    const auto entry = reinterpret_cast<Entry>(module.library->symbol(entryName));
    const void* table = entry != nullptr ? entry() : nullptr;
    if (table == nullptr) {
        module.error = "module " + path + " has no entry point " + entryName;
        return module;
    }
    const uint32_t found = *static_cast<const uint32_t*>(table);
    if (found != version) {
        module.error = "module " + path + " has version " + std::to_string(found) +
                       ", this program needs " + std::to_string(version);
        return module;
    }
    module.table = table;
    return module;
}

} // namespace audio
