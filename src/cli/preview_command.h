// `fmconv preview`: the active picture of a frame as an 8-bit RGB PNG,
// alone or composited over a checkerboard through a key frame.
#pragma once

#include <optional>
#include <ostream>
#include <string>

namespace fmconv::cli {

// Writes the preview of file (through keyFile's luminance when given) to
// output. Empty on success, else why not in one line.
std::string RunPreview(const std::string& file, const std::optional<std::string>& keyFile,
                       const std::string& output);

// argv holds the arguments after "preview". Returns the exit code: 0 the
// PNG was written, 1 a file could not be read as a frame (or the PNG could not
// be written), 2 a usage error.
int PreviewMain(int argc, char** argv, std::ostream& out, std::ostream& err);

}  // namespace fmconv::cli
