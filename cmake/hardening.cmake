# MCFG_HARDENING_COMPILE, MCFG_HARDENING_LINK: how the programs are built for every target, as they read
# what strangers send and run as root. A bug that remains shall end the program rather than obey.
#
# A toolchain file whose board has other needs says so in MCFG_BOARD_COMPILE, MCFG_BOARD_LINK (whatever holds
# the program's objects) and MCFG_BOARD_PROGRAM_LINK, which come behind these. tests/support/binary_test.cmake
# holds the finished programs to all of it.
set(MCFG_FORTIFY 2 CACHE STRING "Level of the C library's checks; the highest, 3, costs room")
set(MCFG_HARDENING_COMPILE -fPIE -fstack-protector-strong)
set(MCFG_HARDENING_LINK -pie -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
if(MCFG_SANITIZE)
  # The sanitizers look closer, and at calls that the C library's checks would hide from them.
  list(APPEND MCFG_HARDENING_COMPILE -U_FORTIFY_SOURCE)
else()
  # The C library's checks need an optimizing compiler.
  list(APPEND MCFG_HARDENING_COMPILE
       $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=${MCFG_FORTIFY}>)
endif()
