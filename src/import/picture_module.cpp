// The module that holds the picture reader and, through it, the picture
// library: loaded by `fmconv import` when it runs.
#include "import/picture_library.h"

extern "C" __attribute__((visibility("default"))) const fmconv::importing::PictureReaderModule*
fmconv_picture_reader() {
    static const fmconv::importing::PictureReaderModule module{&fmconv::importing::ReadPicture};
    return &module;
}
