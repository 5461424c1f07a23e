#include "ctl/mctl.h"
#include "util/start.h"

int main(int argc, char **argv)
{
    settle_process();
    return mctl_main(argc, argv);
}
