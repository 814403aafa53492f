#include "base/trace.h"

#include <cstdio>

namespace fmconv {

TraceSink StdoutTrace() {
    return [](std::string_view line) {
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fflush(stdout);
    };
}

}  // namespace fmconv
