# Runs `fmconv demo` into a fresh folder and checks the files of each step.
file(REMOVE_RECURSE "${OUT}")
execute_process(COMMAND "${FMCONV}" demo "${OUT}" RESULT_VARIABLE rc OUTPUT_VARIABLE out
                ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "fmconv demo exited with ${rc}:\n${out}\n${err}")
endif()
foreach(entry
    "sfm/MDEMOLOGO.FMEM_001.SFM;5188864" "sfm/SDEMOLOGO.FMEM_002.SFM;5188864"
    "sf1/F0001.SF1;5189168" "sf1/F0002.SF1;5189168"
    "sfa/MDEMOLOGO.FMEM_001.SFA;6197568" "sf3/F0002.SF3;6197872"
    "back/SDEMOLOGO.FMEM_002.SFM;5188864" "back/Channel_01.wav;9653" "back/Channel_04.wav;9653"
    "sf3/F0003.SF1;5189168" "sf3/F0004.SF1;5189168")
  list(GET entry 0 name)
  list(GET entry 1 size)
  file(SIZE "${OUT}/${name}" actual)
  if(NOT actual EQUAL size)
    message(FATAL_ERROR "${name}: ${actual} bytes, expected ${size}\n${out}")
  endif()
endforeach()
foreach(line "F0003.SF1(MDEMOLOGO.FMEM_003.SFM)" "F0002.SF3(SDEMOLOGO.FMEM_002.SFA)")
  string(FIND "${out}" "${line}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "the output does not name ${line}:\n${out}")
  endif()
endforeach()
