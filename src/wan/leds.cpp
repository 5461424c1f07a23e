#include "wan/leds.h"

#include "util/shell.h"

void leds_dialling()
{
    shell("led yellow_wan on");
    shell("led green_wan off");
}

void leds_connected()
{
    shell("led yellow_wan off");
    shell("led green_wan on");
}
