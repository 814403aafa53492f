// What the command line says of itself: the help of each command, its
// version, and the one-line usage errors every command reports the same way.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace fmconv::cli {

// "fmconv VERSION".
std::string VersionLine();

// The help of `fmconv` itself and of its commands ("" for the overview);
// empty for a command that does not exist.
std::string HelpText(std::string_view command);

// True for an argument that asks for help.
inline bool IsHelp(std::string_view arg) {
    return arg == "--help" || arg == "-h";
}

// Writes "fmconv COMMAND: MESSAGE (see 'fmconv COMMAND --help')" as one line
// and returns the usage-error exit code, 2.
int UsageError(std::ostream& err, std::string_view command, std::string_view message);

}  // namespace fmconv::cli
