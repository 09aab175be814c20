# A run's result written to OUT reads back as the same store, in both forms:
# PROGRAM runs over STORE to a JSON file and to a binary file (which begins
# with the protocol version, 01 00, and holds the bytes --binary prints to
# standard output); each file then goes through NOTHING, a program that
# writes nothing, the binary one also from standard input. Every JSON printed
# or written is EXPECTED exactly.
#   cmake -DQEL=<qel> -DDIR=<dir> -DPROGRAM=<vtl> -DSTORE=<json> -DNOTHING=<vtl>
#         -DEXPECTED=<file> -DWORK=<scratch dir> -P RunRoundTrip.cmake
file(MAKE_DIRECTORY ${WORK})
file(READ ${EXPECTED} expected)

# qel run ARGS... [INPUT file] [OUTPUT file] [PRINTS]: must succeed; with
# PRINTS, what it prints must be EXPECTED.
function(qel_run)
  cmake_parse_arguments(RUN "PRINTS" "INPUT;OUTPUT" "" ${ARGN})
  set(redirect)
  if(RUN_INPUT)
    list(APPEND redirect INPUT_FILE ${RUN_INPUT})
  endif()
  if(RUN_OUTPUT)
    list(APPEND redirect OUTPUT_FILE ${RUN_OUTPUT})
  else()
    list(APPEND redirect OUTPUT_VARIABLE output)
  endif()
  execute_process(COMMAND ${QEL} run ${RUN_UNPARSED_ARGUMENTS} WORKING_DIRECTORY ${DIR}
    ${redirect} ERROR_VARIABLE error RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "qel run ${RUN_UNPARSED_ARGUMENTS}: exit code ${status}\n${error}")
  endif()
  if(RUN_PRINTS AND NOT output STREQUAL expected)
    message(FATAL_ERROR "qel run ${RUN_UNPARSED_ARGUMENTS} printed:\n${output}")
  endif()
endfunction()

qel_run(${PROGRAM} ${STORE} -o ${WORK}/result.json)
file(READ ${WORK}/result.json written)
if(NOT written STREQUAL expected)
  message(FATAL_ERROR "-o wrote:\n${written}")
endif()
qel_run(${NOTHING} ${WORK}/result.json PRINTS)

qel_run(${PROGRAM} ${STORE} --binary -o ${WORK}/result.bin)
qel_run(${PROGRAM} ${STORE} --binary OUTPUT ${WORK}/printed.bin)
file(READ ${WORK}/result.bin binary HEX)
file(READ ${WORK}/printed.bin printed HEX)
if(NOT binary STREQUAL printed)
  message(FATAL_ERROR "--binary prints other bytes than it writes with -o")
endif()
string(SUBSTRING "${binary}" 0 4 version)
if(NOT version STREQUAL "0100")
  message(FATAL_ERROR "the binary result begins with ${version}, not the version 0100")
endif()
qel_run(${NOTHING} ${WORK}/result.bin PRINTS)
qel_run(${NOTHING} - INPUT ${WORK}/result.bin PRINTS)
