# Install the build tree into <build>/package-test/install, then configure,
# build and run examples/consumer against that prefix alone.
#
# Inputs (-D): QEL_BUILD_DIR, QEL_CONFIG, QEL_CONSUMER_SOURCE_DIR,
# and what PackageCommon.cmake reads.
cmake_minimum_required(VERSION 3.25)

set(work ${QEL_BUILD_DIR}/package-test)
set(prefix ${work}/install)
set(consumer_build ${work}/consumer)

# Start from nothing, so that a file dropped from the install rules cannot be
# covered by one left over from an earlier run.
file(REMOVE_RECURSE ${work})

include(${CMAKE_CURRENT_LIST_DIR}/PackageCommon.cmake)

run("install" ${CMAKE_COMMAND} --install ${QEL_BUILD_DIR} --config ${QEL_CONFIG}
  --prefix ${prefix})

configure_against_prefix(${QEL_CONSUMER_SOURCE_DIR} ${consumer_build} ${prefix} "")

file(STRINGS ${consumer_build}/CMakeCache.txt found REGEX "^qelcore_DIR:")
string(REGEX REPLACE "^qelcore_DIR:[A-Z]+=" "" found "${found}")
cmake_path(IS_PREFIX prefix "${found}" NORMALIZE inside)
if(NOT inside)
  message(FATAL_ERROR "the consumer found qelcore at '${found}', not under ${prefix}")
endif()

run("build" ${CMAKE_COMMAND} --build ${consumer_build} --config ${QEL_CONFIG} -j1)

execute_process(COMMAND ${consumer_build}/qelcore_consumer
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
if(NOT result EQUAL 0 OR NOT output STREQUAL "42\n")
  message(FATAL_ERROR
    "qelcore_consumer exited ${result} printing '${output}' (expected '42'):\n${error}")
endif()
message(STATUS "qelcore_consumer printed 42 using only ${prefix}")
