# Asks the GoogleTest program PROGRAM, run by EMULATOR, for its suites, and writes a ctest file SUITES
# with a test for each, named PREFIX and the suite. A suite fails, too, when it skips a test, which
# ctest would not notice among the others. Run by mcfg_discover_suites().
execute_process(COMMAND ${EMULATOR} ${PROGRAM} --gtest_list_tests
                OUTPUT_VARIABLE listing RESULT_VARIABLE status)
# A line that is not indented is a suite, with a dot behind it and perhaps a comment.
string(REGEX MATCHALL "(^|\n)[^ \n]+\\." names "${listing}")
if(NOT status EQUAL 0 OR NOT names)
  message(FATAL_ERROR "${PROGRAM} does not list its tests (${status}): ${listing}")
endif()

set(tests "")
foreach(name IN LISTS names)
  string(REGEX REPLACE "^\n|\\.$" "" name "${name}")
  string(APPEND tests "add_test([==[${PREFIX}${name}]==]")
  foreach(word IN LISTS EMULATOR PROGRAM ITEMS "--gtest_filter=${name}.*")
    string(APPEND tests " [==[${word}]==]")
  endforeach()
  string(APPEND tests ")\nset_tests_properties([==[${PREFIX}${name}]==] PROPERTIES "
         "FAIL_REGULAR_EXPRESSION [==[\\[  SKIPPED \\]]==])\n")
endforeach()
file(WRITE ${SUITES} "${tests}")
