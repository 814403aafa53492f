// The converters' own trace lines ("fseek RGB = 18", "No Support Signal
// format!", "File Convert Error!"). The window sends them to standard
// output; the command line and the headless window route them elsewhere, so
// every converter writes them through a sink it is handed.
#pragma once

#include <functional>
#include <string_view>

namespace fmconv {

using TraceSink = std::function<void(std::string_view line)>;

// Writes each line to standard output as it stands (the window's behaviour).
TraceSink StdoutTrace();

// Sends a line to the sink when there is one.
inline void Trace(const TraceSink& sink, std::string_view line) {
    if (sink) sink(line);
}

}  // namespace fmconv
