# What each program for the router may weigh, in bytes: as it is installed, stripped, and alone in a squashfs
# with xz, as the flash holds it. Edited knowingly: who needs more says in the change what the flash gets for
# it.
set(budget
    #program stripped squashfs
    mcfg     53000    23000
    mmac     10000    4200
    mctl     92000    43500
)
