# Formats each payload of the corpus twice: the second formatting must give
# the first one's text byte for byte.
#   cmake -DQEL=<qel> -DCORPUS=<dir> -DWORK=<scratch dir> -P FmtFixedPoint.cmake
file(GLOB payloads ${CORPUS}/*.payload)
if(NOT payloads)
  message(FATAL_ERROR "no payload in ${CORPUS}")
endif()
file(MAKE_DIRECTORY ${WORK})
foreach(payload IN LISTS payloads)
  get_filename_component(name ${payload} NAME)
  execute_process(COMMAND ${QEL} vtl fmt ${payload} OUTPUT_FILE ${WORK}/${name}.1
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "qel vtl fmt ${name} failed (${status})")
  endif()
  execute_process(COMMAND ${QEL} vtl fmt ${WORK}/${name}.1 OUTPUT_FILE ${WORK}/${name}.2
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "qel vtl fmt of the formatted ${name} failed (${status})")
  endif()
  file(READ ${WORK}/${name}.1 first)
  file(READ ${WORK}/${name}.2 second)
  if(NOT first STREQUAL second)
    message(FATAL_ERROR "formatting ${name} again changes it:\n${first}\n---\n${second}")
  endif()
endforeach()
