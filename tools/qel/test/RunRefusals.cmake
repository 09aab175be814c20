# Runs `qel run` once per case, in DIR, and compares all it prints, case after
# case, with EXPECTED exactly (a "Source: path:line" context written with N
# for the line, as in ExpectOutput.cmake). Every case must fail with exit code
# 1, and UNWRITTEN, an OUT some case names, must not exist afterwards: a
# refused run writes nothing.
#   cmake -DQEL=<qel> -DDIR=<dir> "-DCASES=prog,store;prog,store,-o,out"
#         -DEXPECTED=<file> -DUNWRITTEN=<file> -P RunRefusals.cmake
file(REMOVE ${UNWRITTEN})
set(all)
foreach(case IN LISTS CASES)
  string(REPLACE "," ";" args "${case}")
  execute_process(COMMAND ${QEL} run ${args} WORKING_DIRECTORY ${DIR}
    OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
  if(NOT status EQUAL 1)
    message(FATAL_ERROR "qel run ${args}: exit code ${status}, expected 1; output:\n${output}")
  endif()
  string(APPEND all "${output}")
endforeach()
string(REGEX REPLACE "(Source: [^:\n]+):[0-9]+" "\\1:N" all "${all}")
file(READ ${EXPECTED} expected)
if(NOT all STREQUAL expected)
  message(FATAL_ERROR "output differs.\n--- printed:\n${all}\n--- expected:\n${expected}")
endif()
if(EXISTS ${UNWRITTEN})
  message(FATAL_ERROR "a refused run wrote ${UNWRITTEN}")
endif()
