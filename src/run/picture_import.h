// Pictures given to a run from outside the source list: `fmconv import`
// hands the run today's picture files, read by a picture library, and the
// picture branch converts them in the order given, naming them as it names
// a TGA. Everything else of the run (numbers, scans, names, wrappers, audio,
// messages) is the picture branch's own.
#pragma once

#include <string>
#include <vector>

#include "fmfiles/sfm_file.h"
#include "image/picture_convert.h"

namespace fmconv {

class PictureImport {
  public:
    virtual ~PictureImport() = default;
    // The list texts the pictures stand for (their file names), in order;
    // the name-clash scans compare with them.
    virtual const std::vector<std::string>& Items() const = 0;
    // Reads picture `index` and builds its frames of the layout into out, as
    // PreparePicture does for a file; a picture that cannot be read answers
    // kPictureNotAccepted. Called on worker threads, one picture each.
    virtual void Prepare(int index, const FrameLayout& layout, bool wantKey,
                         PreparedPicture& out) = 0;
};

}  // namespace fmconv
