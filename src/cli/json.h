// Just enough JSON for the command line's output lines.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fmconv::cli {

// A JSON string literal, quotes included. Valid UTF-8 passes through; other
// bytes above 127 (names in a single-byte code page) become \u00XX.
std::string JsonString(std::string_view text);
std::string JsonBool(bool value);
std::string JsonStringArray(const std::vector<std::string>& items);
std::string JsonIntArray(const std::vector<int>& items);

}  // namespace fmconv::cli
