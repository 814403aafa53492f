#include "platform/dynamic_library.h"

#include <dlfcn.h>

#include <filesystem>

namespace fmconv::platform {

DynamicLibrary::~DynamicLibrary() {
    if (handle_) ::dlclose(handle_);
}

std::unique_ptr<DynamicLibrary> DynamicLibrary::Open(const std::string& path, std::string* error) {
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        if (error) *error = ::dlerror();
        return nullptr;
    }
    return std::unique_ptr<DynamicLibrary>(new DynamicLibrary(handle));
}

void* DynamicLibrary::Symbol(const char* name) const {
    return ::dlsym(handle_, name);
}

std::string ExecutableFolder() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string(".") : self.parent_path().string();
}

}  // namespace fmconv::platform
