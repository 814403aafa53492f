#include "base/file_io.h"

#include <algorithm>
#include <filesystem>

namespace fmconv {

FilePtr OpenFile(const std::string& path, const char* mode) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) return nullptr;
    return FilePtr(std::fopen(path.c_str(), mode));
}

std::optional<std::vector<uint8_t>> ReadFilePrefix(const std::string& path, std::size_t maxBytes) {
    FilePtr file = OpenFile(path, "rb");
    if (!file) return std::nullopt;
    std::vector<uint8_t> bytes;
    std::size_t chunk = 1 << 16;
    while (bytes.size() < maxBytes) {
        const std::size_t want = std::min(chunk, maxBytes - bytes.size());
        const std::size_t old = bytes.size();
        bytes.resize(old + want);
        const std::size_t got = std::fread(bytes.data() + old, 1, want, file.get());
        bytes.resize(old + got);
        if (got < want) break;
        chunk = std::min<std::size_t>(chunk * 2, 1 << 24);
    }
    return bytes;
}

int32_t FileLength32(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error || !std::filesystem::is_regular_file(status)) return -1;
    const auto size = std::filesystem::file_size(path, error);
    if (error) return -1;
    return static_cast<int32_t>(static_cast<uint32_t>(size));
}

}  // namespace fmconv
