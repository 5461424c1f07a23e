#include "util/mmac.h"
#include "util/start.h"

int main(int argc, char **argv)
{
    settle_process();
    return mmac_main(argc, argv);
}
