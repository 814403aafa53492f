// `fmconv convert`: one conversion run from the command line, through the
// same window and driver as the desktop.
#pragma once

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "platform/interrupts.h"
#include "run/picture_import.h"

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

    // `fmconv import`: the pictures, and how they are fitted and keyed.
    std::vector<std::string> pictures;
    std::string fit = "none", align = "top-left", aspect = "4:3", fill = "straight", key = "auto";
    // The pictures as the run takes them (instead of a source folder), and
    // what a picture's failure box is followed by on standard error.
    PictureImport* import = nullptr;
    std::function<std::string(const std::string& boxText)> explain;
};

// Sets the window up as the request says, presses Exec and waits for the
// run. Entries go to out, boxes and trace lines to err. Returns 0 (the run
// reached its end), 1 (it stopped early), 2 (a name the list does not show)
// or 130 (an interrupt, taken by `interrupts`, stopped it as Cancel does).
int RunConvert(const ConvertRequest& request, std::ostream& out, std::ostream& err,
               platform::InterruptWatcher* interrupts = nullptr);

// argv holds the arguments after "convert" (or "import"). Returns the exit
// code: 0 the run reached its end, 1 it stopped early, 2 a usage error
// (nothing written), 130 interrupted.
int ConvertMain(int argc, char** argv);
int ImportMain(int argc, char** argv);

}  // namespace fmconv::cli
