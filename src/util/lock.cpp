#include "util/lock.h"

#include "util/log.h"
#include "util/text.h"

#include <stdio.h>
#include <unistd.h>

void lock_path(char (&path)[LOCK_PATH_MAX], const char *name)
{
    text_format(path, sizeof(path), "/var/lock/%s.lock", name);
}

static bool exists(const char *path)
{
    return access(path, F_OK) == 0;
}

static bool create(const char *path)
{
    FILE *file = fopen(path, "w");
    if (file == nullptr)
        return false;
    fprintf(file, "%d", static_cast<int>(getpid()));
    fclose(file);
    return true;
}

lock_result try_lock_file(const char *name, unsigned tries)
{
    char path[LOCK_PATH_MAX];
    lock_path(path, name);
    for (unsigned i = 0; i < tries; i++) {
        if (!exists(path))
            return create(path) ? lock_result::taken : lock_result::no_file;
    }
    return lock_result::held;
}

bool remove_lock_file(const char *name)
{
    char path[LOCK_PATH_MAX];
    lock_path(path, name);
    return unlink(path) == 0;
}

int set_lock_on_file(const char *name, unsigned tries)
{
    switch (try_lock_file(name, tries)) {
    case lock_result::taken:
        return 1;
    case lock_result::no_file:
        logmessage("mcfg-open_file_with_lock", "Can't open unlock file");
        return 0;
    case lock_result::held:
        break;
    }
    logmessage("mcfg-set_lock_on_file", "Can't lock file");
    return 0;
}

int clear_lock_on_file(const char *name, unsigned tries)
{
    char path[LOCK_PATH_MAX];
    lock_path(path, name);
    for (unsigned i = 0; i < tries; i++) {
        if (exists(path)) {
            unlink(path);
            return 1;
        }
    }
    logmessage("mcfg-clear_lock_on_file", "Can't clear lock file");
    return 0;
}
