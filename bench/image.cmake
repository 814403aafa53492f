# Picture conversion: a 1080 TGA with alpha into fill and key frames.
fmconv_bench(bench_picture picture_bench.cpp)
target_link_libraries(bench_picture PRIVATE fmconv_image)
