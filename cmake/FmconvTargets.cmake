# Compile settings shared by every target of the project: strict warnings
# (errors in our own code) and, when asked for, the sanitizers.

set(FMCONV_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual -Wimplicit-fallthrough -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 reports overlapping copies inside std::string's own concatenation
  # at -O3 that cannot happen; the warning stays on for every other compiler.
  list(APPEND FMCONV_WARNINGS -Wno-restrict)
endif()

if(FMCONV_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()

if(FMCONV_BUILD_FUZZ)
  # Every library of a fuzzing build carries coverage instrumentation, so that
  # the fuzzers see which branches of the readers an input reaches.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

function(fmconv_defaults target)
  target_compile_options(${target} PRIVATE ${FMCONV_WARNINGS})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
endfunction()

function(fmconv_library name)
  add_library(${name} STATIC ${ARGN})
  fmconv_defaults(${name})
endfunction()
