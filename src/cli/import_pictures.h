// The pictures of `fmconv import`: today's picture files read by the picture
// library, fitted into the frame as asked, and handed to the run's picture
// branch.
#pragma once

#include <string>
#include <vector>

#include "cli/convert_command.h"
#include "import/picture_library.h"
#include "run/picture_import.h"

namespace fmconv::cli {

// The picture reader of the module beside the executable, loaded once; null
// with the reason in *error when it cannot be loaded.
const importing::PictureReaderModule* LoadPictureReader(std::string* error);

class LibraryPictures final : public PictureImport {
  public:
    LibraryPictures(const ConvertRequest& request, const importing::PictureReaderModule& reader);

    const std::vector<std::string>& Items() const override { return items_; }
    void Prepare(int index, const FrameLayout& layout, bool wantKey,
                 PreparedPicture& out) override;
    // The library's reason for the picture a "Source file format error [NAME]"
    // names; "" for any other text.
    std::string Explain(const std::string& boxText) const;

  private:
    const importing::PictureReaderModule& reader_;
    std::vector<std::string> paths_, items_;
    std::vector<std::string> reasons_;  // by picture; written by the one thread preparing it
    std::string fit_, align_, aspect_;
    bool shaped_, keyNever_;
};

}  // namespace fmconv::cli
