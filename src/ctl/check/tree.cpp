#include "ctl/check/tree.h"

#include "util/text.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

constexpr int LINKS_MAX = 40; // as many as the kernel follows

// A path below root that is worked out part by part: done holds no link, rest is still to come.
struct walk {
    size_t root_length;
    char done[PATH_MAX];
    char rest[PATH_MAX];
    int links;
};

static void leave_directory(walk *w)
{
    char *slash = strrchr(w->done, '/');
    if (slash != nullptr && static_cast<size_t>(slash - w->done) >= w->root_length)
        *slash = '\0';
}

// Put the target of the link w->done in front of the rest. Returns 0 or an errno.
static int follow_link(walk *w)
{
    char target[PATH_MAX];
    ssize_t length = readlink(w->done, target, sizeof(target) - 1);
    if (length < 0)
        return errno;
    if (++w->links > LINKS_MAX)
        return ELOOP;
    target[length] = '\0';
    if (target[0] == '/')
        w->done[w->root_length] = '\0';
    else
        leave_directory(w);
    if (!text_append(target, "/") || !text_append(target, w->rest))
        return ENAMETOOLONG;
    text_set(w->rest, target);
    return 0;
}

static bool is_absence(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

// Take the next part of the rest. Returns 0 or an errno.
static int step(walk *w)
{
    char *part = w->rest + strspn(w->rest, "/");
    size_t length = strcspn(part, "/");
    char name[NAME_MAX + 1];
    if (length > NAME_MAX)
        return ENAMETOOLONG;
    memcpy(name, part, length);
    name[length] = '\0';
    memmove(w->rest, part + length, strlen(part + length) + 1);
    if (name[0] == '\0' || strcmp(name, ".") == 0)
        return 0;
    if (strcmp(name, "..") == 0) {
        leave_directory(w);
        return 0;
    }
    if (!text_append(w->done, "/") || !text_append(w->done, name))
        return ENAMETOOLONG;
    struct stat status;
    if (lstat(w->done, &status) != 0)
        return is_absence(errno) ? 0 : errno; // who opens it will see
    return S_ISLNK(status.st_mode) ? follow_link(w) : 0;
}

// Returns 0 or an errno. done is the path of this machine then.
static int resolve(walk *w, const char *root, const char *path)
{
    w->links = 0;
    if (!text_set(w->done, root) || !text_set(w->rest, path))
        return ENAMETOOLONG;
    size_t length = strlen(w->done);
    while (length > 0 && w->done[length - 1] == '/')
        w->done[--length] = '\0';
    w->root_length = length;
    int error = 0;
    while (error == 0 && w->rest[0] != '\0')
        error = step(w);
    return error;
}

struct kind_name {
    mode_t type;
    const char *name;
};

// clang-format off
constexpr kind_name kind_names[] = {
    {S_IFDIR, "directory"},
    {S_IFIFO, "FIFO"},
    {S_IFSOCK, "socket"},
};
// clang-format on

static const char *kind_of(mode_t mode)
{
    for (const kind_name &row : kind_names) {
        if ((mode & S_IFMT) == row.type)
            return row.name;
    }
    return "device";
}

// The length up to the last line end; all of it when there is none.
static size_t whole_lines(const char *bytes, size_t length)
{
    const void *end = memrchr(bytes, '\n', length);
    return end == nullptr ? length
                          : static_cast<size_t>(static_cast<const char *>(end) - bytes) + 1;
}

static int read_bytes(int fd, loaded_file *file)
{
    while (file->length <= SETTINGS_FILE_MAX) {
        ssize_t count = read(fd, file->bytes + file->length, SETTINGS_FILE_MAX + 1 - file->length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0)
            return 0;
        file->length += static_cast<size_t>(count);
    }
    file->is_cut = true;
    file->length = whole_lines(file->bytes, SETTINGS_FILE_MAX);
    return 0;
}

static void fail(loaded_file *file, int error)
{
    file->state = is_absence(error) ? file_state::missing : file_state::unreadable;
    file->error = error;
}

static void load_open(int fd, loaded_file *file)
{
    struct stat status;
    if (fstat(fd, &status) != 0) {
        fail(file, errno);
        return;
    }
    if (!S_ISREG(status.st_mode)) {
        file->state = file_state::not_a_file;
        file->kind = kind_of(status.st_mode);
        return;
    }
    file->bytes = static_cast<char *>(malloc(SETTINGS_FILE_MAX + 1));
    int error = file->bytes == nullptr ? ENOMEM : read_bytes(fd, file);
    if (error != 0) {
        unload_file(file);
        fail(file, error);
        return;
    }
    file->state = file_state::loaded;
    file->bytes[file->length] = '\0';
    char *smaller = static_cast<char *>(realloc(file->bytes, file->length + 1));
    if (smaller != nullptr)
        file->bytes = smaller;
}

loaded_file load_file(const char *root, const char *path)
{
    static walk w;
    loaded_file file;
    int error = resolve(&w, root, path);
    struct stat status;
    if (error == 0 && stat(w.done, &status) != 0)
        error = errno;
    if (error != 0) {
        fail(&file, error);
        return file;
    }
    if (!S_ISREG(status.st_mode)) { // opening a device may do something
        file.state = file_state::not_a_file;
        file.kind = kind_of(status.st_mode);
        return file;
    }
    int fd = open(w.done, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        fail(&file, errno);
        return file;
    }
    load_open(fd, &file);
    close(fd);
    return file;
}

void unload_file(loaded_file *file)
{
    free(file->bytes);
    file->bytes = nullptr;
    file->length = 0;
}

bool is_directory(const char *path)
{
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}
