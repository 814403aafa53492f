// The picture library alone: decodes every picture named on the command line
// to 8-bit samples, one after another, as the peer of `fmconv import` in
// bench/compare.sh. Prints nothing; exit 1 when a picture cannot be read.
#include <OpenImageIO/imageio.h>

#include <vector>

int main(int argc, char** argv) {
    std::vector<unsigned char> pixels;
    for (int i = 1; i < argc; ++i) {
        const auto in = OIIO::ImageInput::open(argv[i]);
        if (!in) return 1;
        const OIIO::ImageSpec& spec = in->spec();
        pixels.resize(static_cast<std::size_t>(spec.image_bytes(true)));
        if (!in->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::UINT8, pixels.data())) return 1;
    }
    return 0;
}
