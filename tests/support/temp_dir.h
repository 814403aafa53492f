// A fresh folder per test, removed afterwards, and small file helpers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fmconv::testing {

class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    // path() + separator + name
    std::string File(const std::string& name) const;
    // Creates a sub-folder and returns its path.
    std::string MakeDir(const std::string& name) const;

  private:
    std::string path_;
};

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes);
void WriteText(const std::string& path, const std::string& text);
std::vector<uint8_t> ReadBytes(const std::string& path);
bool FileExists(const std::string& path);

}  // namespace fmconv::testing
