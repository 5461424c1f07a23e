#include "ctl/output.h"

#include <stdio.h>

int status_of_output(int status)
{
    if (fflush(stdout) == 0 && !ferror(stdout))
        return status;
    perror("mctl: standard output");
    return 2;
}
