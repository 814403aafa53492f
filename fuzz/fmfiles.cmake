# Frame files as inspect and preview read them: SFM, SFA, SF1 and SF3 by
# content, with the audio census and the picture decode.
fmconv_fuzzer(fuzz_frame_reader fuzz_frame_reader.cpp fmconv_audio)
