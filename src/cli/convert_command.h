// `fmconv convert`: one conversion run from the command line, through the
// same window and driver as the desktop.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "platform/interrupts.h"

namespace fmconv::cli {

// One run as the command line asks for it.
struct ConvertRequest {
    std::string from, to;  // "image", "sfm", ... ; from "sort" takes no to
    std::string sfmFormat = "1080i/1080PsF";
    std::string sfaFormat = "1080i/59.94";
    std::map<int, std::string> channels;  // channel field N (1 to 16) -> WAV path
    bool legacySpaceCheck = false;
    bool progressBar = false;
    bool json = false;  // standard output as JSON lines
    std::string sourceDir, destDir;
    std::vector<std::string> names;  // none: every file the source list shows
};

// Sets the window up as the request says, presses Exec and waits for the
// run. Entries go to out, boxes and trace lines to err. Returns 0 (the run
// reached its end), 1 (it stopped early), 2 (a name the list does not show)
// or 130 (an interrupt, taken by `interrupts`, stopped it as Cancel does).
int RunConvert(const ConvertRequest& request, std::ostream& out, std::ostream& err,
               platform::InterruptWatcher* interrupts = nullptr);

// argv holds the arguments after "convert". Returns the exit code: 0 the run
// reached its end, 1 it stopped early, 2 a usage error (nothing written).
int ConvertMain(int argc, char** argv);

}  // namespace fmconv::cli
