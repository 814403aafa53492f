// The one JSON writer of the command line: just enough for its output
// lines, shared by every subcommand.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fmconv::cli {

// A JSON string literal, quotes included, always valid UTF-8. Well-formed
// UTF-8 passes through; every other byte above 127 (a name in a single-byte
// code page, a broken sequence) becomes the escape \udcXX, the way a
// surrogate-escaping decoder reads it, so that the name's bytes can be
// recovered exactly.
std::string JsonString(std::string_view text);
std::string JsonBool(bool value);
std::string JsonStringArray(const std::vector<std::string>& items);
std::string JsonIntArray(const std::vector<int>& items);

}  // namespace fmconv::cli
