// Code loaded when it is first needed: the picture library of `fmconv import`
// is large and slow to load, so the program keeps it in a module of its own
// beside the executable and loads it only for an import.
#pragma once

#include <memory>
#include <string>

namespace fmconv::platform {

class DynamicLibrary {
  public:
    ~DynamicLibrary();
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    // nullptr, with the reason in *error, when the module cannot be loaded.
    static std::unique_ptr<DynamicLibrary> Open(const std::string& path, std::string* error);
    // The address of an exported symbol; nullptr when it has none of that name.
    void* Symbol(const char* name) const;

  private:
    explicit DynamicLibrary(void* handle) : handle_(handle) {}
    void* handle_;
};

// The folder of the running executable ("." when it cannot be told).
std::string ExecutableFolder();

}  // namespace fmconv::platform
