// `fmconv demo`: writes sample outputs made from inputs the program builds
// itself, and prints what it wrote.
#pragma once

#include <ostream>
#include <string>

namespace fmconv::cli {

// Returns the process exit code.
int RunDemo(const std::string& folder, std::ostream& out, std::ostream& err);

}  // namespace fmconv::cli
