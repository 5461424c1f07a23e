# mcfg_discover_suites(TARGET PREFIX)
#
# Gives ctest one test for each suite of a GoogleTest program whose start is slow, named PREFIX and the
# suite. Under emulation a start takes some thirty times as long as a test, so that a start for each test, as
# gtest_discover_tests() has it, would turn seconds into minutes; with the sanitizers it takes most of the time.
function(mcfg_discover_suites target prefix)
  set(suites ${CMAKE_CURRENT_BINARY_DIR}/${target}_suites.cmake)
  add_custom_command(
    TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}"
            "-DPROGRAM=$<TARGET_FILE:${target}>" -DPREFIX=${prefix} -DSUITES=${suites}
            -P ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/list_suites.cmake
    BYPRODUCTS ${suites} VERBATIM)
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${suites})
endfunction()
