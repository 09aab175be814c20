# What the package tests share: a step that must succeed, and the configure of
# a project against the installed prefix alone. Reads QEL_GENERATOR,
# QEL_CONFIG, QEL_CXX_COMPILER, QEL_CXX_COMPILER_LAUNCHER (may be empty),
# QEL_CXX_FLAGS and QEL_EXE_LINKER_FLAGS (a sanitizer build's flags must reach
# the project too, or its link misses the sanitizer runtime).

function(run step)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${step} failed (${result}):\n${output}")
  endif()
endfunction()

# Nothing but `prefix` may satisfy find_package: no package registry, and no
# system-wide qelcore. `extra_cxx_flags` go after the build's own.
function(configure_against_prefix source build prefix extra_cxx_flags)
  set(launcher)
  if(QEL_CXX_COMPILER_LAUNCHER)
    set(launcher -DCMAKE_CXX_COMPILER_LAUNCHER=${QEL_CXX_COMPILER_LAUNCHER})
  endif()
  run("configure" ${CMAKE_COMMAND} -S ${source} -B ${build}
    -G ${QEL_GENERATOR}
    -DCMAKE_BUILD_TYPE=${QEL_CONFIG}
    -DCMAKE_CXX_COMPILER=${QEL_CXX_COMPILER}
    "-DCMAKE_CXX_FLAGS=${QEL_CXX_FLAGS} ${extra_cxx_flags}"
    "-DCMAKE_EXE_LINKER_FLAGS=${QEL_EXE_LINKER_FLAGS}"
    ${launcher}
    -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
    -DCMAKE_FIND_USE_SYSTEM_PACKAGE_REGISTRY=OFF)
endfunction()
