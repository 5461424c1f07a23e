#include "platform/nvram.h"

#include "util/open_file.h"
#include "util/text.h"

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

constexpr char STORE_DIRECTORY[] = "/etc/nvram";
constexpr int SECTION_COUNT = 4;
constexpr mode_t NEW_FILE_MODE = 0600; // wireless keys are in there

constexpr size_t STORE_PATH_MAX = 32;
using store_path = char[STORE_PATH_MAX];

constexpr size_t TEXT_MAX = NVRAM_SECTION_MAX + 1; // the last line may lack its line end
constexpr size_t PAIRS_MAX = TEXT_MAX / 2;         // a pair is no shorter than "=" and its end
constexpr size_t CHAINS = 256;

// A line with a pair, in the chain of those whose keys have the same sum.
struct pair_line {
    uint16_t start; // in the text
    uint16_t next;  // the number of the chain's next line, from 1; 0 ends it
};

// A section in memory: its lines, each with a terminator in place of its line end, so that values
// can be handed out as they lie, and their chains, as hundreds of keys are looked up in hundreds of
// lines. Memory that no section fills is never touched and costs nothing.
struct section_copy {
    bool is_open;
    size_t length; // with the terminators
    char text[TEXT_MAX];
    uint16_t chains[CHAINS]; // the number of each chain's first line, or 0
    pair_line lines[1 + PAIRS_MAX];
};

static section_copy copies[SECTION_COUNT];

// A line in the text: from start up to, not including, end, which is after its terminator.
struct span {
    size_t start;
    size_t end;
};

static bool is_section(int section)
{
    return section >= 0 && section < SECTION_COUNT;
}

static void path_of(store_path &path, int section, const char *suffix)
{
    text_format(path, sizeof(path), "%s/%d%s", STORE_DIRECTORY, section, suffix);
}

static int negative_errno()
{
    return errno != 0 ? -errno : -EIO;
}

// Close fd and give result, or the error of closing when result is 0.
static int close_with(int fd, int result)
{
    return close(fd) != 0 && result == 0 ? negative_errno() : result;
}

static int read_all(int fd, section_copy *copy)
{
    // One character more than a section holds is asked for, to see one that is too long.
    while (copy->length < sizeof(copy->text)) {
        ssize_t count = read(fd, copy->text + copy->length, sizeof(copy->text) - copy->length);
        if (count == 0)
            return 0;
        if (count > 0)
            copy->length += static_cast<size_t>(count);
        else if (errno != EINTR)
            return negative_errno();
    }
    return -EFBIG;
}

// The chain of the key that text begins with.
static size_t chain_of(const char *text)
{
    return text_sum(text, '=') % CHAINS;
}

// Each line goes to the end of its chain, as the first line of a key is the one that counts. The
// ends are kept meanwhile: a store may hold thousands of lines of one chain.
static void chain_lines(section_copy *copy)
{
    uint16_t *end[CHAINS];
    for (size_t i = 0; i < CHAINS; i++)
        end[i] = &copy->chains[i];
    memset(copy->chains, 0, sizeof(copy->chains));
    uint16_t number = 0;
    for (size_t start = 0; start < copy->length; start += strlen(copy->text + start) + 1) {
        if (strchr(copy->text + start, '=') == nullptr)
            continue;
        size_t chain = chain_of(copy->text + start);
        pair_line *line = &copy->lines[++number];
        *line = {static_cast<uint16_t>(start), 0};
        *end[chain] = number;
        end[chain] = &line->next;
    }
}

// Every other use of the text takes the lines to be terminated, the last one too, and chained.
static void split_lines(section_copy *copy)
{
    for (size_t i = 0; i < copy->length; i++) {
        if (copy->text[i] == '\n')
            copy->text[i] = '\0';
    }
    if (copy->length > 0 && copy->text[copy->length - 1] != '\0')
        copy->text[copy->length++] = '\0';
    chain_lines(copy);
}

// Read the section's file into copy. Returns 0, or a negative error number and an empty text.
static int read_section(int section, section_copy *copy)
{
    store_path path;
    path_of(path, section, "");
    copy->length = 0;
    int fd = open_file(path, O_RDONLY);
    int result = fd < 0 ? negative_errno() : close_with(fd, read_all(fd, copy));
    if (result != 0)
        copy->length = 0;
    split_lines(copy);
    return result == -ENOENT ? 0 : result;
}

// The first line of key, or the empty span at the end of the text when there is none.
static span find_line(const section_copy *copy, const char *key)
{
    size_t key_length = strlen(key);
    for (size_t i = copy->chains[chain_of(key)]; i != 0; i = copy->lines[i].next) {
        size_t start = copy->lines[i].start;
        const char *line = copy->text + start;
        if (strncmp(line, key, key_length) == 0 && line[key_length] == '=')
            return {start, start + strlen(line) + 1};
    }
    return {copy->length, copy->length};
}

static bool is_valid_pair(const char *key, const char *value)
{
    return key[0] != '\0' && strpbrk(key, "=\n") == nullptr && strchr(value, '\n') == nullptr;
}

// Replace the line of key in the text, or add one at its end. Returns 0 or -ENOSPC.
static int edit_line(section_copy *copy, const char *key, const char *value)
{
    span line = find_line(copy, key);
    size_t size = strlen(key) + strlen("=") + strlen(value) + 1;
    size_t tail = copy->length - line.end;
    if (size > NVRAM_SECTION_MAX || line.start + size + tail > NVRAM_SECTION_MAX)
        return -ENOSPC;
    memmove(copy->text + line.start + size, copy->text + line.end, tail);
    text_format(copy->text + line.start, size, "%s=%s", key, value);
    copy->length = line.start + size + tail;
    return 0;
}

static int write_bytes(int fd, const char *bytes, size_t length)
{
    while (length > 0) {
        ssize_t count = write(fd, bytes, length);
        if (count >= 0) {
            bytes += count;
            length -= static_cast<size_t>(count);
        } else if (errno != EINTR) {
            return negative_errno();
        }
    }
    return 0;
}

static int write_text(int fd, section_copy *copy)
{
    for (size_t i = 0; i < copy->length; i++) {
        if (copy->text[i] == '\0')
            copy->text[i] = '\n';
    }
    int result = write_bytes(fd, copy->text, copy->length);
    split_lines(copy);
    if (result != 0)
        return result;
    return fsync(fd) == 0 ? 0 : negative_errno();
}

static mode_t mode_of(const char *path)
{
    struct stat status;
    return stat(path, &status) == 0 ? status.st_mode & 07777 : NEW_FILE_MODE;
}

static int write_file(const char *path, mode_t mode, section_copy *copy)
{
    int fd = open_file(path, O_WRONLY | O_CREAT | O_TRUNC, NEW_FILE_MODE);
    if (fd < 0)
        return negative_errno();
    return close_with(fd, fchmod(fd, mode) == 0 ? write_text(fd, copy) : negative_errno());
}

// A rename is in the directory, which has to reach the flash as well.
static void sync_directory()
{
    int fd = open(STORE_DIRECTORY, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    fsync(fd);
    close(fd);
}

// Put the text in place of the section's file: written beside, flushed, and renamed, so that a
// power cut leaves the old file or the new one.
static int replace_section(int section, section_copy *copy)
{
    store_path path;
    store_path beside;
    path_of(path, section, "");
    path_of(beside, section, ".new");
    int result = write_file(beside, mode_of(path), copy);
    if (result == 0 && rename(beside, path) != 0)
        result = negative_errno();
    if (result != 0) {
        unlink(beside);
        return result;
    }
    sync_directory();
    return 0;
}

static int change_section(int section, const char *key, const char *value)
{
    section_copy *copy = &copies[section];
    int result = read_section(section, copy);
    if (result == 0)
        result = edit_line(copy, key, value);
    if (result == 0)
        result = replace_section(section, copy);
    copy->is_open = result == 0; // else the next use reads what the file holds
    return result;
}

// Wait for the section's kernel lock, which a dead holder cannot keep. It is on a file of its own,
// as the section's file is replaced by each change. Returns a descriptor or a negative error
// number.
static int lock_section(int section)
{
    store_path path;
    path_of(path, section, ".lock");
    mkdir(STORE_DIRECTORY, 0755); // the first setting of a new router
    int fd = open(path, O_RDWR | O_CREAT | O_CLOEXEC, NEW_FILE_MODE);
    if (fd < 0)
        return negative_errno();
    while (flock(fd, LOCK_EX) != 0) {
        if (errno != EINTR)
            return close_with(fd, negative_errno());
    }
    return fd;
}

int nvram_init(int section)
{
    if (!is_section(section))
        return -EINVAL;
    int result = read_section(section, &copies[section]);
    if (result != 0) {
        store_path path;
        path_of(path, section, "");
        errno = -result;
        perror(path);
    }
    copies[section].is_open = true;
    return result;
}

const char *nvram_platform::nvram_bufget(int section, const char *key)
{
    if (!is_section(section))
        return "";
    const section_copy *copy = &copies[section];
    if (!copy->is_open)
        nvram_init(section);
    span line = find_line(copy, key);
    return line.start == line.end ? "" : copy->text + line.start + strlen(key) + strlen("=");
}

const char *nvram_platform::nvram_get(int section, const char *key)
{
    return nvram_bufget(section, key);
}

int nvram_bufset(int section, const char *key, const char *value)
{
    if (!is_section(section) || !is_valid_pair(key, value))
        return -EINVAL;
    int lock = lock_section(section);
    if (lock < 0)
        return lock;
    int result = change_section(section, key, value);
    close(lock);
    return result;
}

int nvram_close(int section)
{
    if (!is_section(section))
        return -EINVAL;
    copies[section].is_open = false;
    return 0;
}
