# Runs `qel functions` and checks the whole listing: every line has the
# documented shape and names at least one functor form, no key is listed
# twice, the first and last lines are those of the first and last lists
# registered, and a line of each list is there.
#   cmake -DQEL=<qel> -P FunctionsListing.cmake
execute_process(COMMAND ${QEL} functions OUTPUT_VARIABLE output RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "exit code ${status}")
endif()
string(REGEX REPLACE "\n$" "" output "${output}")
string(REPLACE "\n" ";" lines "${output}")

set(shape "^[^ ]+ (unary|binary|multinary) \\([^)]*\\) -> [^ ]+( creator\\([^)]*\\))?( stateful)?( plain)?( special)?$")
foreach(line IN LISTS lines)
  if(NOT line MATCHES "${shape}" OR NOT line MATCHES " (plain|special)")
    message(FATAL_ERROR "malformed line: '${line}'")
  endif()
endforeach()

set(unique ${lines})
list(REMOVE_DUPLICATES unique)
list(LENGTH lines count)
list(LENGTH unique uniqueCount)
if(NOT count EQUAL uniqueCount)
  message(FATAL_ERROR "${count} lines but only ${uniqueCount} distinct ones")
endif()

list(GET lines 0 first)
list(GET lines -1 last)
if(NOT first STREQUAL "filterNullAndMissing unary (i) -> b special" OR
   NOT last STREQUAL "bitor binary (l, l) -> l plain")
  message(FATAL_ERROR "out of registration order: first '${first}', last '${last}'")
endif()

foreach(expected
    "keepOnlyFirst unary (any) -> b creator() stateful plain"
    "isInSet unary (s) -> b creator(S<s>) plain"
    "'<' unary (r) -> b creator(r) plain special"
    "countAll binary (i, any) -> i plain"
    "min binary (t, t) -> t special"
    "'+' multinary (r, r) -> r plain"
    "'>=' multinary (any, any) -> b plain"
    "'+' binary (r, r) -> r plain special")
  list(FIND lines "${expected}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "missing line: '${expected}'")
  endif()
endforeach()
