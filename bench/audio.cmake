# SFA frames: a 1080i/59.94 SFA with 16 channels written from an SFM, next to a
# plain write of the same number of bytes; the frame built in memory; and the
# way back to an SFM frame with the audio taken out.
fmconv_bench(bench_sfa sfa_bench.cpp)
target_link_libraries(bench_sfa PRIVATE fmconv_audio)
