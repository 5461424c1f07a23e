// What the router's board answers, played from the rules.
#include "support/recorder_board.h"

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define SWITCH_READ 0x89F1
#define SWITCH_WRITE 0x89F2
#define GPIO_READ_ALL 2
#define FLASH_READ 1
#define FLASH_WRITE 2
#define FLASH_OUT_OF_RANGE 10

// The word that the first rule of a kind gives; false when there is none.
static bool rule_number(const char *kind, unsigned long *number)
{
    const char *const kinds[] = {kind, NULL};
    struct rule rule;
    if (!rule_for_event(kinds, NULL, &rule))
        return false;
    *number = strtoul(rule.argument[0], NULL, 0);
    return true;
}

static int no_such_request(const struct line *event)
{
    errno = ENOTTY;
    trace_outcome(event, -1, NULL);
    return -1;
}

static int play_switch_read(const struct line *event, uint32_t *value, uint32_t offset)
{
    static const char *const kinds[] = {"switch", NULL};
    struct rule rule;
    if (!rule_for_number(kinds, offset, &rule))
        return no_such_request(event);
    *value = (uint32_t)strtoul(rule.argument[1], NULL, 0);
    char answer[32];
    snprintf(answer, sizeof answer, " -> 0x%x", *value);
    trace_outcome(event, 0, answer);
    return 0;
}

// The Ethernet driver's private requests; none of them may reach the machine's own drivers.
int switch_ioctl(unsigned long code, struct ifreq *request)
{
    uint32_t words[2] = {0, 0}; // register offset, value
    bool known = code == SWITCH_READ || code == SWITCH_WRITE;
    int result = 0;
    struct line event = LINE_EMPTY;
    if (known)
        memcpy(words, request->ifr_data, sizeof words);
    print_interface(&event, request);
    line_print(&event, " 0x%lx", code);
    if (known)
        line_print(&event, " 0x%x", words[0]);
    if (code == SWITCH_WRITE)
        line_print(&event, " 0x%x", words[1]);
    if (answered_by_rule(&event, &result)) {
        // Answered and noted.
    } else if (!known) {
        result = no_such_request(&event);
    } else if (code == SWITCH_READ) {
        result = play_switch_read(&event, &words[1], words[0]);
        memcpy(request->ifr_data, words, sizeof words);
    } else {
        trace_line(event.text);
    }
    line_free(&event);
    return result;
}

int gpio_ioctl(unsigned long code, uint32_t *word)
{
    unsigned long played = 0;
    int result = 0;
    char answer[32];
    struct line event = LINE_EMPTY;
    line_print(&event, "ioctl /dev/gpio %lu", code);
    if (!answered_by_rule(&event, &result)) {
        if (code == GPIO_READ_ALL && rule_number("gpio", &played)) {
            *word = (uint32_t)played;
            snprintf(answer, sizeof answer, " -> 0x%x", *word);
            trace_outcome(&event, 0, answer);
        } else {
            result = no_such_request(&event);
        }
    }
    line_free(&event);
    return result;
}

// Moves bytes between the caller's buffer and the file that plays the flash.
static uintptr_t move_flash(const char *path, bool writes, const struct flash_request *request)
{
    uintptr_t offset = writes ? request->destination : request->source;
    uintptr_t buffer = writes ? request->source : request->destination;
    int file = openat(AT_FDCWD, path, O_RDWR | O_CLOEXEC);
    off_t size = file >= 0 ? lseek(file, 0, SEEK_END) : -1;
    uintptr_t status = FLASH_OUT_OF_RANGE;
    if (size >= 0 && offset <= (uintptr_t)size && request->length <= (uintptr_t)size - offset) {
        ssize_t moved = writes ? pwrite(file, (const void *)buffer, request->length, (off_t)offset)
                               : pread(file, (void *)buffer, request->length, (off_t)offset);
        status = moved == (ssize_t)request->length ? 0 : FLASH_OUT_OF_RANGE;
    }
    if (file >= 0)
        close(file);
    return status;
}

// Does what the driver would. False when no rule plays a flash.
static bool play_flash(bool writes, struct flash_request *request)
{
    static const char *const kinds[] = {"flash", NULL};
    struct rule rule;
    unsigned long told = 0;
    bool has_status = rule_number("flash-status", &told);
    bool has_file = rule_for_event(kinds, NULL, &rule);
    if (!has_status && !has_file)
        return false;
    if (has_file && !(has_status && told == FLASH_OUT_OF_RANGE))
        request->status = move_flash(rule.argument[0], writes, request);
    if (has_status)
        request->status = told;
    return true;
}

int flash_ioctl(int descriptor, unsigned long code, struct flash_request *request)
{
    int result = 0;
    bool writes = code == FLASH_WRITE;
    bool known = writes || code == FLASH_READ;
    struct line event = LINE_EMPTY;
    if (known)
        line_print(&event, "ioctl /dev/flash0%s %s 0x%lx %lu",
                   (fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY ? "" : ":rw",
                   writes ? "write" : "read",
                   (unsigned long)(writes ? request->destination : request->source),
                   (unsigned long)request->length);
    else
        line_print(&event, "ioctl /dev/flash0 %lu", code);
    if (!answered_by_rule(&event, &result)) {
        if (known && play_flash(writes, request))
            trace_line(event.text);
        else
            result = no_such_request(&event);
    }
    line_free(&event);
    return result;
}

// A device that this box does not play.
int other_device_ioctl(const char *path, unsigned long code)
{
    int result;
    struct line event = LINE_EMPTY;
    line_print(&event, "ioctl %s %lu", path, code);
    if (!answered_by_rule(&event, &result))
        result = no_such_request(&event);
    line_free(&event);
    return result;
}
