#include "cli/preview_command.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "audio/frame_contents.h"
#include "base/text.h"
#include "cli/help.h"
#include "cli/png_writer.h"

namespace fmconv::cli {

namespace {


constexpr char kHint[] = " (see 'fmconv preview --help')";

constexpr int kSquare = 16;  // checkerboard square, in pixels
constexpr uint8_t kBoardGrey = 204, kBoardWhite = 255;

struct RgbPicture {
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> rgb;
};

// 480i stores 487 picture lines; the picture shown has 486.
uint32_t ShownLines(const FramePicture& p) {
    return p.layout->frameFormat == kFrameFormat480i ? 486 : p.picture.lines;
}

// The luma weights of the matrix that made the frame.
struct LumaWeights {
    double kr, kb;
};
LumaWeights WeightsOf(ColourMatrix matrix) {
    return matrix == ColourMatrix::kBt709 ? LumaWeights{0.2126, 0.0722} : LumaWeights{0.299, 0.114};
}

uint8_t ToByte(double unit) {
    return static_cast<uint8_t>(std::clamp(std::lround(unit * 255.0), 0L, 255L));
}

// Studio-range 10-bit Y, Cb, Cr back to 8-bit RGB. Chroma is sited on the
// even pixel of each pair and serves both.
RgbPicture ToRgb(const FramePicture& p) {
    const LumaWeights w = WeightsOf(p.layout->matrix);
    const double kg = 1.0 - w.kr - w.kb;
    RgbPicture out;
    out.width = p.picture.width;
    out.height = ShownLines(p);
    out.rgb.resize(std::size_t{out.width} * out.height * 3);
    uint8_t* rgb = out.rgb.data();
    for (uint32_t line = 0; line < out.height; ++line) {
        const uint16_t* y = p.picture.lumaLine(line);
        const uint16_t* c = p.picture.chromaLine(line);
        for (uint32_t x = 0; x < out.width; ++x) {
            const uint32_t pair = x & ~1u;
            const double luma = (y[x] - 64.0) / 876.0;
            const double pb = (c[pair] - 512.0) / 896.0;
            const double pr = (c[pair + 1] - 512.0) / 896.0;
            const double r = luma + 2.0 * (1.0 - w.kr) * pr;
            const double b = luma + 2.0 * (1.0 - w.kb) * pb;
            const double g = (luma - w.kr * r - w.kb * b) / kg;
            *rgb++ = ToByte(r);
            *rgb++ = ToByte(g);
            *rgb++ = ToByte(b);
        }
    }
    return out;
}

// The fill over the checkerboard, the key's luminance as alpha.
void CompositeOverBoard(RgbPicture& fill, const FramePicture& key) {
    uint8_t* rgb = fill.rgb.data();
    for (uint32_t line = 0; line < fill.height; ++line) {
        const uint16_t* alphaLuma = key.picture.lumaLine(line);
        for (uint32_t x = 0; x < fill.width; ++x) {
            const double alpha = std::clamp((alphaLuma[x] - 64.0) / 876.0, 0.0, 1.0);
            const bool grey = (x / kSquare + line / kSquare) % 2 == 0;
            const double board = grey ? kBoardGrey : kBoardWhite;
            for (int k = 0; k < 3; ++k, ++rgb) {
                *rgb = static_cast<uint8_t>(std::lround(*rgb * alpha + board * (1.0 - alpha)));
            }
        }
    }
}

std::optional<FramePicture> PictureOf(const std::string& file, std::string& why) {
    const FrameFile frame = ReadFrame(file);
    std::optional<FramePicture> picture = DecodeFramePicture(frame, why);
    if (!picture) why = file + ": " + why;
    return picture;
}

}  // namespace

std::string RunPreview(const std::string& file, const std::optional<std::string>& keyFile,
                       const std::string& output) {
    std::string why;
    const std::optional<FramePicture> fill = PictureOf(file, why);
    if (!fill) return why;
    RgbPicture rgb = ToRgb(*fill);
    if (keyFile) {
        const std::optional<FramePicture> key = PictureOf(*keyFile, why);
        if (!key) return why;
        if (key->picture.width != fill->picture.width || ShownLines(*key) != rgb.height) {
            return Format("%s: the key is %ux%u, the fill %ux%u", keyFile->c_str(),
                          key->picture.width, ShownLines(*key), rgb.width, rgb.height);
        }
        CompositeOverBoard(rgb, *key);
    }
    return WritePngRgb(output, rgb.width, rgb.height, rgb.rgb);
}

int PreviewMain(int argc, char** argv, std::ostream& out, std::ostream& err) {
    std::optional<std::string> key, output;
    std::vector<std::string> files;
    bool onlyFiles = false;
    const auto usage = [&err](const std::string& text) {
        err << "fmconv preview: " << text << kHint << "\n";
        return 2;
    };
    for (int i = 0; i < argc; ++i) {
        std::string arg = argv[i];
        if (onlyFiles || arg == "-" || arg.empty() || arg[0] != '-') {
            files.push_back(arg);
            continue;
        }
        if (arg == "--") {
            onlyFiles = true;
            continue;
        }
        if (arg == "--help" || arg == "-h") {
            out << HelpText("preview");
            return 0;
        }
        // Options with a value take it after "=" or as the next argument.
        std::optional<std::string> value;
        if (const std::size_t eq = arg.find('='); eq != std::string::npos) {
            value = arg.substr(eq + 1);
            arg.resize(eq);
        }
        std::optional<std::string>* target = nullptr;
        if (arg == "--key") target = &key;
        if (arg == "-o" || arg == "--output") target = &output;
        if (target == nullptr) return usage("unknown option '" + arg + "'");
        if (!value) {
            if (i + 1 >= argc) return usage(arg + " needs a value");
            value = argv[++i];
        }
        if (value->empty()) return usage(arg + " needs a value");
        if (*target) return usage(arg + " is given twice");
        *target = *value;
    }
    if (!output) return usage("-o OUT.png is missing");
    if (files.size() != 1) {
        return usage(files.empty() ? "no FILE given"
                                   : "one FILE only, not " + std::to_string(files.size()));
    }
    const std::string error = RunPreview(files[0], key, *output);
    if (!error.empty()) {
        err << "fmconv preview: " << error << "\n";
        return 1;
    }
    return 0;
}

}  // namespace fmconv::cli
