#include "image/picture_convert.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "base/bytes.h"
#include "fmfiles/ten_bit.h"
#include "image/bmp.h"
#include "image/byte_source.h"
#include "image/tga.h"
#include "image/tiff.h"

namespace fmconv {

void ComposePicture(PictureReader& reader, const FrameLayout& layout, int lineOffset,
                    int pixelOffset, bool withKey, PreparedPicture& out) {
    const PictureInfo& info = reader.info();
    const uint32_t width = layout.width;
    const std::size_t plane = layout.planeBytes;
    out.fill.resize(2 * plane);
    out.key.resize(withKey ? 2 * plane : 0);
    out.withKey = withKey;

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
    for (uint32_t line = 0; line < layout.frameLines(); ++line) {
        const uint32_t y = line - lineShift;
        if (y < info.height) rows.emplace_back(info.firstRowIsTop ? y : info.height - 1 - y, line);
    }
    std::sort(rows.begin(), rows.end());
    // Pairs that follow one another in the picture land side by side in the
    // frame and form runs, read and converted in one go.
    struct Run {
        uint32_t x0;      // the run's first picture column
        uint32_t count;   // pixels read from the file
        uint32_t pairs;   // pixel pairs placed
        uint32_t column;  // the frame column of the first
    };
    std::vector<Run> runs;
    for (uint32_t column = 0; column < width; column += 2) {
        const uint32_t x = column - columnShift;
        if (x >= info.width) continue;
        if (!runs.empty() && runs.back().x0 + uint64_t{2} * runs.back().pairs == x &&
            runs.back().column + 2 * runs.back().pairs == column) {
            ++runs.back().pairs;
        } else {
            runs.push_back({x, 0, 1, column});
        }
    }
    // Runs in picture order, so that a pass only ever reads forward.
    std::sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.x0 < b.x0; });
    for (Run& run : runs) {
        // An odd width ends each row with a pair whose second pixel is not
        // in the file: black and transparent.
        run.count = static_cast<uint32_t>(
            std::min<uint64_t>(run.x0 + uint64_t{2} * run.pairs, info.width) - run.x0);
    }

    // One frame line at a time: its samples (uncovered: Y 64, Cb = Cr = 512),
    // the converted pairs over them, packed into both planes. Each packed
    // line goes into its plane's checksum while it is in the processor's
    // cache; the zero bytes around the lines add nothing to it.
    const std::size_t packedBytes = std::size_t{width} * 5 / 4;
    uint32_t fillSum = 0, keySum = 0;
    const auto put = [&](std::vector<uint8_t>& planes, uint32_t& sum, const uint8_t* packed,
                         std::size_t p, uint32_t line) {
        const std::size_t offset = p * plane + FrameLineOffset(layout, line);
        uint8_t* at = planes.data() + offset;
        std::memset(at, 0, layout.leadInBytes);
        if (packed != at + layout.leadInBytes) std::memcpy(at + layout.leadInBytes, packed, packedBytes);
        sum ^= SfmChecksumAt(offset + layout.leadInBytes, packed, packedBytes);
    };
    const auto pack = [&](std::vector<uint8_t>& planes, uint32_t& sum, const uint16_t* samples,
                          std::size_t p, uint32_t line) {
        uint8_t* at = planes.data() + p * plane + FrameLineOffset(layout, line) + layout.leadInBytes;
        PackTenBit(samples, width, at);
        put(planes, sum, at, p, line);
    };

    // Rows that the runs cover from edge to edge need no uncovered samples.
    uint64_t placed = 0;
    for (const Run& run : runs) placed += 2 * uint64_t{run.pairs};
    const bool wholeRows = placed == width;
    std::vector<uint16_t> y(width, kBlackLuma), c(width, kNeutralChroma), keyY(width, kBlackLuma);
    std::vector<Pixel> pixels(width + 2);
    std::vector<bool> covered(layout.frameLines(), false);
    reader.StartPixels();
    for (const auto& [row, line] : rows) {
        if (!wholeRows) {
            std::fill(y.begin(), y.end(), kBlackLuma);
            std::fill(c.begin(), c.end(), kNeutralChroma);
            if (withKey) std::fill(keyY.begin(), keyY.end(), kBlackLuma);
        }
        for (const Run& run : runs) {
            reader.MoveTo(row, run.x0);
            reader.Read(pixels.data(), run.count);
            pixels[run.count] = Pixel{};
            ConvertPixelPairs(layout.matrix, pixels.data(), run.pairs, &y[run.column],
                              &c[run.column], withKey ? &keyY[run.column] : nullptr);
        }
        pack(out.fill, fillSum, y.data(), 0, line);
        pack(out.fill, fillSum, c.data(), 1, line);
        if (withKey) pack(out.key, keySum, keyY.data(), 0, line);
        covered[line] = true;
    }

    // The lines no picture row reaches and the key's chroma (always
    // neutral): one line each, packed once and copied; then the gaps
    // between and after the fields.
    std::fill(y.begin(), y.end(), kBlackLuma);
    std::fill(c.begin(), c.end(), kNeutralChroma);
    std::vector<uint8_t> blackLine(packedBytes), neutralLine(packedBytes);
    PackTenBit(y.data(), width, blackLine.data());
    PackTenBit(c.data(), width, neutralLine.data());
    for (uint32_t line = 0; line < layout.frameLines(); ++line) {
        if (!covered[line]) {
            put(out.fill, fillSum, blackLine.data(), 0, line);
            put(out.fill, fillSum, neutralLine.data(), 1, line);
            if (withKey) put(out.key, keySum, blackLine.data(), 0, line);
        }
        if (withKey) put(out.key, keySum, neutralLine.data(), 1, line);
    }
    const std::size_t fieldBytes[2] = {std::size_t{layout.field1Lines} * layout.lineBytes,
                                       std::size_t{layout.field2Lines} * layout.lineBytes};
    for (std::vector<uint8_t>* planes : {&out.fill, &out.key}) {
        if (planes->empty()) continue;
        for (std::size_t p = 0; p < 2; ++p) {
            uint8_t* start = planes->data() + p * plane;
            std::memset(start + fieldBytes[0], 0, layout.gap1Bytes);
            std::memset(start + fieldBytes[0] + layout.gap1Bytes + fieldBytes[1], 0,
                        layout.gap2Bytes);
        }
    }
    // The planes start at file offset 64, so their words are the file's.
    out.fillChecksum = fillSum;
    out.keyChecksum = withKey ? keySum : 0;
}

namespace {

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

// Writes header and planes; false when the file could not be written whole
// (nothing is then left under its name).
bool WriteFrame(platform::OutputFile& output, const SfmHeader& prepared,
                const std::vector<uint8_t>& planes, uint32_t planesChecksum) {
    SfmHeader header = prepared;
    // The checksum runs on from header byte 48 into the planes.
    WriteBe32(&header[36], ComputeSfmChecksum(&header[48], 16) ^ planesChecksum);
    return output.Write(header.data(), header.size()) && output.Write(planes.data(), planes.size()) &&
           output.Commit();
}

}  // namespace

void PreparePicture(PictureKind kind, const std::string& sourcePath, int frameFormat,
                    int lineOffset, int pixelOffset, bool wantKey, PreparedPicture& out) {
    out.status = 0;
    out.withKey = false;
    out.traces.clear();
    const FrameLayout* layout = GetFrameLayout(frameFormat);
    if (layout == nullptr) {
        out.status = kPictureBadFrameFormat;
        return;
    }
    const std::unique_ptr<FileByteSource> source = FileByteSource::Open(sourcePath);
    if (!source) {
        out.status = kPictureSourceUnreadable;
        return;
    }
    const TraceSink keep = [&out](std::string_view line) { out.traces.emplace_back(line); };
    const std::unique_ptr<PictureReader> reader = MakeReader(kind, *source, keep);
    if (!reader->ReadHeader().empty()) {
        out.status = kPictureNotAccepted;
        return;
    }
    ComposePicture(*reader, *layout, lineOffset, pixelOffset,
                   wantKey && kind != PictureKind::kBmp && reader->info().bytesPerPixel == 4, out);
}

int CommitPicture(const PreparedPicture& prepared, PictureKind kind, int frameFormat,
                  const std::string& fillPath, const std::optional<std::string>& keyPath,
                  platform::OutputFiles& files, const TraceSink& trace) {
    // The order of the checks is the converter's: the format, the names
    // (before the source is opened), the source, then the outputs, created
    // only once the source's header was accepted.
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
    if (prepared.status != 0) return prepared.status;
    for (const std::string& line : prepared.traces) Trace(trace, line);

    const std::unique_ptr<platform::OutputFile> fillFile = files.Create(fillPath);
    if (!fillFile) {
        // The BMP converter answers -1 here as well, so the driver's message
        // names the source; that pairing is kept on purpose.
        return kind == PictureKind::kBmp ? kPictureSourceUnreadable : kPictureFillUnwritable;
    }
    // A frame that cannot be written whole is the failure of that frame (a
    // BMP's output included, named as the output it is); a fill written
    // before a failed key stays.
    if (!WriteFrame(*fillFile, fillHeader, prepared.fill, prepared.fillChecksum)) {
        return kPictureFillUnwritable;
    }
    if (!keyNamed || !prepared.withKey) return layout->frameFormat;
    const std::unique_ptr<platform::OutputFile> keyFile = files.Create(*keyPath);
    if (!keyFile || !WriteFrame(*keyFile, keyHeader, prepared.key, prepared.keyChecksum)) {
        return kPictureKeyUnwritable;
    }
    return kPictureKeyWritten + layout->frameFormat;
}

namespace {

int ConvertPicture(PictureKind kind, const std::string& sourcePath, const std::string& fillPath,
                   const std::optional<std::string>& keyPath, int frameFormat, int lineOffset,
                   int pixelOffset, const TraceSink& trace, platform::OutputFiles& files) {
    PreparedPicture prepared;
    // Names are checked before the source is read.
    SfmHeader unused;
    const FrameLayout* layout = GetFrameLayout(frameFormat);
    if (layout != nullptr &&
        BuildSfmHeader(fillPath, unused, layout->lengthFrom48(), layout->planeBytes) &&
        (kind == PictureKind::kBmp || !keyPath ||
         BuildSfmHeader(*keyPath, unused, layout->lengthFrom48(), layout->planeBytes))) {
        PreparePicture(kind, sourcePath, frameFormat, lineOffset, pixelOffset, keyPath.has_value(),
                       prepared);
    }
    return CommitPicture(prepared, kind, frameFormat, fillPath, keyPath, files, trace);
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
