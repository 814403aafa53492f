#include "image/tiff.h"

#include <algorithm>

namespace fmconv {

namespace {

// Once this many bytes are behind it, the reader has passed every strip end
// (1080 strips of at most 2^32 bytes); the count stops growing there.
constexpr uint64_t kBeyondEveryStrip = uint64_t{1} << 62;

enum : uint16_t {
    kTagImageWidth = 256,
    kTagImageLength = 257,
    kTagBitsPerSample = 258,
    kTagCompression = 259,
    kTagPhotometric = 262,
    kTagStripOffsets = 273,
    kTagSamplesPerPixel = 277,
    kTagRowsPerStrip = 278,
    kTagStripByteCounts = 279,
};
constexpr uint16_t kTypeLong = 4;

}  // namespace

void TiffStripReader::NextStrip(ByteSource& source) {
    const bool inTable = nextStrip_ < kTableEntries;
    source.Seek(inTable ? offsets[nextStrip_] : 0);
    stripEnd_ += inTable ? byteCounts[nextStrip_] : 0;
    if (inTable) ++nextStrip_;
}

void TiffStripReader::Skip(ByteSource& source, uint64_t count) {
    while (count > 0) {
        if (bytesRead_ == stripEnd_) NextStrip(source);
        // Up to the strip end the bytes lie one after another in the file.
        // An end already passed (a strip of 0 bytes, the terminator) is never
        // met again, so everything from here on is one run.
        const uint64_t run = stripEnd_ > bytesRead_ ? stripEnd_ - bytesRead_ : count;
        const uint64_t take = std::min(count, run);
        source.Skip(take);
        bytesRead_ = std::min(SaturatingAdd(bytesRead_, take), kBeyondEveryStrip);
        count -= take;
    }
}

uint32_t TiffReader::ReadNumber(unsigned bytes) {
    uint32_t value = 0;
    for (unsigned i = 0; i < bytes; ++i) {
        const uint32_t b = AsPixelByte(source_.ReadByte());
        value = bigEndian_ ? value << 8 | b : value | b << (8 * i);
    }
    return value;
}

void TiffReader::ReadStripTable(std::array<uint32_t, TiffStripReader::kTableEntries>& table,
                                uint16_t type, uint32_t count, const uint8_t* field) {
    if (count == 1) {
        table[0] = type == kTypeLong ? Read32At(field) : Read16At(field);
        table[1] = 0;
        return;
    }
    source_.Seek(Read32At(field));
    const std::size_t n = std::min<std::size_t>(count, TiffStripReader::kMaxStrips);
    for (std::size_t i = 0; i < n; ++i) table[i] = ReadNumber(type == kTypeLong ? 4 : 2);
    table[n] = 0;
}

std::string_view TiffReader::ReadHeader() {
    // Byte order mark, version, first directory offset. A shorter file
    // leaves the rest zero.
    uint8_t header[8] = {};
    source_.Read(header, sizeof header);
    if (header[0] == 'I' && header[1] == 'I') {
        bigEndian_ = false;
    } else if (header[0] == 'M' && header[1] == 'M') {
        bigEndian_ = true;
    } else {
        return "byte order is not II or MM";
    }
    // The version number 42 is not checked. Only the first directory is used.
    source_.Seek(Read32At(&header[4]));
    const uint32_t entryCount = ReadNumber(2);
    if (entryCount > kMaxDirectoryEntries) return "directory too large";
    // Entries a short file does not hold stay zero: tag 0, ignored.
    std::vector<uint8_t> entries(std::size_t{entryCount} * 12, 0);
    source_.Read(entries.data(), entries.size());

    uint32_t samplesPerPixel = 0;
    bool haveOffsets = false;
    bool haveByteCounts = false;
    for (std::size_t at = 0; at < entries.size(); at += 12) {
        const uint8_t* entry = &entries[at];
        const uint16_t tag = static_cast<uint16_t>(Read16At(entry));
        const uint16_t type = static_cast<uint16_t>(Read16At(entry + 2));
        const uint32_t count = Read32At(entry + 4);
        const uint8_t* field = entry + 8;
        // LONG values fill the field; every other type is read as a SHORT.
        const uint32_t value = type == kTypeLong ? Read32At(field) : Read16At(field);
        switch (tag) {
            case kTagImageWidth:
                info_.width = value;
                break;
            case kTagImageLength:
                info_.height = value;
                break;
            case kTagBitsPerSample:
                // Only the first sample's size is read.
                if (count != 3 && count != 4) return "BitsPerSample count is not 3 or 4";
                source_.Seek(Read32At(field));
                if (ReadNumber(type == kTypeLong ? 4 : 2) != 8) return "BitsPerSample is not 8";
                break;
            case kTagCompression:
                if (value != 1) return "compressed";
                break;
            case kTagPhotometric:
                if (value != 2) return "not RGB";
                break;
            case kTagStripOffsets:
                ReadStripTable(strips_.offsets, type, count, field);
                haveOffsets = true;
                break;
            case kTagSamplesPerPixel:
                if (value != 3 && value != 4) return "SamplesPerPixel is not 3 or 4";
                samplesPerPixel = value;
                break;
            case kTagRowsPerStrip:
                // Big-endian files take the strip height as the picture
                // height; little-endian files ignore the tag.
                if (bigEndian_) info_.height = value;
                break;
            case kTagStripByteCounts:
                ReadStripTable(strips_.byteCounts, type, count, field);
                haveByteCounts = true;
                break;
            default:
                break;
        }
    }
    if (!haveOffsets || !haveByteCounts) return "no strip tables";
    // Without a SamplesPerPixel entry the picture is read as four samples
    // per pixel, with alpha.
    info_.bytesPerPixel = samplesPerPixel == 3 ? 3 : 4;
    info_.firstRowIsTop = true;
    return {};
}

void TiffReader::MoveTo(uint64_t row, uint64_t column) {
    const uint64_t pixel = SaturatingAdd(SaturatingMul(row, info_.width), column);
    const uint64_t target = SaturatingMul(pixel, info_.bytesPerPixel);
    if (target > strips_.bytesRead()) strips_.Skip(source_, target - strips_.bytesRead());
}

void TiffReader::Read(Pixel* pixels, std::size_t count) {
    const bool alpha = info_.bytesPerPixel == 4;
    for (Pixel* p = pixels; p != pixels + count; ++p) {
        p->r = AsPixelByte(strips_.NextByte(source_));
        p->g = AsPixelByte(strips_.NextByte(source_));
        p->b = AsPixelByte(strips_.NextByte(source_));
        if (alpha) p->a = AsPixelByte(strips_.NextByte(source_));
    }
}

}  // namespace fmconv
