#include "main/programs.h"
#include "util/start.h"

int main(int argc, char **argv)
{
    settle_process();
    return run_program(argc, argv);
}
