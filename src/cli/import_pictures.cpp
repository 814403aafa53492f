#include "cli/import_pictures.h"

#include <memory>

#include "base/text.h"
#include "image/rgba_reader.h"
#include "platform/dynamic_library.h"
#include "run/messages.h"

namespace fmconv::cli {

const importing::PictureReaderModule* LoadPictureReader(std::string* error) {
    static std::string reason;
    static const importing::PictureReaderModule* reader = [] {
        const std::string path =
            platform::ExecutableFolder() + "/" + importing::kPictureModuleFile;
        static std::unique_ptr<platform::DynamicLibrary> module =
            platform::DynamicLibrary::Open(path, &reason);
        if (!module) return static_cast<const importing::PictureReaderModule*>(nullptr);
        using Entry = const importing::PictureReaderModule* (*)();
        const auto entry =
            reinterpret_cast<Entry>(module->Symbol(importing::kPictureModuleSymbol));
        if (!entry) reason = path + " has no picture reader";
        return entry ? entry() : nullptr;
    }();
    if (!reader && error) *error = reason;
    return reader;
}

LibraryPictures::LibraryPictures(const ConvertRequest& request,
                                 const importing::PictureReaderModule& reader)
    : reader_(reader),
      paths_(request.pictures),
      reasons_(request.pictures.size()),
      fit_(request.fit),
      align_(request.align),
      aspect_(request.aspect),
      shaped_(request.fill == "shaped"),
      keyNever_(request.key == "never") {
    for (const std::string& path : paths_) {
        const std::size_t slash = path.rfind('/');
        items_.push_back(slash == std::string::npos ? path : path.substr(slash + 1));
    }
}

void LibraryPictures::Prepare(int index, const FrameLayout& layout, bool wantKey,
                              PreparedPicture& out) {
    out.status = 0;
    out.withKey = false;
    out.traces.clear();
    const std::size_t k = static_cast<std::size_t>(index);
    importing::RgbaImage picture;
    reasons_[k] = reader_.read(paths_[k], picture, importing::ReadLimits{});
    if (!reasons_[k].empty()) {
        out.status = kPictureNotAccepted;
        return;
    }
    // The picture area: the frame's lines, but for the last stored line of
    // 480i, which is not shown.
    const uint32_t areaHeight = layout.frameLines() - (layout.frameFormat == kFrameFormat480i ? 1 : 0);
    importing::FitRequest request;
    request.fit = fit_ == "contain"   ? importing::Fit::kContain
                  : fit_ == "cover"   ? importing::Fit::kCover
                  : fit_ == "stretch" ? importing::Fit::kStretch
                                      : importing::Fit::kNone;
    request.align = align_ == "center" ? importing::Align::kCenter : importing::Align::kTopLeft;
    request.areaWidth = layout.width;
    request.areaHeight = areaHeight;
    // Standard-definition pixels are not square: the display shape asked for
    // over the area's pixels.
    if (layout.matrix == ColourMatrix::kBt601) {
        const double shape = aspect_ == "16:9" ? 16.0 / 9.0 : 4.0 / 3.0;
        request.pixelAspect = shape * areaHeight / layout.width;
    }
    importing::Placed placed = importing::FitPicture(picture, request);
    if (request.fit == importing::Fit::kNone &&
        (picture.width != layout.width || picture.height != areaHeight)) {
        out.traces.push_back(Format("fmconv import: warning: %s is %u x %u, the frame's picture is %u x %u\n",
                                    items_[k].c_str(), picture.width, picture.height, layout.width,
                                    areaHeight));
    }
    if (shaped_) importing::ShapeFill(placed.picture);
    const bool alpha = picture.hasAlpha && !keyNever_;
    RgbaReader reader(placed.picture.width, placed.picture.height, alpha, placed.picture.rgba);
    std::vector<std::string> warnings = std::move(out.traces);
    ComposePicture(reader, layout, placed.lineOffset, placed.pixelOffset, wantKey && alpha, out);
    out.traces = std::move(warnings);
}

std::string LibraryPictures::Explain(const std::string& boxText) const {
    for (std::size_t k = 0; k < items_.size(); ++k) {
        if (!reasons_[k].empty() && boxText == Format(kMsgSourceFormatError, items_[k].c_str())) {
            return reasons_[k];
        }
    }
    return {};
}

}  // namespace fmconv::cli
