# Today's picture files: 1080 PNGs read by the picture library alone and by
# ReadPicture, and a 4K picture fitted into a 1080 frame.
fmconv_bench(bench_import import_bench.cpp)
target_link_libraries(bench_import PRIVATE fmconv_import fmconv_oiio)
# The library alone, decoding the pictures named on the command line.
add_executable(decode_pictures decode_pictures.cpp)
fmconv_defaults(decode_pictures)
target_link_libraries(decode_pictures PRIVATE fmconv_oiio)
