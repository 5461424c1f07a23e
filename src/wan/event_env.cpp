#include "wan/event_env.h"

#include "util/log.h"
#include "util/text.h"

#include <stdlib.h>

json_t *text_or_null(const char *text)
{
    json_t *value = text != nullptr ? json_string(text) : nullptr;
    return value != nullptr ? value : json_null();
}

json_t *piece_or_null(text_piece piece)
{
    json_t *value = piece.length > 0 ? json_stringn(piece.start, piece.length) : nullptr;
    return value != nullptr ? value : json_null();
}

void take_variable(const char *tag, const char *variable, const char *key, char *kept, size_t cap,
                   json_t *link)
{
    const char *value = getenv(variable);
    if (value != nullptr)
        logmessage(tag, "%s = %s", key, value);
    text_set(kept, cap, value);
    trim_r(kept);
    if (link != nullptr)
        json_object_set_new(link, key, text_or_null(value));
}
