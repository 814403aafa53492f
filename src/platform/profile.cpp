#include "platform/profile.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "base/file_io.h"
#include "base/text.h"
#include "platform/output_files.h"

namespace fmconv::platform {

namespace {

struct Line {
    std::string text;  // without its line end
    std::string end;   // "\r\n", "\n", "\r" or "" for a last line without one
};

std::vector<Line> SplitLines(const std::string& content) {
    std::vector<Line> lines;
    std::size_t i = 0;
    while (i < content.size()) {
        const std::size_t stop = content.find_first_of("\r\n", i);
        Line line;
        if (stop == std::string::npos) {
            line.text = content.substr(i);
            i = content.size();
        } else {
            line.text = content.substr(i, stop - i);
            const bool crlf =
                content[stop] == '\r' && stop + 1 < content.size() && content[stop + 1] == '\n';
            line.end = crlf ? "\r\n" : content.substr(stop, 1);
            i = stop + line.end.size();
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

std::string_view Trim(std::string_view s) {
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    while (!s.empty() && blank(s.front())) s.remove_prefix(1);
    while (!s.empty() && blank(s.back())) s.remove_suffix(1);
    return s;
}

// The section name of a "[name]" line.
std::optional<std::string_view> SectionName(std::string_view line) {
    line = Trim(line);
    if (line.empty() || line.front() != '[') return std::nullopt;
    const std::size_t close = line.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    return Trim(line.substr(1, close - 1));
}

// The key of a "key=value" line.
std::optional<std::string_view> KeyName(std::string_view line) {
    const std::size_t eq = line.find('=');
    if (eq == std::string_view::npos) return std::nullopt;
    return Trim(line.substr(0, eq));
}

struct Place {
    std::optional<std::size_t> section;  // the "[section]" line
    std::optional<std::size_t> key;      // the key's line
    std::size_t lastEntry = 0;           // the section's last non-blank line
};

Place Locate(const std::vector<Line>& lines, std::string_view section, std::string_view key) {
    Place place;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto name = SectionName(lines[i].text);
        if (name) {
            if (place.section) break;  // the section ended
            if (EqualsIgnoreCase(*name, section)) place.section = place.lastEntry = i;
            continue;
        }
        if (!place.section) continue;
        if (!Trim(lines[i].text).empty()) place.lastEntry = i;
        const auto k = KeyName(lines[i].text);
        if (k && !place.key && EqualsIgnoreCase(*k, key)) place.key = i;
    }
    return place;
}

std::optional<std::string> ReadAll(const std::string& path) {
    FilePtr file = OpenFile(path, "rb");
    if (!file) return std::nullopt;
    std::string content;
    char buffer[4096];
    std::size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file.get())) > 0)
        content.append(buffer, got);
    return content;
}

}  // namespace

std::string ProfileValue(const std::string& content, const std::string& section,
                         const std::string& key, const std::string& defaultValue,
                         std::size_t bufferSize) {
    const std::size_t limit = bufferSize > 0 ? bufferSize - 1 : 0;
    const std::vector<Line> lines = SplitLines(content);
    const Place place = Locate(lines, section, key);
    if (!place.key) return defaultValue.substr(0, limit);
    const std::string& text = lines[*place.key].text;
    std::string_view value = Trim(std::string_view(text).substr(text.find('=') + 1));
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
        value = value.substr(1, value.size() - 2);
    }
    return std::string(value.substr(0, limit));
}

std::string ProfileWithValue(const std::string& content, const std::string& section,
                             const std::string& key, const std::string& value) {
    const std::string entry = key + "=" + value;
    std::vector<Line> lines = SplitLines(content);
    std::string eol = "\r\n";
    for (const Line& line : lines) {
        if (!line.end.empty()) {
            eol = line.end;
            break;
        }
    }
    const Place place = Locate(lines, section, key);
    if (place.key) {
        lines[*place.key].text = entry;
    } else if (place.section) {
        Line& after = lines[place.lastEntry];
        if (after.end.empty()) after.end = eol;
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(place.lastEntry + 1),
                     Line{entry, eol});
    } else {
        if (!lines.empty() && lines.back().end.empty()) lines.back().end = eol;
        lines.push_back(Line{"[" + section + "]", eol});
        lines.push_back(Line{entry, eol});
    }
    std::string out;
    for (const Line& line : lines) out += line.text + line.end;
    return out;
}

std::string GetPrivateProfileString(const std::string& section, const std::string& key,
                                    const std::string& defaultValue, const std::string& path,
                                    std::size_t bufferSize) {
    const std::optional<std::string> content = ReadAll(path);
    if (!content) return defaultValue.substr(0, bufferSize > 0 ? bufferSize - 1 : 0);
    return ProfileValue(*content, section, key, defaultValue, bufferSize);
}

bool WritePrivateProfileString(const std::string& section, const std::string& key,
                               const std::string& value, const std::string& path) {
    return WritePrivateProfileStrings(section, {{key, value}}, path);
}

bool WritePrivateProfileStrings(const std::string& section,
                                const std::vector<std::pair<std::string, std::string>>& entries,
                                const std::string& path) {
    // The file another program owns is rewritten where it really is.
    std::string target = path;
    std::error_code error;
    if (std::filesystem::is_symlink(path, error)) {
        const std::filesystem::path real = std::filesystem::canonical(path, error);
        if (!error) target = real.string();
    }
    std::string content;
    if (std::filesystem::exists(target, error)) {
        const std::optional<std::string> old = ReadAll(target);
        if (!old) return false;
        content = *old;
    }
    for (const auto& [key, value] : entries) content = ProfileWithValue(content, section, key, value);
    return WriteWholeFile(SystemOutputFiles(), target,
                          reinterpret_cast<const uint8_t*>(content.data()), content.size());
}

}  // namespace fmconv::platform
