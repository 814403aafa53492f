// The SFM frame file: a 64-byte big-endian header, then the luminance plane,
// then the chroma plane. Each plane holds field 1 (frame lines 0, 2, 4, ...;
// every line in 720P), a gap of zero bytes, field 2 (lines 1, 3, 5, ...) and
// a second gap. A line is its lead-in zero bytes followed by `width` 10-bit
// samples: Y per pixel in luminance, Cb/Cr alternating in chroma (4:2:2,
// sited on the even pixel).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fmconv {

// The picture format code that the "SFM Format" radios select.
enum FrameFormat : int {
    kFrameFormat480i = 1,
    kFrameFormat576i = 2,
    kFrameFormat1080 = 3,
    kFrameFormat720p = 4,
};

enum class ColourMatrix { kBt601, kBt709 };

struct FrameLayout {
    int frameFormat;
    const char* selection;  // the radio caption
    uint32_t width;         // samples per line in each plane
    uint32_t lineBytes;
    uint32_t leadInBytes;
    uint32_t field1Lines;
    uint32_t gap1Bytes;
    uint32_t field2Lines;
    uint32_t gap2Bytes;
    uint32_t planeBytes;
    ColourMatrix matrix;

    uint32_t frameLines() const { return field1Lines + field2Lines; }
    uint32_t lengthFrom48() const { return 16 + 2 * planeBytes; }
    uint32_t fileSize() const { return 64 + 2 * planeBytes; }
};

// The layout of frameFormat 1 to 4; nullptr for any other value.
const FrameLayout* GetFrameLayout(int frameFormat);

constexpr std::size_t kSfmHeaderSize = 64;
using SfmHeader = std::array<uint8_t, kSfmHeaderSize>;

inline constexpr char kSfmMagic[] = "QVX 0001";

// Reads the frame-memory name back from path (a ".TMP" suffix is ignored)
// and fills every header byte but the checksum. False, with the header left
// unspecified, when path is not a frame-memory name. Touches no file.
bool BuildSfmHeader(std::string_view path, SfmHeader& header, uint32_t lengthFrom48,
                    uint32_t planeBytes);

// The checksum of an SFM file: each byte from offset 48 on is XORed into a
// 32-bit word at byte lane (position mod 4), most significant lane first;
// that is, the XOR of the big-endian 32-bit words from offset 48 (a trailing
// partial word folds in lane by lane). Computed word-wise over the bytes.
uint32_t ComputeSfmChecksum(const uint8_t* from48, std::size_t size);
// What `size` bytes add to that checksum when they stand `offset` bytes
// after a multiple of four in the checksummed range: their XOR word turned
// to their lanes. XORing the parts of a range gives the range's checksum.
inline uint32_t SfmChecksumAt(std::size_t offset, const uint8_t* bytes, std::size_t size) {
    const uint32_t sum = ComputeSfmChecksum(bytes, size);
    const unsigned turn = 8 * static_cast<unsigned>(offset % 4);
    return turn == 0 ? sum : (sum >> turn) | (sum << (32 - turn));
}

// The samples of one frame's active area, line by line from frame line 0
// (progressive order whatever the interlace), `width` samples a line.
struct PictureFrame {
    uint32_t width = 0;
    uint32_t lines = 0;
    std::vector<uint16_t> luma;    // Y per pixel
    std::vector<uint16_t> chroma;  // Cb at even, Cr at odd positions

    uint16_t* lumaLine(uint32_t line) { return luma.data() + std::size_t{line} * width; }
    uint16_t* chromaLine(uint32_t line) { return chroma.data() + std::size_t{line} * width; }
    const uint16_t* lumaLine(uint32_t line) const {
        return luma.data() + std::size_t{line} * width;
    }
    const uint16_t* chromaLine(uint32_t line) const {
        return chroma.data() + std::size_t{line} * width;
    }
};

constexpr uint16_t kBlackLuma = 64;
constexpr uint16_t kNeutralChroma = 512;

// Where frame line `line` starts within a plane: field 1 holds the even lines
// (every line when there is no field 2), field 2 the odd ones.
std::size_t FrameLineOffset(const FrameLayout& layout, uint32_t line);

// A frame of the layout's size that no picture covers: Y 64, Cb = Cr = 512.
PictureFrame MakeUncoveredFrame(const FrameLayout& layout);

// The whole file in memory: header, both planes, checksum at offset 36.
std::vector<uint8_t> BuildSfmFile(const SfmHeader& header, const FrameLayout& layout,
                                  const PictureFrame& frame);

// Builds the file and writes it with one call. False when it could not be
// created or written whole.
bool WriteSfmFile(const std::string& path, const SfmHeader& header, const FrameLayout& layout,
                  const PictureFrame& frame);

// Reads the picture samples back out of an SFM file's bytes laid out as
// layout; false when the bytes are too short for it.
bool DecodeSfmPicture(const std::vector<uint8_t>& file, const FrameLayout& layout,
                      PictureFrame& frame);

}  // namespace fmconv
