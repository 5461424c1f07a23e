#include "ctl/heal/heal.h"

#include "ctl/heal/steps.h"
#include "ctl/output.h"
#include "ctl/record_lock.h"
#include "ctl/status/judge.h"
#include "ctl/status/look.h"
#include "ctl/unseen.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

constexpr unsigned BETWEEN_LOOKS_S = 2;
constexpr int ROUNDS = 4;
constexpr size_t TAKEN_MAX = 128;

// What was tried already: what it did not mend, it will not mend the next time.
struct taken_step {
    char name[SHOWN_NAME_MAX];
    char iface[SHOWN_NAME_MAX];
    reason id;
};

struct taken_steps {
    size_t count;
    taken_step step[TAKEN_MAX];
};

static bool is_taken(const taken_steps &taken, const link_status &link, reason id)
{
    for (size_t i = 0; i < taken.count; i++) {
        const taken_step &step = taken.step[i];
        if (step.id == id && strcmp(step.name, link.name) == 0 &&
            strcmp(step.iface, link.iface) == 0)
            return true;
    }
    return taken.count == TAKEN_MAX;
}

static void note_taken(taken_steps *taken, const link_status &link, reason id)
{
    taken_step &step = taken->step[taken->count++];
    step.id = id;
    memcpy(step.name, link.name, sizeof(step.name));
    memcpy(step.iface, link.iface, sizeof(step.iface));
}

static bool has_reason(const router_status &status, const link_status &like,
                       const found_reason &found)
{
    for (size_t i = 0; i < status.links; i++) {
        const link_status &link = status.link[i];
        if (link.what != like.what || strcmp(link.name, like.name) != 0 ||
            strcmp(link.iface, like.iface) != 0)
            continue;
        for (size_t n = 0; n < link.reasons; n++) {
            if (link.reason_of[n].id == found.id &&
                strcmp(link.reason_of[n].detail, found.detail) == 0)
                return true;
        }
    }
    return false;
}

static bool has_mendable(const router_status &status)
{
    for (size_t i = 0; i < status.links; i++) {
        for (size_t n = 0; n < status.link[i].reasons; n++) {
            if (text_of(status.link[i].reason_of[n].id).is_healed)
                return true;
        }
    }
    return false;
}

static int mend_link(const healing &h, const router_status &before, const link_status &link,
                     taken_steps *taken)
{
    int steps = 0;
    for (size_t n = 0; n < link.reasons; n++) {
        const found_reason &found = link.reason_of[n];
        if (!has_reason(before, link, found) || is_taken(*taken, link, found.id))
            continue;
        note_taken(taken, link, found.id);
        steps += mend(h, link, found) ? 1 : 0;
    }
    return steps;
}

// The router first: with a dead lock nothing can be recorded.
static int mend_all(const healing &h, const router_status &before, const router_status &now,
                    taken_steps *taken)
{
    int steps = mend_link(h, before, now.link[now.links - 1], taken);
    for (size_t i = 0; i + 1 < now.links; i++)
        steps += mend_link(h, before, now.link[i], taken);
    return steps;
}

static int could_not_look(look *at, const char *fault)
{
    fprintf(stderr, "mctl: %s\n", fault);
    forget_look(at);
    return -1;
}

// Look, look again, and mend what has not gone by itself: an event in between its steps looks like
// a broken one. Returns how many steps were taken, or -1.
static int mend_round(bool is_dry, taken_steps *taken, bool *is_well)
{
    static look at;
    static router_status before, now;
    char fault[FAULT_MAX];
    if (!look_and_judge(&at, &before, fault))
        return could_not_look(&at, fault);
    forget_look(&at);
    *is_well = before.is_well;
    if (!has_mendable(before))
        return 0;
    sleep(BETWEEN_LOOKS_S);
    int firewall = is_dry ? -1 : take_record(FIREWALL_RECORD, false);
    int steps = 0;
    bool is_seen = false;
    if (look_and_judge(&at, &now, fault)) {
        *is_well = now.is_well;
        steps = mend_all({&at, is_dry, is_dry || firewall >= 0}, before, now, taken);
        is_seen = !has_unseen(fault, sizeof(fault)); // it looks again before some steps
    }
    release_record(firewall);
    if (!is_seen)
        return could_not_look(&at, fault);
    forget_look(&at);
    return steps;
}

static int heal(bool is_dry)
{
    static taken_steps taken;
    taken.count = 0;
    bool is_well = false;
    int steps = 1;
    for (int round = 0; steps > 0 && round < ROUNDS; round++) {
        steps = mend_round(is_dry, &taken, &is_well);
        if (is_dry && steps > 0)
            return 1;
    }
    if (steps < 0)
        return 2;
    return is_well ? 0 : 1;
}

int heal_main(int count, char **words)
{
    bool is_dry = count == 1 && strcmp(words[0], "--dry-run") == 0;
    if (count > 0 && !is_dry) {
        fputs("usage: mctl heal [--dry-run]\n", stderr);
        return 2;
    }
    if (is_dry)
        return status_of_output(heal(true));
    int lock = take_record(HEAL_RECORD, false);
    if (lock < 0 && errno == EAGAIN) {
        puts("another mctl heal is at work");
        return 0;
    }
    if (lock < 0) {
        perror(HEAL_RECORD);
        return 2;
    }
    int status = status_of_output(heal(false));
    release_record(lock);
    return status;
}
