#include "util/mmac.h"

int main(int argc, char **argv)
{
    return mmac_main(argc, argv);
}
