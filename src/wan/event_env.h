// The environment that the DHCP client and the PPP daemon hand to their event scripts.
#pragma once

#include "util/text.h"

#include <jansson.h>
#include <stddef.h>

// Take the environment variable variable of an event. When it is set: log "KEY = VALUE" with tag,
// and copy its value into kept, of cap characters with the terminator (a longer one is cut),
// without blanks and line ends at its end; else kept becomes "" and nothing is logged. The member
// key of link (null for none) becomes the raw value, or JSON null when it is unset or no UTF-8
// text.
void take_variable(const char *tag, const char *variable, const char *key, char *kept, size_t cap,
                   json_t *link);

template <size_t N>
void take_variable(const char *tag, const char *variable, const char *key, char (&kept)[N],
                   json_t *link)
{
    take_variable(tag, variable, key, kept, N, link);
}

// text as a JSON string; JSON null when it is null or no UTF-8 text, which a document cannot hold.
json_t *text_or_null(const char *text);
json_t *piece_or_null(text_piece piece); // null for an empty one
