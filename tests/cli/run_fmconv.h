// Runs the fmconv program as a separate process, in a chosen current
// directory, and collects what it printed.
#pragma once

#include <string>
#include <vector>

namespace fmconv::testing {

struct ProcessResult {
    int exitCode = -1;
    std::vector<std::string> outLines;
    std::vector<std::string> errLines;
    std::string out;
    std::string err;
};

// args are passed as they stand (no shell); stdinText is fed to the process.
ProcessResult RunFmconv(const std::string& workingDirectory, const std::vector<std::string>& args,
                        const std::string& stdinText = "");

// True when some line contains every one of the fragments.
bool AnyLineHas(const std::vector<std::string>& lines, const std::vector<std::string>& fragments);

}  // namespace fmconv::testing
