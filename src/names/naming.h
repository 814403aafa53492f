// The names that carry frame-memory register numbers.
//
//   FrameMemoryName   M|S + name (1..8 chars) + ".FMEM" + "_%03d" or "%04d" + ".SFM"/".SFA"
//                     e.g. MLOGO.FMEM_007.SFM, SLOGO.FMEM1012.SFM; a picture run's
//                     intermediate frames carry ".TMP" behind that.
//   RegisterFileName  "F%04d.SF1" / "F%04d.SF3"
//   RegisterListItem  RegisterFileName + "(" + inner FrameMemoryName + ")"
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace fmconv {

enum class FrameFileKind { kSfm, kSfa };
enum class RegisterKind { kSf1, kSf3 };

inline constexpr std::string_view kTempSuffix = ".TMP";

// "SFM"/"SFA", "SF1"/"SF3": the extension without its dot.
std::string_view ExtensionText(FrameFileKind kind);
std::string_view ExtensionText(RegisterKind kind);

// What a frame-memory name reads back as.
struct FrameMemoryNameParts {
    char letter = 0;         // 'M' or 'S'
    std::string frameName;   // the 1..8 characters between the letter and ".FMEM"
    int registerNumber = 0;  // the three digits before ".SFM" only (0..999)
    std::string fileTail;    // the last twelve characters, e.g. "FMEM_007.SFM"
};

// Reads a frame-memory name back from a name or a full path. A trailing
// ".TMP" (exactly so, case-sensitive) is ignored. The letter is the leftmost
// "M" or "S" eight to fifteen characters before ".FMEM" ends, so with a short
// name and a full path a capital M or S of the folder can be taken as the
// letter; that is how the switcher's files have always been read. nullopt
// when the text is not a frame-memory name.
std::optional<FrameMemoryNameParts> ReadFrameMemoryName(std::string_view text);

// "F%04d.SF1" or "F%04d.SF3".
std::string RegisterFileName(int32_t fnumber, RegisterKind kind);

// fileName + "(" + innerName + ")".
std::string RegisterListItem(std::string_view fileName, std::string_view innerName);

// A list text read apart: file = the text before the first "(" (all of it
// when there is none); inner = the text between that "(" and the following
// ")" (to the end when there is no ")"; empty when there is no "(").
struct RegisterItemParts {
    std::string_view file;
    std::string_view inner;
};
RegisterItemParts SplitRegisterListItem(std::string_view item);

// The name without its trailing ".TMP", compared ignoring case.
std::string_view StripTempSuffix(std::string_view name);

// The name of a frame-memory file as the clash tests compare it: from its
// second character (after the M/S letter) up to its first ".".
std::string_view NamePartOf(std::string_view frameMemoryName);

// A picture's frame name: its list text up to the last ".", cut to 8
// characters (bytes); a UTF-8 character that the cut would split is left out
// whole, so "abcdefg\xC3\xBC" (abcdefgü) gives "abcdefg".
std::string_view PictureBase(std::string_view item);

// The fill and key names of one picture.
struct PictureNames {
    std::string base;  // up to 8 characters
    std::string ext;   // lower-cased text after the last "."
    bool subPicture = false;
    std::string mName;  // the fill, numbered R
    std::string sName;  // the key: R for a SubPicture, R + 1 otherwise
};

// Names for the picture `item` at register number R. The template is chosen
// once from R: "_%03d" while R + 1 <= 1000, "%04d" above, so R = 999 gives a
// key ending in FMEM_1000.SFM. `temporary` appends ".TMP" to both names.
PictureNames MakePictureNames(std::string_view item, int32_t R, bool temporary);

// The highest register number a picture run may start at, by FrameFormat
// 1 to 4; -1 for none.
int32_t RegisterCeiling(int frameFormat);

}  // namespace fmconv
