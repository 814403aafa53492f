// `fmconv ui`: the main window run headless from a script, one command a
// line, every output line one JSON object.
#pragma once

#include <istream>
#include <ostream>

namespace fmconv::cli {

struct UiOptions {
    bool realSpaceCheck = false;
};

// Runs the window on the commands of script until its end or `close`.
// Returns the process exit code.
int RunUi(std::istream& script, std::ostream& out, const UiOptions& options);

// The command's own argument parsing (`fmconv ui [--script FILE]
// [--real-space-check]`); returns the exit code.
int UiMain(int argc, char** argv);

}  // namespace fmconv::cli
