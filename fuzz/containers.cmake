# Register trailers on every path that reads them (scans, unpacking,
# renumbering, the SFA writers and the audio-extracting conversions), and
# the settings file.
# Each input may build frames of a whole signal format: a shorter smoke run.
set(fuzz_register_trailer_SMOKE_RUNS 300)
fmconv_fuzzer(fuzz_register_trailer fuzz_register_trailer.cpp fmconv_run)
fmconv_fuzzer(fuzz_settings fuzz_settings.cpp fmconv_platform)
