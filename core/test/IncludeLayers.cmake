# Fails when a header of the library includes one of an area above its own.
#
# The areas, from the bottom up (each may include its own and those below):
#   utility < types < store < vtl < serialize < functions
# The umbrella header qel/core/QelCore.h stands above them all. Sources may
# include any header: the layers are about what a header drags in, so that
# no header depends, however indirectly, on one that depends on it.
#
# cmake -DROOT=<repository> [-DGENERATED=<dir holding qel/core/...>] -P IncludeLayers.cmake
set(layers utility types store vtl serialize functions)

set(headers)
foreach(dir core/public/qel/core core/main)
  file(GLOB_RECURSE found LIST_DIRECTORIES false "${ROOT}/${dir}/*.h")
  list(APPEND headers ${found})
endforeach()
if(GENERATED)
  file(GLOB_RECURSE found LIST_DIRECTORIES false "${GENERATED}/qel/core/*.h")
  list(APPEND headers ${found})
endif()

set(violations 0)
set(checked 0)
foreach(header IN LISTS headers)
  # The area is the folder behind qel/core/ or core/main/.
  if(NOT header MATCHES "(qel/core|core/main)/([a-z]+)/[^/]+\\.h$")
    continue()
  endif()
  set(area ${CMAKE_MATCH_2})
  list(FIND layers ${area} own)
  if(own EQUAL -1)
    message(SEND_ERROR "${header}: the area '${area}' has no place among the layers")
    math(EXPR violations "${violations} + 1")
    continue()
  endif()
  math(EXPR checked "${checked} + 1")
  file(STRINGS "${header}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*[\"<](qel/core|core/main)/")
  foreach(line IN LISTS includes)
    string(REGEX MATCH "(qel/core|core/main)/([a-zA-Z]+)/" ignored "${line}")
    set(target ${CMAKE_MATCH_2})
    list(FIND layers "${target}" rank)
    if(rank EQUAL -1 OR rank GREATER own)
      file(RELATIVE_PATH shown "${ROOT}" "${header}")
      message(SEND_ERROR "${shown} (${area}) includes upward: ${line}")
      math(EXPR violations "${violations} + 1")
    endif()
  endforeach()
endforeach()

if(checked EQUAL 0)
  message(FATAL_ERROR "no header found under ${ROOT}")
endif()
if(violations GREATER 0)
  message(FATAL_ERROR "${violations} upward include(s) among ${checked} headers")
endif()
message(STATUS "${checked} headers include only their own area and those below it")
