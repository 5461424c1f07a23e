# mcfg_add_package_note(PROGRAM)
#
# Writes into the program which version of what it is, as the ELF note that core dump collectors and
# "readelf -n" show, when the linker can (GNU ld from 2.39 on). A toolchain file names in MCFG_BOARD_NO_NOTE
# the programs whose flash has no room for it. The text is the target's property MCFG_PACKAGE_NOTE.
include(CheckLinkerFlag)

# Not by "-Wl,", which would take the text apart at its commas.
set(MCFG_PACKAGE_METADATA
    "{\"type\":\"firmware\",\"name\":\"${PROJECT_NAME}\",\"version\":\"${PROJECT_VERSION}\"}")
check_linker_flag(C "-Wl,--package-metadata={}" MCFG_LINKER_HAS_PACKAGE_METADATA)

function(mcfg_add_package_note program)
  if(MCFG_LINKER_HAS_PACKAGE_METADATA AND NOT program IN_LIST MCFG_BOARD_NO_NOTE)
    target_link_options(${program} PRIVATE
                        "SHELL:-Xlinker '--package-metadata=${MCFG_PACKAGE_METADATA}'")
    set_property(TARGET ${program} PROPERTY MCFG_PACKAGE_NOTE "${MCFG_PACKAGE_METADATA}")
  endif()
endfunction()
