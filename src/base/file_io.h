// Whole-file reads through the standard library; readers take a bounded
// prefix so that a huge or lying file never makes them allocate without
// limit. (Every file is written through platform/output_files.h.)
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fmconv {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// fopen that refuses folders (which some systems open for reading), so that
// a folder named like a frame file fails to open as the original's did.
FilePtr OpenFile(const std::string& path, const char* mode);

// Reads at most maxBytes from the start of path; nullopt when it cannot be
// opened for reading.
std::optional<std::vector<uint8_t>> ReadFilePrefix(const std::string& path, std::size_t maxBytes);

// The file's length as the file status reports it, as a signed 32-bit value;
// -1 when the status cannot be read.
int32_t FileLength32(const std::string& path);

}  // namespace fmconv
