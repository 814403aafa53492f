// Moving frames between per-name files (SFM, SFA) and register files (SF1,
// SF3) without touching the picture: packing, unpacking and renumbering.
//
// Each routine answers with the text for the destination list, with "HDD
// memory is not sufficient!" (nothing written), or with an empty text
// (nothing written: the source could not be read, or a name read from it
// would lead out of the destination folder). A copy that fails on the
// destination's side (it cannot be created, the disk is full, the trailer
// cannot be written) is an outcome of its own: the run shows "Destination
// file write error [%s]" with the target and ends. A register file reaches
// its name only whole.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "fmfiles/conversion_context.h"
#include "names/naming.h"

namespace fmconv {

struct ContainerResult {
    std::string text;
    // The whole-file copy failed; the path it was copying to.
    std::optional<std::string> copyFailedTarget;
    // The register number was above 9999: the run shows "Cannot create
    // register number." and then treats the empty text as any failure.
    bool registerNumberRefused = false;
};

enum class PackVariant {
    kPlain,      // SFM -> SF1, SFA -> SF3: refuses FNumber 10000 and above
    kTemporary,  // a picture run's ".TMP" frame -> SF1: no number test, ".TMP" left out of the name
};

// SFM -> SF1 (kind kSf1) or SFA -> SF3 (kind kSf3) under "F%04d": the file
// copied as it is, then the trailer holding its name. SF1 answers the bare
// register file name (F0007.SF1), SF3 the full list item
// (F0007.SF3(MLOGO.FMEM_007.SFA)).
ContainerResult PackRegisterFile(const std::string& sourceDir, const std::string& sourceName,
                                 const std::string& destDir, int32_t fnumber, RegisterKind kind,
                                 PackVariant variant, ConversionContext& ctx);

enum class UnpackVariant {
    kTrailer,   // SF1 -> SFM: the source is a file name, the output name comes from its trailer
    kListItem,  // SF3 -> SFA: the source is a list item, the output name is the item's inner name
};

// SF1 -> SFM or SF3 -> SFA: the register file copied and cut by its 304
// trailer bytes. Answers the output name.
ContainerResult UnpackRegisterFile(const std::string& sourceDir, const std::string& source,
                                   const std::string& destDir, UnpackVariant variant,
                                   ConversionContext& ctx);

// The renumbering copy of a register file given by its list item: a new
// FNumber for the file and the inner name, a new trailer; the embedded frame
// (and the number in its own header) stays as it was. Answers the new list
// item, e.g. F0012.SF1(MLOGO.FMEM_012.SFM).
ContainerResult RenumberRegisterFile(const std::string& sourceDir, const std::string& item,
                                     const std::string& destDir, int32_t fnumber,
                                     ConversionContext& ctx);

}  // namespace fmconv
