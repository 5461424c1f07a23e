# Lays out the programs, their links and the manual pages under DESTDIR, as the firmware image holds
# them. The links "udhcpc", "ip-up" and "ip-down" are not among them: the program makes those under
# /tmp when it starts the WAN, and a /sbin/udhcpc would hide the DHCP client it runs by that name.
install(CODE [[
  if("$ENV{DESTDIR}" STREQUAL "")
    message(FATAL_ERROR "Set DESTDIR to the root of the firmware image: "
                        "this program must not be installed on a working machine.")
  endif()
]])
install(TARGETS mcfg mmac mctl RUNTIME DESTINATION /sbin)
foreach(name firewall_update update_time save_link_state hotplug)
  install(CODE "file(CREATE_LINK mcfg \"\$ENV{DESTDIR}/sbin/${name}\" SYMBOLIC)")
endforeach()
install(FILES docs/mcfg-firewall.5 docs/mcfg-nvram.5 docs/network-interfaces.5 docs/ppp-peers.5
        DESTINATION /usr/share/man/man5)
install(FILES docs/mcfg.8 docs/mctl.8 docs/mmac.8 DESTINATION /usr/share/man/man8)
install(FILES share/bash-completion/mctl DESTINATION /usr/share/bash-completion/completions)
