// fmconv: the command line of the frame-memory converter.
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "cli/convert_command.h"
#include "cli/demo.h"
#include "cli/help.h"
#include "cli/inspect_command.h"
#include "cli/preview_command.h"
#include "cli/ui_command.h"
#include "platform/interrupts.h"

namespace {

using namespace fmconv::cli;

int Dispatch(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) {
        std::cerr << "fmconv: no command given (see 'fmconv --help')\n";
        return 2;
    }
    const std::string& command = args[0];
    if (IsHelp(command)) {
        std::cout << HelpText("");
        return 0;
    }
    if (command == "--version") {
        std::cout << VersionLine() << '\n';
        return 0;
    }
    if (command == "help") {
        const std::string topic = args.size() > 1 ? args[1] : "";
        const std::string text = HelpText(topic);
        if (text.empty()) return UsageError(std::cerr, "help", "no command '" + topic + "'");
        std::cout << text;
        return 0;
    }
    if (command == "demo") {
        if (args.size() > 1 && IsHelp(args[1])) {
            std::cout << HelpText("demo");
            return 0;
        }
        if (args.size() > 2) return UsageError(std::cerr, "demo", "too many arguments");
        if (args.size() == 2 && args[1].rfind("-", 0) == 0) {
            return UsageError(std::cerr, "demo", "unknown option '" + args[1] + "'");
        }
        return RunDemo(args.size() == 2 ? args[1] : "demo-out", std::cout, std::cerr);
    }
    if (command == "convert") return ConvertMain(argc - 2, argv + 2);
    if (command == "import") return ImportMain(argc - 2, argv + 2);
    if (command == "ui") return UiMain(argc - 2, argv + 2);
    if (command == "inspect") return InspectMain(argc - 2, argv + 2, std::cout, std::cerr);
    if (command == "preview") return PreviewMain(argc - 2, argv + 2, std::cout, std::cerr);
    std::cerr << "fmconv: unknown command '" << command << "' (see 'fmconv --help')\n";
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
