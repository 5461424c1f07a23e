# Finds Jansson as the target Jansson::Jansson: by its CMake package, or with the help of pkg-config, or where
# libraries and headers usually stand. MCFG_STATIC_JANSSON takes the static library, for a firmware that has no
# other use for Jansson. JANSSON_INCLUDE_DIR and JANSSON_LIBRARY, when given, decide alone.
#
# When cross-compiling, what pkg-config says of this machine does no harm: hints are looked up below
# CMAKE_FIND_ROOT_PATH.
if(NOT MCFG_STATIC_JANSSON AND NOT JANSSON_LIBRARY)
  find_package(jansson CONFIG QUIET)
endif()
if(TARGET jansson::jansson)
  add_library(Jansson::Jansson INTERFACE IMPORTED)
  set_target_properties(Jansson::Jansson PROPERTIES INTERFACE_LINK_LIBRARIES jansson::jansson)
  set(JANSSON_INCLUDE_DIR ${jansson_DIR})
  set(JANSSON_LIBRARY jansson::jansson)
else()
  find_package(PkgConfig QUIET)
  if(PKG_CONFIG_FOUND)
    pkg_check_modules(PC_JANSSON QUIET jansson)
  endif()
  find_path(JANSSON_INCLUDE_DIR jansson.h HINTS ${PC_JANSSON_INCLUDEDIR} ${PC_JANSSON_INCLUDE_DIRS})
  if(MCFG_STATIC_JANSSON)
    # Under a name of its own: a tree that has found the shared one would keep it.
    find_library(JANSSON_STATIC_LIBRARY libjansson.a HINTS ${PC_JANSSON_LIBDIR} ${PC_JANSSON_LIBRARY_DIRS})
    set(JANSSON_LIBRARY ${JANSSON_STATIC_LIBRARY})
  else()
    find_library(JANSSON_LIBRARY jansson HINTS ${PC_JANSSON_LIBDIR} ${PC_JANSSON_LIBRARY_DIRS})
  endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Jansson
  REQUIRED_VARS JANSSON_LIBRARY JANSSON_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "Debian's package with the header and both libraries is libjansson-dev. For another \
machine than this one, point CMAKE_FIND_ROOT_PATH (or JANSSON_INCLUDE_DIR and JANSSON_LIBRARY) at its Jansson.")

# An imported target's headers count as the system's: their warnings are not ours.
if(Jansson_FOUND AND NOT TARGET Jansson::Jansson)
  add_library(Jansson::Jansson UNKNOWN IMPORTED)
  set_target_properties(Jansson::Jansson PROPERTIES IMPORTED_LOCATION "${JANSSON_LIBRARY}"
                        INTERFACE_INCLUDE_DIRECTORIES "${JANSSON_INCLUDE_DIR}")
endif()
