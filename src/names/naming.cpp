#include "names/naming.h"

#include "base/text.h"

namespace fmconv {

std::string_view ExtensionText(FrameFileKind kind) {
    return kind == FrameFileKind::kSfm ? "SFM" : "SFA";
}

std::string_view ExtensionText(RegisterKind kind) {
    return kind == RegisterKind::kSf1 ? "SF1" : "SF3";
}

namespace {
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
}  // namespace

std::optional<FrameMemoryNameParts> ReadFrameMemoryName(std::string_view text) {
    const std::size_t dot = text.rfind('.');
    if (dot != std::string_view::npos && text.substr(dot) == kTempSuffix) {
        text = text.substr(0, dot);
    }
    const std::size_t L = text.size();
    if (L < 13) return std::nullopt;
    if (text.substr(L - 13, 5) != ".FMEM" || text.substr(L - 4) != ".SFM") return std::nullopt;
    if (!IsDigit(text[L - 7]) || !IsDigit(text[L - 6]) || !IsDigit(text[L - 5])) {
        return std::nullopt;
    }
    FrameMemoryNameParts parts;
    parts.registerNumber =
        (text[L - 7] - '0') * 100 + (text[L - 6] - '0') * 10 + (text[L - 5] - '0');
    parts.fileTail = std::string(text.substr(L - 12));
    const std::size_t first = L >= 22 ? L - 22 : 0;
    for (std::size_t i = first; i + 15 <= L; ++i) {
        if (text[i] == 'M' || text[i] == 'S') {
            parts.letter = text[i];
            parts.frameName = std::string(text.substr(i + 1, (L - 13) - (i + 1)));
            return parts;
        }
    }
    return std::nullopt;
}

std::string RegisterFileName(int32_t fnumber, RegisterKind kind) {
    return Format("F%04d.", fnumber) + std::string(ExtensionText(kind));
}

std::string RegisterListItem(std::string_view fileName, std::string_view innerName) {
    std::string item(fileName);
    item += '(';
    item += innerName;
    item += ')';
    return item;
}

RegisterItemParts SplitRegisterListItem(std::string_view item) {
    const std::size_t open = item.find('(');
    if (open == std::string_view::npos) return {item, {}};
    const std::size_t close = item.find(')', open + 1);
    const std::size_t innerEnd = close == std::string_view::npos ? item.size() : close;
    return {item.substr(0, open), item.substr(open + 1, innerEnd - open - 1)};
}

std::string_view StripTempSuffix(std::string_view name) {
    return EndsWithIgnoreCase(name, kTempSuffix) ? name.substr(0, name.size() - kTempSuffix.size())
                                                 : name;
}

std::string_view NamePartOf(std::string_view frameMemoryName) {
    if (frameMemoryName.size() < 2) return {};
    const std::string_view rest = frameMemoryName.substr(1);
    return rest.substr(0, rest.find('.'));
}

namespace {
// The first n bytes, one sequence fewer when they would end inside a UTF-8
// sequence of a name in UTF-8 (a name in a single-byte code page is cut
// where it is).
std::string_view FirstCharsWhole(std::string_view text, std::size_t n) {
    if (text.size() <= n) return text;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if ((byte(n) & 0xC0) != 0x80) return text.substr(0, n);  // not inside a sequence
    for (std::size_t lead = n; lead-- > 0 && n - lead < 4;) {
        const unsigned char b = byte(lead);
        if ((b & 0xC0) == 0x80) continue;
        const std::size_t length = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 1;
        bool whole = lead + length <= text.size();
        for (std::size_t k = lead + 1; whole && k < lead + length; ++k) {
            whole = (byte(k) & 0xC0) == 0x80;
        }
        return whole && lead + length > n ? text.substr(0, lead) : text.substr(0, n);
    }
    return text.substr(0, n);
}
}  // namespace

std::string_view PictureBase(std::string_view item) {
    return FirstCharsWhole(StemOf(item), 8);
}

PictureNames MakePictureNames(std::string_view item, int32_t R, bool temporary) {
    PictureNames names;
    names.base = std::string(PictureBase(item));
    names.ext = ToLowerAscii(ExtensionOf(item));
    const std::string_view stem = StemOf(item);
    names.subPicture = names.ext == "bmp" && EqualsIgnoreCase(LastChars(stem, 3), "sub");
    const int32_t keyNumber = names.subPicture ? R : R + 1;
    const bool threeDigits = static_cast<int64_t>(R) + 1 <= 1000;
    const char* number = threeDigits ? ".FMEM_%03d.SFM" : ".FMEM%04d.SFM";
    names.mName = "M" + names.base + Format(number, R);
    names.sName = "S" + names.base + Format(number, keyNumber);
    if (temporary) {
        names.mName += kTempSuffix;
        names.sName += kTempSuffix;
    }
    return names;
}

int32_t RegisterCeiling(int frameFormat) {
    switch (frameFormat) {
        case 1:
            return 5665;
        case 2:
            return 4786;
        case 3:
            return 1031;
        case 4:
            return 2323;
        default:
            return -1;
    }
}

}  // namespace fmconv
