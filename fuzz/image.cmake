# Picture readers: BMP, TGA and TIFF, each read and placed into a frame.
#
# The fuzzers link a copy of the picture library compiled with coverage
# instrumentation, so that libFuzzer sees which branches of the readers an
# input reaches (the library itself is built without it).
get_target_property(fmconv_image_sources fmconv_image SOURCES)
add_library(fmconv_image_fuzzed STATIC ${fmconv_image_sources})
fmconv_defaults(fmconv_image_fuzzed)
target_compile_options(fmconv_image_fuzzed PRIVATE -fsanitize=fuzzer-no-link)
target_link_libraries(fmconv_image_fuzzed PUBLIC fmconv_engine)

fmconv_fuzzer(fuzz_bmp fuzz_bmp.cpp fmconv_image_fuzzed)
fmconv_fuzzer(fuzz_tga fuzz_tga.cpp fmconv_image_fuzzed)
fmconv_fuzzer(fuzz_tiff fuzz_tiff.cpp fmconv_image_fuzzed)
