#include "ctl/status/processes.h"

#include "ctl/unseen.h"
#include "util/text.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

constexpr size_t PROC_TEXT_MAX = 1024;
constexpr int WORDS_LOOKED_AT = 3;

// At most cap - 1 bytes of a file, with a terminator; none when there is none. Returns how many.
static size_t read_start(const char *path, char *text, size_t cap)
{
    text[0] = '\0';
    int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        note_unseen(path, errno);
        return 0;
    }
    size_t used = 0;
    ssize_t got = 1;
    while (used < cap - 1 && got > 0) {
        got = read(fd, text + used, cap - 1 - used);
        used += got > 0 ? static_cast<size_t>(got) : 0;
    }
    if (got < 0)
        note_unseen(path, errno);
    close(fd);
    text[used] = '\0';
    return used;
}

static size_t read_process_file(int number, const char *name, char (&text)[PROC_TEXT_MAX])
{
    char path[48];
    text_format(path, sizeof(path), "/proc/%d/%s", number, name);
    return read_start(path, text, sizeof(text));
}

static bool is_named(const char *text, const char *const names[], size_t count)
{
    const char *slash = strrchr(text, '/');
    const char *base = slash != nullptr ? slash + 1 : text;
    for (size_t i = 0; i < count; i++) {
        if (strcmp(base, names[i]) == 0)
            return true;
    }
    return false;
}

// "NUMBER (NAME) STATE ...": the name may hold anything.
static bool has_state(int number, char *name, size_t cap)
{
    char stat[PROC_TEXT_MAX];
    read_process_file(number, "stat", stat);
    char *begin = strchr(stat, '(');
    char *end = strrchr(stat, ')');
    if (begin == nullptr || end == nullptr || end < begin || strlen(end) < 3)
        return false;
    *end = '\0';
    text_set(name, cap, begin + 1);
    return strchr("ZXx", end[2]) == nullptr;
}

// A command line: words, each with its terminator.
struct command_words {
    size_t length;
    char text[PROC_TEXT_MAX];
};

static void read_words(int number, command_words *words)
{
    words->length = read_process_file(number, "cmdline", words->text);
}

// Null for null, to begin with the first; null behind the last.
static const char *next_word(const command_words &words, const char *word)
{
    const char *next = word == nullptr ? words.text : word + strlen(word) + 1;
    return next < words.text + words.length ? next : nullptr;
}

bool is_process(int number, const char *const names[], size_t count)
{
    char name[64];
    command_words words;
    if (number <= 0 || !has_state(number, name, sizeof(name)))
        return false;
    if (is_named(name, names, count))
        return true;
    read_words(number, &words);
    const char *word = next_word(words, nullptr);
    for (int i = 0; i < WORDS_LOOKED_AT && word != nullptr; i++) {
        if (is_named(word, names, count))
            return true;
        word = next_word(words, word);
    }
    return false;
}

static bool has_words(int number, const char *first, const char *second)
{
    command_words words;
    read_words(number, &words);
    bool is_behind_first = false;
    for (const char *word = next_word(words, nullptr); word != nullptr;
         word = next_word(words, word)) {
        if (is_behind_first && strcmp(word, second) == 0)
            return true;
        is_behind_first = strcmp(word, first) == 0;
    }
    return false;
}

static int to_number(const char *text)
{
    errno = 0;
    long number = strtol(text, nullptr, 10);
    return errno != 0 || number <= 0 || number > INT_MAX ? 0 : static_cast<int>(number);
}

pid_file read_pid_file(const char *path)
{
    pid_file file = {};
    char text[64];
    struct stat status;
    if (stat(path, &status) != 0) {
        note_unseen(path, errno);
        return file;
    }
    if (!S_ISREG(status.st_mode))
        return file;
    read_start(path, text, sizeof(text));
    file.number = to_number(text);
    const char *line_end = strchr(text, '\n');
    if (line_end != nullptr)
        text_set(file.iface, line_end + 1);
    file.iface[strcspn(file.iface, "\n")] = '\0';
    return file;
}

int find_process(const char *path, const char *name)
{
    int number = read_pid_file(path).number;
    const char *const names[] = {name};
    return is_process(number, names, 1) ? number : 0;
}

int find_process_by_words(const char *name, const char *first, const char *second)
{
    const char *const names[] = {name};
    DIR *directory = opendir("/proc");
    if (directory == nullptr) {
        note_unseen("/proc", errno);
        return 0;
    }
    int found = 0;
    while (found == 0) {
        errno = 0;
        dirent *entry = readdir(directory);
        if (entry == nullptr)
            break;
        int number = to_number(entry->d_name);
        if (number > 0 && has_words(number, first, second) && is_process(number, names, 1))
            found = number;
    }
    if (found == 0 && errno != 0)
        note_unseen("/proc", errno);
    closedir(directory);
    return found;
}
