// `fmconv inspect`: reads frame files (SFM, SFA, SF1, SF3, by content) and
// tells for each what it is and whether it is whole and consistent.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace fmconv::cli {

// Inspects the files in turn: a text block each, or one JSON object a line.
// Returns 0 when every file is whole and consistent, else 1.
int RunInspect(const std::vector<std::string>& files, bool json, std::ostream& out);

// argv holds the arguments after "inspect". Returns the exit code: 0 every
// file ok, 1 some file not, 2 a usage error.
int InspectMain(int argc, char** argv, std::ostream& out, std::ostream& err);

}  // namespace fmconv::cli
