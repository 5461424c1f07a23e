#include "ctl/output.h"

#include <errno.h>
#include <stdio.h>

int status_of_output(int status)
{
    bool is_flushed = fflush(stdout) == 0;
    if (is_flushed && !ferror(stdout))
        return status;
    if (is_flushed)
        errno = EIO; // what was written before has not come through, for a reason that is gone
    perror("mctl: standard output");
    return 2;
}
