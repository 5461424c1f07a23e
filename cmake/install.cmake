# Lays out the programs, their links and the manual pages under DESTDIR, as the firmware image holds
# them. The links "udhcpc", "ip-up" and "ip-down" are not among them: the program makes those under
# /tmp when it starts the WAN, and a /sbin/udhcpc would hide the DHCP client it runs by that name.
#
# Components: "router" is the program under its names and mmac, "tools" is mctl, "doc" the manual pages.
install(CODE [[
  get_filename_component(image "$ENV{DESTDIR}" REALPATH BASE_DIR "${CMAKE_CURRENT_BINARY_DIR}")
  if("$ENV{DESTDIR}" STREQUAL "" OR image STREQUAL "/")
    message(FATAL_ERROR "Set DESTDIR to the root of the firmware image: "
                        "this program must not be installed on a working machine.")
  endif()
]] ALL_COMPONENTS)
install(TARGETS mcfg mmac RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT router)
install(TARGETS mctl RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT tools)

# As files of the build, so that the install manifest has them.
foreach(name firewall_update update_time save_link_state hotplug)
  set(link ${CMAKE_BINARY_DIR}/links/${name})
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/links)
  file(CREATE_LINK mcfg ${link} SYMBOLIC)
  install(FILES ${link} DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT router)
endforeach()

# Each page as it stands in the tree, with the version in its last line.
foreach(page mcfg-firewall.5 mcfg-nvram.5 network-interfaces.5 ppp-peers.5 mcfg.8 mctl.8 mmac.8)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/${page})
  file(READ docs/${page} text)
  string(REPLACE "\n.Os\n" "\n.Os ${PROJECT_NAME} ${PROJECT_VERSION}\n" text "${text}")
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/man/${page} CONTENT "${text}" @ONLY)
  string(REGEX REPLACE ".*\\." "" section ${page})
  install(FILES ${CMAKE_BINARY_DIR}/man/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT doc)
endforeach()
install(FILES share/bash-completion/mctl COMPONENT tools
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
