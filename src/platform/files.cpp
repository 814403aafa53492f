#include "platform/files.h"

#include <algorithm>
#include <filesystem>

#include "base/text.h"
#include "platform/list_order.h"

namespace fmconv::platform {

namespace fs = std::filesystem;

std::vector<std::string> ListDirectory(const std::string& folder, std::string_view extension) {
    std::vector<std::string> names;
    std::error_code error;
    fs::directory_iterator it(folder.empty() ? fs::path(".") : fs::path(folder), error);
    if (error) return names;
    for (const fs::directory_iterator end; it != end; it.increment(error)) {
        if (error) break;
        std::string name = it->path().filename().string();
        if (name.find('.') == std::string::npos) continue;
        if (EqualsIgnoreCase(ExtensionOf(name), extension)) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return CompareListText(a, b) < 0; });
    return names;
}

std::string CurrentDirectory() {
    std::error_code error;
    fs::path current = fs::current_path(error);
    return error ? std::string() : current.string();
}

}  // namespace fmconv::platform
