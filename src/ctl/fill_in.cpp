#include "ctl/fill_in.h"

#include "util/text.h"

#include <string.h>

void fill_in(char *out, size_t room, const char *text, const char *first, const char *second)
{
    out[0] = '\0';
    while (*text != '\0') {
        bool is_first = strncmp(text, "{1}", 3) == 0;
        if (is_first || strncmp(text, "{2}", 3) == 0) {
            text_append(out, room, is_first ? first : second);
            text += 3;
            continue;
        }
        size_t used = strlen(out);
        size_t plain = 1 + strcspn(text + 1, "{");
        text_format(out + used, room - used, "%.*s", static_cast<int>(plain), text);
        text += plain;
    }
}
