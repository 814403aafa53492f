// Private-profile (INI) reading and writing, compatible with the settings
// file that the switcher's system-manager client shares with this program:
// only the key asked for is read or written; every other byte of the file
// stays as it is, line ends included.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace fmconv::platform {

// The value of key in section (both matched ignoring case, the first
// occurrence counting), with surrounding blanks and one pair of enclosing
// quotes removed and cut to bufferSize - 1 characters; defaultValue when the
// file, the section or the key is missing.
std::string GetPrivateProfileString(const std::string& section, const std::string& key,
                                    const std::string& defaultValue, const std::string& path,
                                    std::size_t bufferSize = 260);

// Sets key=value in section. An existing key line is rewritten in place with
// its own line end; a missing key is added after the section's last entry;
// a missing section is appended at the end of the file; a missing file is
// created. Line ends follow the file's own (CR LF for a new file). False when
// the file could not be written.
bool WritePrivateProfileString(const std::string& section, const std::string& key,
                               const std::string& value, const std::string& path);

// Sets several keys of one section and rewrites the file once, whole: the
// new content goes to a temporary beside it and replaces the file only when
// written completely (a symbolic link is followed to the file it names, and
// the file keeps its permissions). On any failure the file stays exactly as
// it was.
bool WritePrivateProfileStrings(const std::string& section,
                                const std::vector<std::pair<std::string, std::string>>& entries,
                                const std::string& path);

// The same rules on a file's content in memory.
std::string ProfileValue(const std::string& content, const std::string& section,
                         const std::string& key, const std::string& defaultValue,
                         std::size_t bufferSize = 260);
std::string ProfileWithValue(const std::string& content, const std::string& section,
                             const std::string& key, const std::string& value);

}  // namespace fmconv::platform
