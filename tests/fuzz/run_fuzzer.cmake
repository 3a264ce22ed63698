# Runs one libFuzzer target for SECONDS on a working copy of its corpus and
# regressions; fails when the fuzzer finds a crash, a leak or a hang (the
# crashing input is left in WORK as crash-*, to be added to the regressions).
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/corpus")
foreach(dir IN ITEMS "${CORPUS}" "${REGRESSIONS}")
  if(EXISTS "${dir}")
    file(GLOB inputs "${dir}/*")
    if(inputs)
      file(COPY ${inputs} DESTINATION "${WORK}/corpus")
    endif()
  endif()
endforeach()
set(args -max_total_time=${SECONDS} -max_len=8192 -rss_limit_mb=2048 -timeout=10 -print_final_stats=1
    -artifact_prefix=${WORK}/)
if(DICT)
  list(APPEND args ${DICT})
endif()
execute_process(COMMAND "${FUZZER}" ${args} "${WORK}/corpus"
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(REGEX MATCHALL "stat::number_of_executed_units: [0-9]+" runs "${err}")
file(GLOB corpus "${WORK}/corpus/*")
list(LENGTH corpus n)
message(STATUS "${runs}; corpus ${n} inputs")
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "fuzzer failed (${rc}):\n${err}")
endif()
