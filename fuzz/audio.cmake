# Audio readers: WAV files into the audio set (and out again), and SFA frames
# back into SFM frames with their embedded audio taken out.
fmconv_fuzzer(fuzz_wav fuzz_wav.cpp fmconv_audio)
fmconv_fuzzer(fuzz_sfa_to_sfm fuzz_sfa_to_sfm.cpp fmconv_audio)
