# What each program for the router may weigh, in bytes: as it is installed, stripped, and alone in a squashfs
# with xz, as the flash holds it. Edited knowingly: who needs more says in the change what the flash gets for
# it. The first number grows in steps of a page, since the part of the program that becomes read-only at the
# start has to end where a page does.
set(budget
    #program stripped squashfs
    mcfg     55000    23500
    mmac     10000    4200
    mctl     65000    27000
)
