# Today's picture files through the picture library: read, then fitted. The
# library itself is a shared library built without instrumentation; the
# sanitizers' runtime still watches its memory allocations.
fmconv_fuzzer(fuzz_import_reader fuzz_import_reader.cpp fmconv_import)
