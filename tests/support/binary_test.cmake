# cmake -DREADELF=... -DPROGRAM=... [-DNOTE=...] [-DWITHOUT_CHECKS=1] [-DFOR_ROUTER=ON -DSTRIP=... -DMKSQUASHFS=...] -P binary_test.cmake
# What a finished program must be like: what it needs, how it is hardened (see cmake/hardening.cmake) and, for
# the router, what it weighs (see tests/budget.cmake).

# The device's flash holds the C library and Jansson, but no C++ runtime: a program that needs any
# other library, or a symbol of that runtime, would not start there.
execute_process(COMMAND ${READELF} -Wd ${PROGRAM} OUTPUT_VARIABLE dynamic RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${READELF} cannot read ${PROGRAM}")
endif()
string(REGEX MATCHALL "NEEDED[^\n]*\\[[^]\n]*\\]" needed "${dynamic}")
if(NOT needed)
  message(FATAL_ERROR "${PROGRAM} is not dynamically linked")
endif()
foreach(entry ${needed})
  string(REGEX REPLACE ".*\\[(.*)\\]" "\\1" library "${entry}")
  if(NOT library MATCHES "^(libc\\.so|libjansson\\.so|ld[-.0-9a-z_]*\\.so|ld\\.so)")
    message(SEND_ERROR "${PROGRAM} needs ${library}")
  endif()
endforeach()

execute_process(COMMAND ${READELF} -Ws ${PROGRAM} OUTPUT_VARIABLE symbols RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${READELF} cannot read the symbols of ${PROGRAM}")
endif()
# Operators new and delete, the std namespace, exceptions, run-time types, guards of local statics.
set(runtime "_Zn[aw]|_Zd[al]|_ZS|_ZNS|_ZNKS|_ZT[ISV]|__gxx_personality|_Unwind_"
            "|__cxa_(throw|rethrow|begin|end|guard|pure|allocate|free|get|demangle|bad)")
string(JOIN "" runtime ${runtime})
string(REGEX MATCHALL "[^\n]* (${runtime})[^\n]*" found "${symbols}")
foreach(symbol ${found})
  message(SEND_ERROR "${PROGRAM} has a symbol of the C++ runtime: ${symbol}")
endforeach()

# The segments, the dynamic entries and the symbols tell how it was linked and compiled.
execute_process(COMMAND ${READELF} -hlW ${PROGRAM} OUTPUT_VARIABLE headers)
string(APPEND headers "${dynamic}")
set(hardening
    "a stack that is not executable" "GNU_STACK +0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ RW "
    "read-only relocations"          "GNU_RELRO"
    "binding at the start"           "BIND_NOW|FLAGS_1[^\n]*NOW")
if(FOR_ROUTER)
  # Where nothing is placed at random, see cmake/mipsel-linux-gnu.cmake.
  list(APPEND hardening "a fixed place" "Type: +EXEC")
  # The start-up objects for these are left out.
  if(headers MATCHES "\\((PRE)?(INIT|FINI)(_ARRAY)?\\)")
    message(SEND_ERROR "${PROGRAM} has constructors or destructors")
  endif()
else()
  list(APPEND hardening "position independence" "Type: +DYN")
endif()
while(hardening)
  list(POP_FRONT hardening what pattern)
  if(NOT headers MATCHES "${pattern}")
    message(SEND_ERROR "${PROGRAM} lacks ${what}")
  endif()
endwhile()
if(NOT symbols MATCHES " __stack_chk_fail")
  message(SEND_ERROR "${PROGRAM} lacks a guarded stack")
endif()
# The C library's checks take an optimizing compiler, and a C library that has them.
if(NOT WITHOUT_CHECKS AND NOT symbols MATCHES " __[a-z]+_chk@")
  message(SEND_ERROR "${PROGRAM} lacks the C library's checks")
endif()

# What it says of itself, see cmake/package_note.cmake.
execute_process(COMMAND ${READELF} -nW ${PROGRAM} OUTPUT_VARIABLE notes)
string(FIND "${notes}" "Packaging Metadata: ${NOTE}" at)
if(NOTE AND at LESS 0)
  message(SEND_ERROR "${PROGRAM} does not say what it is: ${NOTE}")
endif()

# What becomes read-only has to end where a page does, or its last page stays writable.
if(headers MATCHES "GNU_RELRO +0x[0-9a-f]+ (0x[0-9a-f]+) 0x[0-9a-f]+ 0x[0-9a-f]+ (0x[0-9a-f]+)")
  math(EXPR past_page "(${CMAKE_MATCH_1} + ${CMAKE_MATCH_2}) % 4096")
  if(past_page)
    message(SEND_ERROR "${PROGRAM} leaves ${past_page} bytes writable that should not be")
  endif()
endif()

if(FOR_ROUTER)
  include(${CMAKE_CURRENT_LIST_DIR}/../budget.cmake)
  get_filename_component(name ${PROGRAM} NAME)
  set(room ${PROGRAM}.weighed)
  file(REMOVE_RECURSE ${room})
  file(COPY ${PROGRAM} DESTINATION ${room}/flash)
  execute_process(COMMAND ${STRIP} ${room}/flash/${name} COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${MKSQUASHFS} ${room}/flash ${room}/squashfs -comp xz -all-root -no-xattrs -nopad
                          -noappend -no-progress -quiet COMMAND_ERROR_IS_FATAL ANY)
  file(SIZE ${room}/flash/${name} stripped)
  file(SIZE ${room}/squashfs squashed)
  file(REMOVE_RECURSE ${room})
  message("${name}: ${stripped} bytes stripped, ${squashed} in squashfs")
  list(FIND budget ${name} row)
  if(row LESS 0)
    message(FATAL_ERROR "tests/budget.cmake has no row for ${name}")
  endif()
  list(SUBLIST budget ${row} 3 row)
  list(POP_FRONT row name stripped_budget squashed_budget)
  if(stripped GREATER stripped_budget OR squashed GREATER squashed_budget)
    message(SEND_ERROR "${name} is over its budget of ${stripped_budget} and ${squashed_budget} bytes")
  endif()
endif()
