// fmconv: the command line of the frame-memory converter.
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "cli/convert_command.h"
#include "cli/demo.h"
#include "cli/inspect_command.h"
#include "cli/preview_command.h"
#include "cli/ui_command.h"
#include "platform/interrupts.h"

namespace {

constexpr char kUsage[] =
    "usage: fmconv demo [FOLDER]      write sample frames into FOLDER (default demo-out)\n"
    "       fmconv convert --from TYPE --to TYPE [options] SRC_DIR DST_DIR [NAME ...]\n"
    "       fmconv ui [--script FILE] [--real-space-check]\n"
    "       fmconv inspect [--json] FILE ...        check frame files (SFM, SFA, SF1, SF3)\n"
    "       fmconv preview [--key KEYFILE] -o OUT.png FILE   a frame's picture as a PNG\n"
    "       fmconv --help\n";

int Dispatch(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        (args.empty() ? std::cerr : std::cout) << kUsage;
        return args.empty() ? 2 : 0;
    }
    if (args[0] == "demo") {
        if (args.size() > 2) {
            std::cerr << "fmconv demo: too many arguments\n" << kUsage;
            return 2;
        }
        return fmconv::cli::RunDemo(args.size() == 2 ? args[1] : "demo-out", std::cout, std::cerr);
    }
    if (args[0] == "convert") return fmconv::cli::ConvertMain(argc - 2, argv + 2);
    if (args[0] == "ui") return fmconv::cli::UiMain(argc - 2, argv + 2);
    if (args[0] == "inspect")
        return fmconv::cli::InspectMain(argc - 2, argv + 2, std::cout, std::cerr);
    if (args[0] == "preview")
        return fmconv::cli::PreviewMain(argc - 2, argv + 2, std::cout, std::cerr);
    std::cerr << "fmconv: unknown command '" << args[0] << "'\n" << kUsage;
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    fmconv::platform::TreatFileSizeLimitAsFullDisk();
    try {
        return Dispatch(argc, argv);
    } catch (const std::bad_alloc&) {
        std::cerr << "fmconv: not enough memory\n";
        return 1;
    }
}
