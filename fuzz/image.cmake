# Picture readers: BMP, TGA and TIFF, each read and placed into a frame.
fmconv_fuzzer(fuzz_bmp fuzz_bmp.cpp fmconv_image)
fmconv_fuzzer(fuzz_tga fuzz_tga.cpp fmconv_image)
fmconv_fuzzer(fuzz_tiff fuzz_tiff.cpp fmconv_image)
