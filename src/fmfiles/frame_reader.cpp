#include "fmfiles/frame_reader.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/bytes.h"
#include "base/file_io.h"
#include "base/text.h"
#include "fmfiles/register_file.h"

namespace fmconv {

namespace {

constexpr uint64_t kHeaderBytes = kSfmHeaderSize;
constexpr uint8_t kPictureFrameMark = 0x00;

// Where the reader takes its bytes from: the file's size, and a read of
// exactly out.size() bytes at an offset.
struct ByteReader {
    uint64_t size = 0;
    std::function<bool(uint64_t offset, std::span<uint8_t> out)> read;
};

bool IsAudioFrameMark(uint8_t byte48) {
    return byte48 == 0x80 || byte48 == 0x81 || byte48 == 0x8F;
}

const FrameLayout* LayoutOfPlane(uint32_t planeBytes) {
    for (int format = kFrameFormat480i; format <= kFrameFormat720p; ++format) {
        const FrameLayout* layout = GetFrameLayout(format);
        if (layout->planeBytes == planeBytes) return layout;
    }
    return nullptr;
}

std::string Hex8(uint32_t value) {
    return Format("%08x", value);
}

std::string Mark(std::span<const uint8_t> bytes, std::size_t at) {
    std::string text;
    for (std::size_t i = at; i < at + 4; ++i) {
        const uint8_t c = bytes[i];
        text += c >= 0x20 && c < 0x7F ? Format("%c", c) : Format("\\x%02x", c);
    }
    return text;
}

// The trailer's marks; a missing one is a problem.
void CheckTrailer(const RegisterTrailer& trailer, FrameFile& f) {
    const std::span<const uint8_t> t(trailer);
    if (std::memcmp(&trailer[kTrailerMarkerOffset], "SFM1", 4) != 0) {
        f.problems.push_back("register trailer: \"SFM1\" missing at trailer offset 256 (found \"" +
                             Mark(t, kTrailerMarkerOffset) + "\")");
    }
    if (std::memcmp(&trailer[kTrailerEndMarkerOffset], "VVVV", 4) != 0) {
        f.problems.push_back("register trailer: \"VVVV\" missing at trailer offset 300 (found \"" +
                             Mark(t, kTrailerEndMarkerOffset) + "\")");
    }
}

// Picture frames may carry either rule; frames with audio the lane sum.
FrameChecksum CheckChecksum(const std::vector<uint8_t>& frame, bool audioFrame,
                            std::vector<std::string>& problems) {
    FrameChecksum sum;
    sum.stored = ReadBe32(&frame[36]);
    const uint8_t* from48 = frame.data() + 48;
    const std::size_t size = frame.size() - 48;
    const uint32_t laneSum = ComputeByteLaneSum(from48, size);
    if (audioFrame) {
        sum.rule = ChecksumRule::kByteLaneSum;
        sum.computed = laneSum;
        sum.ok = laneSum == sum.stored;
        if (!sum.ok) {
            problems.push_back("checksum: bytes 36-39 hold " + Hex8(sum.stored) +
                               ", the frame gives " + Hex8(laneSum) + " (byte-lane sum)");
        }
        return sum;
    }
    const uint32_t wordXor = ComputeSfmChecksum(from48, size);
    sum.ok = true;
    if (wordXor == sum.stored) {
        sum.rule = ChecksumRule::kWordXor;
        sum.computed = wordXor;
    } else if (laneSum == sum.stored) {
        sum.rule = ChecksumRule::kByteLaneSum;
        sum.computed = laneSum;
    } else {
        sum.rule = ChecksumRule::kWordXor;
        sum.computed = wordXor;
        sum.ok = false;
        problems.push_back("checksum: bytes 36-39 hold " + Hex8(sum.stored) + ", the frame gives " +
                           Hex8(wordXor) + " (word XOR) or " + Hex8(laneSum) + " (byte-lane sum)");
    }
    return sum;
}

FrameFile ReadFrame(const ByteReader& in, const SfaFormatLookup& sfaFormats) {
    FrameFile f;
    f.fileBytes = in.size;
    if (in.size < kHeaderBytes) {
        f.problems.push_back(Format("not a frame file: %llu bytes, shorter than a 64-byte header",
                                    static_cast<unsigned long long>(in.size)));
        return f;
    }
    std::vector<uint8_t> header(kHeaderBytes);
    if (!in.read(0, header)) {
        f.problems.push_back("the header could not be read");
        return f;
    }
    if (std::memcmp(header.data(), kSfmMagic, 8) != 0) {
        f.problems.push_back("not a frame file: it does not begin with \"QVX 0001\"");
        return f;
    }
    const uint8_t content = header[48];
    const bool audioFrame = IsAudioFrameMark(content);
    if (!audioFrame && content != kPictureFrameMark) {
        f.problems.push_back(
            Format("not a frame file: byte 48 holds 0x%02x, neither a picture frame (0x00) nor "
                   "a frame with audio (0x80, 0x81, 0x8F)",
                   content));
        return f;
    }

    // Bytes 40-43 count from offset 48 to the end of the frame.
    const uint64_t declaredFrame = 48 + uint64_t{ReadBe32(&header[40])};
    const uint32_t plane = ReadBe32(&header[52]);
    const uint32_t plane2 = ReadBe32(&header[56]);

    // A trailer is there when either mark is, or when the file is exactly
    // one trailer longer than its header says.
    bool hasTrailer = false;
    RegisterTrailer trailer{};
    if (in.size >= kHeaderBytes + kRegisterTrailerSize &&
        in.read(in.size - kRegisterTrailerSize, trailer)) {
        hasTrailer = std::memcmp(&trailer[kTrailerMarkerOffset], "SFM1", 4) == 0 ||
                     std::memcmp(&trailer[kTrailerEndMarkerOffset], "VVVV", 4) == 0 ||
                     in.size == declaredFrame + kRegisterTrailerSize;
    }
    if (audioFrame) {
        f.kind = hasTrailer ? FrameFileKind::kSf3 : FrameFileKind::kSfa;
    } else {
        f.kind = hasTrailer ? FrameFileKind::kSf1 : FrameFileKind::kSfm;
    }
    const uint64_t frameBytes = in.size - (hasTrailer ? kRegisterTrailerSize : 0);

    // The format, and the frame size it gives.
    std::optional<uint64_t> expected;
    if (audioFrame) {
        const uint8_t code = header[49];
        const std::optional<SfaFormat> format = sfaFormats ? sfaFormats(code) : std::nullopt;
        if (!format) {
            f.problems.push_back(Format("unknown signal format: code %u at byte 49", code));
        } else {
            f.format = format->name;
            f.signalFormat = code;
            expected = kHeaderBytes + 2 * uint64_t{format->planeBytes};
            if (plane != format->planeBytes) {
                f.problems.push_back(Format("plane size %u at byte 52 is not the %u bytes of %s",
                                            plane, format->planeBytes, format->name.c_str()));
            }
        }
    } else {
        f.layout = LayoutOfPlane(plane);
        if (f.layout == nullptr) {
            f.problems.push_back(Format(
                "unknown picture format: a plane of %u bytes (byte 52) fits no SFM layout", plane));
        } else {
            f.format = f.layout->selection;
            expected = f.layout->fileSize();
        }
    }
    if (plane2 != plane) {
        f.problems.push_back(
            Format("plane sizes differ: %u at byte 52, %u at byte 56", plane, plane2));
    }
    const uint64_t target = expected.value_or(declaredFrame);
    if (expected && declaredFrame != *expected) {
        f.problems.push_back(
            Format("bytes 40-43 give %llu bytes from offset 48; the format's frame has %llu",
                   static_cast<unsigned long long>(declaredFrame - 48),
                   static_cast<unsigned long long>(*expected - 48)));
    }
    if (frameBytes != target) {
        f.problems.push_back(Format("size: the frame has %llu bytes, the file holds %llu%s",
                                    static_cast<unsigned long long>(target),
                                    static_cast<unsigned long long>(frameBytes),
                                    hasTrailer ? " before its trailer" : ""));
    }

    // The frame's bytes: what its geometry needs and the file holds.
    const uint64_t need = std::max(kHeaderBytes, std::min(target, kLargestFrameBytes));
    f.frame.resize(static_cast<std::size_t>(std::min(need, frameBytes)));
    if (!in.read(0, f.frame)) {
        f.frame.clear();
        f.problems.push_back("the frame could not be read");
        return f;
    }
    f.complete = expected && f.frame.size() == *expected;
    f.checksum = CheckChecksum(f.frame, audioFrame, f.problems);

    if (hasTrailer) {
        f.innerName = TrailerInnerName(trailer);
        CheckTrailer(trailer, f);
    }
    return f;
}

}  // namespace

const char* FrameFileKindName(FrameFileKind kind) {
    switch (kind) {
        case FrameFileKind::kSfm:
            return "SFM";
        case FrameFileKind::kSfa:
            return "SFA";
        case FrameFileKind::kSf1:
            return "SF1";
        case FrameFileKind::kSf3:
            return "SF3";
        case FrameFileKind::kNone:
            break;
    }
    return "";
}

const char* ChecksumRuleName(ChecksumRule rule) {
    return rule == ChecksumRule::kWordXor ? "word-xor" : "byte-lane-sum";
}

uint32_t ComputeByteLaneSum(const uint8_t* from48, std::size_t size) {
    uint32_t lanes[4] = {};
    std::size_t i = 0;
    for (; i + 4 <= size; i += 4) {
        lanes[0] += from48[i];
        lanes[1] += from48[i + 1];
        lanes[2] += from48[i + 2];
        lanes[3] += from48[i + 3];
    }
    for (; i < size; ++i) lanes[i % 4] += from48[i];
    return (lanes[0] & 0xFF) << 24 | (lanes[1] & 0xFF) << 16 | (lanes[2] & 0xFF) << 8 |
           (lanes[3] & 0xFF);
}

FrameFile ReadFrameFile(const std::string& path, const SfaFormatLookup& sfaFormats) {
    const FilePtr file = OpenFile(path, "rb");
    if (!file) {
        FrameFile f;
        f.problems.push_back("cannot open the file");
        return f;
    }
    ByteReader in;
    if (std::fseek(file.get(), 0, SEEK_END) != 0) {
        FrameFile f;
        f.problems.push_back("cannot read the file's size");
        return f;
    }
    const long size = std::ftell(file.get());
    if (size < 0) {
        FrameFile f;
        f.problems.push_back("cannot read the file's size");
        return f;
    }
    in.size = static_cast<uint64_t>(size);
    in.read = [&file](uint64_t offset, std::span<uint8_t> out) {
        return std::fseek(file.get(), static_cast<long>(offset), SEEK_SET) == 0 &&
               std::fread(out.data(), 1, out.size(), file.get()) == out.size();
    };
    return ReadFrame(in, sfaFormats);
}

FrameFile ReadFrameBytes(std::span<const uint8_t> bytes, const SfaFormatLookup& sfaFormats) {
    ByteReader in;
    in.size = bytes.size();
    in.read = [bytes](uint64_t offset, std::span<uint8_t> out) {
        if (offset > bytes.size() || bytes.size() - offset < out.size()) return false;
        if (!out.empty()) std::memcpy(out.data(), bytes.data() + offset, out.size());
        return true;
    };
    return ReadFrame(in, sfaFormats);
}

}  // namespace fmconv
