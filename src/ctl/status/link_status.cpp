#include "ctl/status/link_status.h"

#include "ctl/printable.h"
#include "util/text.h"

const char *subject_name(subject what)
{
    static const char *const names[] = {"lan", "wan", "tunnel", "other"};
    return names[static_cast<size_t>(what)];
}

void add_reason(link_status *link, reason id, const char *detail)
{
    if (link->reasons == REASONS_OF_LINK_MAX)
        return;
    if (link->reasons == 0)
        link->state = text_of(id).state;
    found_reason &found = link->reason_of[link->reasons++];
    found.id = id;
    text_set(found.detail, detail);
    make_printable(found.detail);
}
