#include "LibraryHandle.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace audio {

#ifdef _WIN32

LibraryHandle::LibraryHandle(const std::string& path, bool stayLoaded) : stayLoaded_(stayLoaded) {
    handle_ = reinterpret_cast<void*>(::LoadLibraryA(path.c_str()));
    if (handle_ == nullptr) {
        error_ = "LoadLibrary failed with error " + std::to_string(::GetLastError());
    }
}

LibraryHandle::~LibraryHandle() {
    if (handle_ != nullptr && !stayLoaded_) {
        ::FreeLibrary(reinterpret_cast<HMODULE>(handle_));
    }
}

void* LibraryHandle::symbol(const char* name) const {
    return handle_ != nullptr
               ? reinterpret_cast<void*>(::GetProcAddress(reinterpret_cast<HMODULE>(handle_), name))
               : nullptr;
}

#else

LibraryHandle::LibraryHandle(const std::string& path, bool stayLoaded) : stayLoaded_(stayLoaded) {
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | (stayLoaded ? RTLD_NODELETE : 0));
    if (handle_ == nullptr) {
        const char* why = dlerror();
        error_ = why != nullptr ? why : "dlopen failed";
    }
}

LibraryHandle::~LibraryHandle() {
    if (handle_ != nullptr) {
        dlclose(handle_);
    }
}

void* LibraryHandle::symbol(const char* name) const {
    return handle_ != nullptr ? dlsym(handle_, name) : nullptr;
}

#endif

} // namespace audio
