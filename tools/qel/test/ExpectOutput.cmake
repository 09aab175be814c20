# Runs qel with ARGS in DIR and compares what it prints and its exit code with
# the expectation, exactly, except that the line of a "Source: path:line"
# context is written N: it moves with every edit of the library.
#   cmake -DQEL=<qel> -DDIR=<dir> "-DARGS=a;b" -DEXPECTED=<file> -DEXIT=<code>
#         [-DINPUT=<file>] [-DPREFIX=ON] [-DMASK_TIMES=ON] -P ExpectOutput.cmake
# INPUT is given as standard input; with PREFIX the output need only begin
# with the expectation (a usage error is followed by the whole usage text);
# with MASK_TIMES a timing bracket "[   123 us]" is written "[ T us]", since
# no two runs take the same time.
set(input)
if(DEFINED INPUT)
  set(input INPUT_FILE ${INPUT})
endif()
execute_process(COMMAND ${QEL} ${ARGS} WORKING_DIRECTORY ${DIR} ${input}
  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
string(REGEX REPLACE "(Source: [^:\n]+):[0-9]+" "\\1:N" output "${output}")
if(MASK_TIMES)
  string(REGEX REPLACE "\\[ *[0-9]+ us\\]" "[ T us]" output "${output}")
endif()
file(READ ${EXPECTED} expected)
if(NOT status EQUAL EXIT)
  message(FATAL_ERROR "exit code ${status}, expected ${EXIT}; output:\n${output}")
endif()
if(PREFIX)
  string(LENGTH "${expected}" length)
  string(SUBSTRING "${output}" 0 ${length} output)
endif()
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "output differs.\n--- printed:\n${output}\n--- expected:\n${expected}")
endif()
