#include "ctl/mctl.h"

int main(int argc, char **argv)
{
    return mctl_main(argc, argv);
}
