#include "fmfiles/sfm_file.h"

#include <cassert>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "base/bytes.h"
#include "platform/output_files.h"
#include "fmfiles/ten_bit.h"
#include "names/naming.h"

namespace fmconv {

namespace {

constexpr FrameLayout kLayouts[4] = {
    {kFrameFormat480i, "480i/59.94", 720, 960, 60, 244, 2880, 243, 960, 471360,
     ColourMatrix::kBt601},
    {kFrameFormat576i, "576i/50", 720, 960, 60, 288, 2880, 288, 0, 555840, ColourMatrix::kBt601},
    {kFrameFormat1080, "1080i/1080PsF", 1920, 2400, 0, 540, 0, 540, 2400, 2594400,
     ColourMatrix::kBt709},
    {kFrameFormat720p, "720P", 1280, 1600, 0, 720, 0, 0, 1600, 1153600, ColourMatrix::kBt709},
};

}  // namespace

std::size_t FrameLineOffset(const FrameLayout& layout, uint32_t line) {
    if (layout.field2Lines == 0) return std::size_t{line} * layout.lineBytes;
    if (line % 2 == 0) return std::size_t{line / 2} * layout.lineBytes;
    return std::size_t{layout.field1Lines} * layout.lineBytes + layout.gap1Bytes +
           std::size_t{line / 2} * layout.lineBytes;
}

const FrameLayout* GetFrameLayout(int frameFormat) {
    if (frameFormat < kFrameFormat480i || frameFormat > kFrameFormat720p) return nullptr;
    return &kLayouts[frameFormat - 1];
}

bool BuildSfmHeader(std::string_view path, SfmHeader& header, uint32_t lengthFrom48,
                    uint32_t planeBytes) {
    const std::optional<FrameMemoryNameParts> name = ReadFrameMemoryName(path);
    if (!name) return false;
    header.fill(0);
    std::memcpy(&header[0], kSfmMagic, 8);
    std::memcpy(&header[8], name->fileTail.data(), 12);
    std::memcpy(&header[20], name->frameName.data(), name->frameName.size());
    header[28] = 0x01;
    header[29] = 0x04;
    header[30] = 0x28;
    header[31] = 0x01;
    std::memcpy(&header[32], "QVX", 3);
    WriteBe32(&header[40], lengthFrom48);
    header[44] = 0x24;
    header[51] = 0x10;
    WriteBe32(&header[52], planeBytes);
    WriteBe32(&header[56], planeBytes);
    header[60] = 0x01;
    WriteBe16(&header[62], static_cast<uint16_t>(name->registerNumber));
    return true;
}

#if defined(__x86_64__)
namespace {
// Thirty-two bytes at a time; then as below.
__attribute__((target("avx2"))) uint32_t ChecksumAvx2(const uint8_t* from48, std::size_t size) {
    __m256i acc = _mm256_setzero_si256();
    std::size_t i = 0;
    for (; i + 32 <= size; i += 32) {
        acc = _mm256_xor_si256(acc, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from48 + i)));
    }
    alignas(32) uint8_t lanes[32];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), acc);
    uint8_t word[4] = {};
    for (int k = 0; k < 32; ++k) word[k % 4] ^= lanes[k];
    for (; i < size; ++i) word[i % 4] ^= from48[i];
    return ReadBe32(word);
}
}  // namespace
#endif

uint32_t ComputeSfmChecksum(const uint8_t* from48, std::size_t size) {
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if (avx2) return ChecksumAvx2(from48, size);
#endif
    // XOR is lane-wise, so eight bytes at a time in host order keep every
    // byte in its lane (position mod 4); the lanes are then folded and read
    // back in file order.
    uint64_t wide = 0;
    std::size_t i = 0;
    for (; i + 8 <= size; i += 8) {
        uint64_t chunk;
        std::memcpy(&chunk, from48 + i, 8);
        wide ^= chunk;
    }
    uint8_t lanes[8];
    std::memcpy(lanes, &wide, 8);
    uint8_t word[4] = {
        static_cast<uint8_t>(lanes[0] ^ lanes[4]), static_cast<uint8_t>(lanes[1] ^ lanes[5]),
        static_cast<uint8_t>(lanes[2] ^ lanes[6]), static_cast<uint8_t>(lanes[3] ^ lanes[7])};
    for (; i < size; ++i) word[i % 4] ^= from48[i];
    return ReadBe32(word);
}

PictureFrame MakeUncoveredFrame(const FrameLayout& layout) {
    PictureFrame frame;
    frame.width = layout.width;
    frame.lines = layout.frameLines();
    frame.luma.assign(std::size_t{frame.width} * frame.lines, kBlackLuma);
    frame.chroma.assign(std::size_t{frame.width} * frame.lines, kNeutralChroma);
    return frame;
}

std::vector<uint8_t> BuildSfmFile(const SfmHeader& header, const FrameLayout& layout,
                                  const PictureFrame& frame) {
    assert(frame.width == layout.width && frame.lines >= layout.frameLines());
    assert(frame.luma.size() >= std::size_t{frame.width} * frame.lines);
    assert(frame.chroma.size() >= std::size_t{frame.width} * frame.lines);
    std::vector<uint8_t> file(layout.fileSize(), 0);
    std::memcpy(file.data(), header.data(), kSfmHeaderSize);
    std::memset(&file[36], 0, 4);
    const uint16_t* planes[2] = {frame.luma.data(), frame.chroma.data()};
    for (std::size_t p = 0; p < 2; ++p) {
        uint8_t* plane = file.data() + kSfmHeaderSize + std::size_t{p} * layout.planeBytes;
        for (uint32_t line = 0; line < layout.frameLines(); ++line) {
            PackTenBit(planes[p] + std::size_t{line} * frame.width, layout.width,
                       plane + FrameLineOffset(layout, line) + layout.leadInBytes);
        }
    }
    WriteBe32(&file[36], ComputeSfmChecksum(file.data() + 48, file.size() - 48));
    return file;
}

bool WriteSfmFile(const std::string& path, const SfmHeader& header, const FrameLayout& layout,
                  const PictureFrame& frame) {
    const std::vector<uint8_t> bytes = BuildSfmFile(header, layout, frame);
    return platform::WriteWholeFile(platform::SystemOutputFiles(), path, bytes.data(),
                                    bytes.size());
}

bool DecodeSfmPicture(const std::vector<uint8_t>& file, const FrameLayout& layout,
                      PictureFrame& frame) {
    if (file.size() < layout.fileSize()) return false;
    frame = MakeUncoveredFrame(layout);
    uint16_t* planes[2] = {frame.luma.data(), frame.chroma.data()};
    for (std::size_t p = 0; p < 2; ++p) {
        const uint8_t* plane = file.data() + kSfmHeaderSize + std::size_t{p} * layout.planeBytes;
        for (uint32_t line = 0; line < frame.lines; ++line) {
            UnpackTenBit(plane + FrameLineOffset(layout, line) + layout.leadInBytes, layout.width,
                         planes[p] + std::size_t{line} * frame.width);
        }
    }
    return true;
}

}  // namespace fmconv
