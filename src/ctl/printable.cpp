#include "ctl/printable.h"

void make_printable(char *text)
{
    for (; *text != '\0'; text++)
        *text = *text >= ' ' && *text <= '~' ? *text : '?';
}
