# The router's CPU: MIPS 24KEc, little-endian, built with Debian's g++-mipsel-linux-gnu.
#
# Debian's C library for this CPU uses the o32 calling convention with floating point registers,
# which the 24KEc lacks: on the board and in the emulated router the kernel plays them, and the
# program itself calculates nothing with them.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mipsel)

set(CMAKE_C_COMPILER mipsel-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mipsel-linux-gnu-g++)
set(CMAKE_C_FLAGS_INIT "-EL -march=24kec -mtune=24kec")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")

# Jansson for the router, fetched by scripts/target-packages.
set(MCFG_TARGET_ROOT "${CMAKE_CURRENT_LIST_DIR}/../build-mipsel/target-root"
    CACHE PATH "Unpacked Debian packages for the router's CPU")
get_filename_component(MCFG_TARGET_ROOT "${MCFG_TARGET_ROOT}" ABSOLUTE)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MCFG_TARGET_ROOT)
if(NOT EXISTS "${MCFG_TARGET_ROOT}/usr/include/jansson.h")
  message(FATAL_ERROR "No Jansson for the router's CPU in ${MCFG_TARGET_ROOT}: "
                      "run scripts/target-packages first.")
endif()

# The program itself is built small, which the tests around it need not be: as 16-bit instructions, as a
# whole (link-time optimization), and for the processor's own page of 4096 bytes. With position
# independence it would be twice the size, and would gain nothing: the board's kernel places no program at
# random. So that is the one part of cmake/hardening.cmake that it does without; and of the stack, it guards
# the functions that have text or addresses in it (arrays of four bytes and more), which is what a stranger
# could overrun. What makes code faster and pack worse is left out: it costs next to nothing on this processor.
# tests/budget.cmake holds what all this comes to.
set(MCFG_BOARD_COMPILE -fno-pic -mno-shared -mplt -mips16 -flto -fno-schedule-insns2 -fno-caller-saves
                       -fno-reorder-blocks -fno-guess-branch-probability -fno-gcse -fno-move-loop-invariants
                       -fno-cse-follow-jumps -fno-inline-small-functions
                       -fstack-protector --param=ssp-buffer-size=4)
set(MCFG_BOARD_LINK -no-pie -flto)
set(MCFG_BOARD_LAYOUT ${CMAKE_CURRENT_LIST_DIR}/mipsel.ld)
set(MCFG_BOARD_PROGRAM_LINK -Wl,-z,max-page-size=4096 -Wl,--build-id=none
                            -Wl,-T,${MCFG_BOARD_LAYOUT} -Wl,--orphan-handling=error)
# Of the compiler's start-up objects only the one that calls main(): the others serve constructors, destructors,
# profiling and transactions. The programs have none, to which tests/support/binary_test.cmake holds them.
list(APPEND MCFG_BOARD_PROGRAM_LINK -nostartfiles -l:crt1.o)
# The version goes without saying where every byte is counted; "mctl report" tells it, and mctl's own note.
set(MCFG_BOARD_NO_NOTE mcfg)
# Archives of such objects need the compiler's help.
set(CMAKE_AR mipsel-linux-gnu-gcc-ar)
set(CMAKE_RANLIB mipsel-linux-gnu-gcc-ranlib)

# Libraries and headers only from the target's directories, programs only from this machine.
set(CMAKE_FIND_ROOT_PATH "${MCFG_TARGET_ROOT}" /usr/mipsel-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# What is built holds no path of this machine.
set(CMAKE_SKIP_RPATH ON)

# The tests run under user-mode emulation. There is no kernel beneath to play the floating point
# registers, so the emulated CPU is the nearest relative of the 24KEc that has them, and the DSP
# instructions that -march=24kec allows, too.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mipsel -cpu 34Kf)

# How a test program that is run this way finds the target's C library and the others. The emulator's
# own option -L is no use here: it would lead the test's file accesses, too, into the target's
# packages wherever a path of that name exists there.
set(MCFG_EMULATION_LINK_OPTIONS
    "-Wl,--dynamic-linker=${MCFG_TARGET_ROOT}/lib/ld.so.1" -Wl,--disable-new-dtags
    "-Wl,-rpath,${MCFG_TARGET_ROOT}/lib/mipsel-linux-gnu:${MCFG_TARGET_ROOT}/usr/lib/mipsel-linux-gnu")
