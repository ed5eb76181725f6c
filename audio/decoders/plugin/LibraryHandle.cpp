#include "LibraryHandle.h"

#include <dlfcn.h>

namespace audio {

LibraryHandle::LibraryHandle(const std::string& path) {
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
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

} // namespace audio
