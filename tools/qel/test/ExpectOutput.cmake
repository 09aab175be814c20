# Runs qel with ARGS in DIR and compares what it prints and its exit code with
# the expectation, exactly, except that the line of a "Source: path:line"
# context is written N: it moves with every edit of the library.
#   cmake -DQEL=<qel> -DDIR=<dir> "-DARGS=a;b" -DEXPECTED=<file> -DEXIT=<code>
#         -P ExpectOutput.cmake
execute_process(COMMAND ${QEL} ${ARGS} WORKING_DIRECTORY ${DIR}
  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
string(REGEX REPLACE "(Source: [^:\n]+):[0-9]+" "\\1:N" output "${output}")
file(READ ${EXPECTED} expected)
if(NOT status EQUAL EXIT)
  message(FATAL_ERROR "exit code ${status}, expected ${EXIT}; output:\n${output}")
endif()
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "output differs.\n--- printed:\n${output}\n--- expected:\n${expected}")
endif()
