// A folder of the fuzzer process's own for the files a target reads and
// writes, removed when the process exits.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>

namespace fmconv::fuzz {

class WorkFolder {
public:
    explicit WorkFolder(const std::string& name)
        : path_((std::filesystem::temp_directory_path() /
                 ("fmconv-fuzz-" + name + "-" + std::to_string(::getpid())))
                    .string()) {
        std::filesystem::create_directories(path_);
    }
    ~WorkFolder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace fmconv::fuzz
