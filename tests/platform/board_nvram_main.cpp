// The program's readers of NVRAM over a board's library: everything that is not set is empty to
// them. Ends with the number of the first check that fails, or 0.
#include "platform/nvram.h"
#include "util/mac.h"

#include <errno.h>
#include <string.h>

int main()
{
    unsigned char mac[MAC_BYTES];
    const bool checks[] = {
        strcmp(nvram_bufget(NVRAM_DEVICE, "pin"), "from the board") == 0,
        strcmp(nvram_bufget(NVRAM_DEVICE, "sn"), "") == 0,
        strcmp(nvram_get(NVRAM_WIRELESS, "BssidNum"), "") == 0,
        get_ethaddr(mac) == -EFAULT,
    };
    int number = 0;
    for (bool is_good : checks) {
        number++;
        if (!is_good)
            return number;
    }
    return 0;
}
