# Install the build tree into <build>/package-test/install, then configure,
# build and run examples/consumer against that prefix alone.
#
# Inputs (-D): QEL_BUILD_DIR, QEL_CONFIG, QEL_CONSUMER_SOURCE_DIR,
# QEL_GENERATOR, QEL_CXX_COMPILER, QEL_CXX_COMPILER_LAUNCHER (may be empty),
# QEL_CXX_FLAGS and QEL_EXE_LINKER_FLAGS (a sanitizer build's flags must reach
# the consumer too, or its link misses the sanitizer runtime).
cmake_minimum_required(VERSION 3.25)

set(work ${QEL_BUILD_DIR}/package-test)
set(prefix ${work}/install)
set(consumer_build ${work}/consumer)

# Start from nothing, so that a file dropped from the install rules cannot be
# covered by one left over from an earlier run.
file(REMOVE_RECURSE ${work})

function(run step)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${step} failed (${result}):\n${output}")
  endif()
endfunction()

run("install" ${CMAKE_COMMAND} --install ${QEL_BUILD_DIR} --config ${QEL_CONFIG}
  --prefix ${prefix})

# Nothing but the prefix may satisfy find_package: no package registry, and
# no system-wide qelcore.
set(launcher)
if(QEL_CXX_COMPILER_LAUNCHER)
  set(launcher -DCMAKE_CXX_COMPILER_LAUNCHER=${QEL_CXX_COMPILER_LAUNCHER})
endif()
run("configure" ${CMAKE_COMMAND} -S ${QEL_CONSUMER_SOURCE_DIR} -B ${consumer_build}
  -G ${QEL_GENERATOR}
  -DCMAKE_BUILD_TYPE=${QEL_CONFIG}
  -DCMAKE_CXX_COMPILER=${QEL_CXX_COMPILER}
  "-DCMAKE_CXX_FLAGS=${QEL_CXX_FLAGS}"
  "-DCMAKE_EXE_LINKER_FLAGS=${QEL_EXE_LINKER_FLAGS}"
  ${launcher}
  -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
  -DCMAKE_FIND_USE_SYSTEM_PACKAGE_REGISTRY=OFF)

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
