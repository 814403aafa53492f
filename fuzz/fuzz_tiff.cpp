// Fuzzes the TIFF reader and the placement of what it reads.
#include "fuzz_picture_common.h"
#include "image/tiff.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace fmconv;

    return fuzz::FuzzPicture(
        data, size, [](ByteSource& source) { return std::make_unique<TiffReader>(source); });
}
