# cmake -DREADELF=... -DPROGRAM=... -P binary_test.cmake
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
