#include "image/picture_convert.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "image/bmp.h"
#include "image/byte_source.h"
#include "image/tga.h"
#include "image/tiff.h"

namespace fmconv {

// Every numerator below is positive for R, G, B, A in 0..255, so integer
// division truncates exactly as the formulas mean; the results stay within
// Y 64..940, Cb and Cr 64..960, so nothing is clipped.

uint16_t ToLuma(ColourMatrix matrix, const Pixel& p) {
    const int64_t r = p.r, g = p.g, b = p.b;
    if (matrix == ColourMatrix::kBt709) {
        return static_cast<uint16_t>((931188 * r + 3132576 * g + 316236 * b + 637500) / 1275000 +
                                     64);
    }
    return static_cast<uint16_t>((261924 * r + 514212 * g + 99864 * b + 127500) / 255000 + 64);
}

YCbCr ToYCbCr(ColourMatrix matrix, const Pixel& p) {
    const int64_t r = p.r, g = p.g, b = p.b;
    if (matrix == ColourMatrix::kBt709) {
        return {
            ToLuma(matrix, p),
            static_cast<uint16_t>((2078272 * b - 476224 * r - 1602048 * g + 606259312) / 1182945),
            static_cast<uint16_t>((1763776 * r - 161728 * b - 1602048 * g + 514516687) / 1003935)};
    }
    return {ToLuma(matrix, p),
            static_cast<uint16_t>((396928 * b - 133952 * r - 262976 * g + 115789125) / 225930),
            static_cast<uint16_t>((314048 * r - 51072 * b - 262976 * g + 91611937) / 178755)};
}

uint16_t ToKeyLuma(ColourMatrix matrix, uint8_t alpha) {
    const int64_t a = alpha;
    if (matrix == ColourMatrix::kBt709) {
        return static_cast<uint16_t>((4380000 * a + 637500) / 1275000 + 64);
    }
    return static_cast<uint16_t>((876000 * a + 127500) / 255000 + 64);
}

namespace {

// Stores the pair of pixels at pair[0] and pair[1] at frame line `line`,
// columns `column` and `column` + 1 (the frame width is even, so both are
// inside it).
void PlacePair(const Pixel* pair, ColourMatrix matrix, uint32_t line, uint32_t column,
               PictureFrame* fill, PictureFrame* key) {
    if (fill != nullptr) {
        // Chroma is sited on the even pixel; the odd one gives its Y.
        const YCbCr colour = ToYCbCr(matrix, pair[0]);
        uint16_t* y = fill->lumaLine(line) + column;
        uint16_t* c = fill->chromaLine(line) + column;
        y[0] = colour.y;
        y[1] = ToLuma(matrix, pair[1]);
        c[0] = colour.cb;
        c[1] = colour.cr;
    }
    if (key != nullptr) {
        uint16_t* y = key->lumaLine(line) + column;
        y[0] = ToKeyLuma(matrix, pair[0].a);
        y[1] = ToKeyLuma(matrix, pair[1].a);
    }
}

}  // namespace

void PlacePicture(PictureReader& reader, int lineOffset, int pixelOffset, ColourMatrix matrix,
                  PictureFrame* fill, PictureFrame* key) {
    const PictureFrame& frame = fill != nullptr ? *fill : *key;
    const PictureInfo& info = reader.info();
    // Picture pixel (x, y) goes to frame column x + pixel offset and line
    // y + line offset, counted modulo 2^32 and compared unsigned: a pixel
    // before the left or top edge wraps round to a large position and is
    // dropped like one beyond the right or bottom edge. An odd pixel offset
    // is raised to the next even number, so that pairs land on Cb/Cr pairs.
    uint32_t columnShift = static_cast<uint32_t>(pixelOffset);
    columnShift += columnShift & 1;
    const uint32_t lineShift = static_cast<uint32_t>(lineOffset);

    // Only what can land is visited: at most one file row per frame line
    // and one pixel pair per frame column pair, in file order.
    std::vector<std::pair<uint32_t, uint32_t>> rows;  // file row, frame line
    for (uint32_t line = 0; line < frame.lines; ++line) {
        const uint32_t y = line - lineShift;
        if (y < info.height) rows.emplace_back(info.firstRowIsTop ? y : info.height - 1 - y, line);
    }
    std::sort(rows.begin(), rows.end());
    std::vector<std::pair<uint32_t, uint32_t>> pairs;  // picture column, frame column
    for (uint32_t column = 0; column < frame.width; column += 2) {
        const uint32_t x = column - columnShift;
        if (x < info.width) pairs.emplace_back(x, column);
    }
    std::sort(pairs.begin(), pairs.end());

    // Pairs that follow one another in the picture form runs, read in one go.
    struct Run {
        std::size_t first, last;  // pairs[first] to pairs[last - 1]
        uint32_t x0, count;       // the run's first picture column and its pixel count
    };
    std::vector<Run> runs;
    for (std::size_t first = 0, last; first < pairs.size(); first = last) {
        last = first + 1;
        while (last < pairs.size() && pairs[last].first == pairs[last - 1].first + 2) ++last;
        const uint32_t x0 = pairs[first].first;
        // An odd width ends each row with a pair whose second pixel is not
        // in the file: black and transparent.
        const uint64_t end = std::min<uint64_t>(pairs[last - 1].first + uint64_t{2}, info.width);
        runs.push_back({first, last, x0, static_cast<uint32_t>(end - x0)});
    }

    reader.StartPixels();
    std::vector<Pixel> pixels(frame.width + 1);
    for (const auto& [row, line] : rows) {
        for (const Run& run : runs) {
            reader.MoveTo(row, run.x0);
            reader.Read(pixels.data(), run.count);
            pixels[run.count] = Pixel{};
            for (std::size_t i = run.first; i < run.last; ++i) {
                PlacePair(&pixels[pairs[i].first - run.x0], matrix, line, pairs[i].second, fill,
                          key);
            }
        }
    }
}

namespace {

enum class PictureKind { kBmp, kTga, kTiff };

std::unique_ptr<PictureReader> MakeReader(PictureKind kind, ByteSource& source,
                                          const TraceSink& trace) {
    switch (kind) {
        case PictureKind::kBmp:
            return std::make_unique<BmpReader>(source);
        case PictureKind::kTga:
            return std::make_unique<TgaReader>(source, trace);
        case PictureKind::kTiff:
            return std::make_unique<TiffReader>(source);
    }
    return nullptr;
}

// Writes the frame into an output started earlier; false when it could not
// be written whole (nothing is then left under its name).
bool WriteFrame(platform::OutputFile& output, const SfmHeader& header, const FrameLayout& layout,
                const PictureFrame& frame) {
    const std::vector<uint8_t> bytes = BuildSfmFile(header, layout, frame);
    return output.Write(bytes.data(), bytes.size()) && output.Commit();
}

void ResetFrame(PictureFrame& frame) {
    std::fill(frame.luma.begin(), frame.luma.end(), kBlackLuma);
    std::fill(frame.chroma.begin(), frame.chroma.end(), kNeutralChroma);
}

// The steps every converter takes; a BMP has no key. The outputs are named
// and checked before the source is opened, and created only once the
// source's header was accepted. A frame that cannot be written whole is a
// failure of that frame (the fill's result, or the key's), and nothing is
// left under its name; a fill written before a failed key stays. The source
// is closed on every path, a refused BMP's included.
int ConvertPicture(PictureKind kind, const std::string& sourcePath, const std::string& fillPath,
                   const std::optional<std::string>& keyPath, int frameFormat, int lineOffset,
                   int pixelOffset, const TraceSink& trace, platform::OutputFiles& files) {
    const FrameLayout* layout = GetFrameLayout(frameFormat);
    if (layout == nullptr) return kPictureBadFrameFormat;
    SfmHeader fillHeader;
    if (!BuildSfmHeader(fillPath, fillHeader, layout->lengthFrom48(), layout->planeBytes)) {
        return kPictureFillUnwritable;
    }
    const bool keyNamed = kind != PictureKind::kBmp && keyPath.has_value();
    SfmHeader keyHeader;
    if (keyNamed &&
        !BuildSfmHeader(*keyPath, keyHeader, layout->lengthFrom48(), layout->planeBytes)) {
        return kPictureKeyUnwritable;
    }

    const std::unique_ptr<FileByteSource> source = FileByteSource::Open(sourcePath);
    if (!source) return kPictureSourceUnreadable;
    const std::unique_ptr<PictureReader> reader = MakeReader(kind, *source, trace);
    if (!reader->ReadHeader().empty()) return kPictureNotAccepted;

    const std::unique_ptr<platform::OutputFile> fillFile = files.Create(fillPath);
    if (!fillFile) {
        // The BMP converter answers -1 here as well, so the driver's message
        // names the source; that pairing is kept on purpose.
        return kind == PictureKind::kBmp ? kPictureSourceUnreadable : kPictureFillUnwritable;
    }
    const bool withKey = keyNamed && reader->info().bytesPerPixel == 4;
    PictureFrame frame = MakeUncoveredFrame(*layout);
    // A TGA fills fill and key in one pass; a TIFF reads its pixels again
    // for the key, into the same frame.
    PictureFrame tgaKey;
    if (withKey && kind == PictureKind::kTga) tgaKey = MakeUncoveredFrame(*layout);
    PlacePicture(*reader, lineOffset, pixelOffset, layout->matrix, &frame,
                 tgaKey.luma.empty() ? nullptr : &tgaKey);
    // A BMP's output that cannot be written is named as the output it is.
    if (!WriteFrame(*fillFile, fillHeader, *layout, frame)) return kPictureFillUnwritable;
    if (!withKey) return layout->frameFormat;

    const std::unique_ptr<platform::OutputFile> keyFile = files.Create(*keyPath);
    if (!keyFile) return kPictureKeyUnwritable;
    if (kind == PictureKind::kTiff) {
        ResetFrame(frame);
        PlacePicture(*reader, lineOffset, pixelOffset, layout->matrix, nullptr, &frame);
    }
    if (!WriteFrame(*keyFile, keyHeader, *layout, kind == PictureKind::kTga ? tgaKey : frame)) {
        return kPictureKeyUnwritable;
    }
    return kPictureKeyWritten + layout->frameFormat;
}

}  // namespace

int ConvertBmpPicture(const std::string& sourcePath, const std::string& outputPath,
                      const std::optional<std::string>& /*unused*/, int frameFormat, int lineOffset,
                      int pixelOffset, const TraceSink& trace, platform::OutputFiles& files) {
    return ConvertPicture(PictureKind::kBmp, sourcePath, outputPath, std::nullopt, frameFormat,
                          lineOffset, pixelOffset, trace, files);
}

int ConvertTgaPicture(const std::string& sourcePath, const std::string& fillPath,
                      const std::optional<std::string>& keyPath, int frameFormat, int lineOffset,
                      int pixelOffset, const TraceSink& trace, platform::OutputFiles& files) {
    return ConvertPicture(PictureKind::kTga, sourcePath, fillPath, keyPath, frameFormat, lineOffset,
                          pixelOffset, trace, files);
}

int ConvertTiffPicture(const std::string& sourcePath, const std::string& fillPath,
                       const std::optional<std::string>& keyPath, int frameFormat, int lineOffset,
                       int pixelOffset, const TraceSink& trace, platform::OutputFiles& files) {
    return ConvertPicture(PictureKind::kTiff, sourcePath, fillPath, keyPath, frameFormat,
                          lineOffset, pixelOffset, trace, files);
}

}  // namespace fmconv
