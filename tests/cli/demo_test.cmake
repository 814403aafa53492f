# Runs `fmconv demo` into a fresh folder and checks the files it names: four
# uncovered frames, its own TGA picture with alpha, and that picture's fill
# and key frames at 1080.
file(REMOVE_RECURSE "${OUT}")
execute_process(COMMAND "${FMCONV}" demo "${OUT}" RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "fmconv demo exited with ${rc}")
endif()
foreach(entry "MBLK480I.FMEM_001.SFM;942784" "MBLK576I.FMEM_002.SFM;1111744"
              "MBLK1080.FMEM_003.SFM;5188864" "MBLK720P.FMEM_004.SFM;2307264"
              "DEMOLOGO.tga;259218" "MDEMOLOGO.FMEM_005.SFM;5188864"
              "SDEMOLOGO.FMEM_006.SFM;5188864")
  list(GET entry 0 name)
  list(GET entry 1 size)
  file(SIZE "${OUT}/${name}" actual)
  if(NOT actual EQUAL size)
    message(FATAL_ERROR "${name}: ${actual} bytes, expected ${size}")
  endif()
  string(FIND "${out}" "${name}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "output does not name ${name}:\n${out}")
  endif()
endforeach()

# Samples packed four to five bytes. 1080 lines have no lead-in; line 136 is
# the 69th line of field 1 (offset 64 + 68 * 2400); the chroma plane starts
# at 64 + 2594400. Y 940 (white bar, alpha 255), 504 (ramp, alpha 128), 250
# (red bar, at column 228), 64 (beyond the picture, at column 360), chroma
# 512 (white).
foreach(entry "MDEMOLOGO.FMEM_005.SFM;64;eb3aceb3ac"
              "MDEMOLOGO.FMEM_005.SFM;349;3e8fa3e8fa"
              "MDEMOLOGO.FMEM_005.SFM;2594464;8020080200"
              "SDEMOLOGO.FMEM_006.SFM;64;eb3aceb3ac"
              "SDEMOLOGO.FMEM_006.SFM;163264;7e1f87e1f8"
              "SDEMOLOGO.FMEM_006.SFM;514;1004010040")
  list(GET entry 0 name)
  list(GET entry 1 offset)
  list(GET entry 2 expected)
  file(READ "${OUT}/${name}" bytes OFFSET ${offset} LIMIT 5 HEX)
  if(NOT bytes STREQUAL expected)
    message(FATAL_ERROR "${name} at ${offset}: ${bytes}, expected ${expected}")
  endif()
endforeach()
if(NOT out MATCHES "fseek RGB = 18")
  message(FATAL_ERROR "output does not show the reader's trace line:\n${out}")
endif()
