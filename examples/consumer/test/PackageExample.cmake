# Configure, build and run one of the examples against the prefix that
# package_consumer installed (<build>/package-test/install). Each example
# checks its own results: a non-zero exit fails the test, with its output.
#
# Inputs (-D): QEL_BUILD_DIR, QEL_CONFIG, QEL_EXAMPLE_SOURCE_DIR,
# QEL_EXAMPLE_PROGRAM (the executable the example builds), QEL_GENERATOR,
# QEL_CXX_COMPILER, QEL_CXX_COMPILER_LAUNCHER (may be empty), QEL_CXX_FLAGS
# and QEL_EXE_LINKER_FLAGS, as PackageCommon.cmake reads them.
cmake_minimum_required(VERSION 3.25)

set(prefix ${QEL_BUILD_DIR}/package-test/install)
set(example_build ${QEL_BUILD_DIR}/package-test/examples/${QEL_EXAMPLE_PROGRAM})
if(NOT EXISTS ${prefix}/lib/cmake/qelcore/qelcoreConfig.cmake)
  message(FATAL_ERROR "no package under ${prefix}: run the package_consumer test first")
endif()
file(REMOVE_RECURSE ${example_build})

include(${CMAKE_CURRENT_LIST_DIR}/PackageCommon.cmake)
# The examples are what users copy: they must build without a warning, though
# their own CMakeLists leaves warning flags to the user.
configure_against_prefix(${QEL_EXAMPLE_SOURCE_DIR} ${example_build} ${prefix}
  "-Wall -Wextra -Werror")
run("build" ${CMAKE_COMMAND} --build ${example_build} --config ${QEL_CONFIG} -j1)

execute_process(COMMAND ${example_build}/${QEL_EXAMPLE_PROGRAM}
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${QEL_EXAMPLE_PROGRAM} exited ${result}:\n${output}\n${error}")
endif()
message(STATUS "${QEL_EXAMPLE_PROGRAM}, built against ${prefix}:\n${output}")
