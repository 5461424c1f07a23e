// Files and the documents in them: the program's calls are answered from memory.
#include "fuzz/descriptors.h"
#include "fuzz/guarded_memory.h"
#include "fuzz/outside_parts.h"
#include "fuzz/property.h"
#include "fuzz/streams.h"
#include "fuzz/world.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <jansson.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using fuzz::here;
using fuzz::SOCKET;
using fuzz::violated;

namespace
{

constexpr mode_t USUAL_MASK = 022;

mode_t file_mask = USUAL_MASK;

json_t *load(const char *path, size_t flags, json_error_t *error)
{
    int fd = here.files.open(path, O_RDONLY, 0);
    if (fd < 0)
        return nullptr;
    // A directory opens and cannot be read.
    const std::string *text = here.files.read(here.files.path_of(fd));
    json_t *root = text != nullptr ? json_loadb(text->data(), text->size(), flags, error) : nullptr;
    here.files.close(fd);
    return root;
}

int dump_piece(const char *buffer, size_t size, void *text)
{
    static_cast<std::string *>(text)->append(buffer, size);
    return 0;
}

} // namespace

void fuzz::release_file_mask()
{
    file_mask = USUAL_MASK;
}

extern "C" {

// Files

int outside_open(const char *path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list args;
        va_start(args, flags);
        mode = va_arg(args, mode_t);
        va_end(args);
    }
    return here.files.open(path, flags, mode & ~file_mask);
}

int outside_close(int fd)
{
    if (fd == SOCKET || fuzz::is_child()) // the parent's own stay open
        return 0;
    if (fuzz::is_standing(fd))
        return fuzz::close_standing(fd);
    return here.files.close(fd);
}

ssize_t outside_read(int fd, void *buffer, size_t size)
{
    if (fuzz::is_standing(fd))
        return fuzz::read_pipe(static_cast<char *>(buffer), size);
    return here.files.read(fd, static_cast<char *>(buffer), size);
}

ssize_t outside_write(int fd, const void *buffer, size_t size)
{
    return here.files.write(fd, static_cast<const char *>(buffer), size);
}

FILE *outside_fopen(const char *path, const char *mode)
{
    int flags = mode[0] == 'r' ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    int fd = outside_open(path, flags, 0666);
    return fd < 0 ? nullptr : fuzz::open_stream_on(fd, mode[0] != 'r');
}

FILE *outside_fdopen(int fd, const char *mode)
{
    return fuzz::open_stream_on(fd, mode[0] != 'r');
}

FILE *outside_fmemopen(void *text, size_t size, const char *)
{
    return fuzz::open_text(text, size);
}

int outside_fclose(FILE *stream)
{
    return fuzz::close_stream(stream);
}

int outside_fileno(FILE *stream)
{
    return fuzz::descriptor_of(stream);
}

int outside_dup2(int from, int to)
{
    return fuzz::is_child() ? to : fuzz::put_in_place(from, to);
}

int outside_access(const char *path, int)
{
    return here.files.test(path);
}

static int fill(const char *path, mode_t mode, struct stat *status)
{
    *status = {};
    status->st_mode = mode;
    status->st_mtim.tv_sec = here.files.change_time(path);
    return 0;
}

static int get_status(const char *path, bool follow, struct stat *status)
{
    mode_t mode = 0;
    return here.files.get_mode(path, follow, &mode) == 0 ? fill(path, mode, status) : -1;
}

int outside_stat(const char *path, struct stat *status)
{
    return get_status(path, true, status);
}

int outside_lstat(const char *path, struct stat *status)
{
    return get_status(path, false, status);
}

ssize_t outside_readlink(const char *path, char *buffer, size_t size)
{
    return here.files.read_link(path, buffer, size);
}

int outside_fstat(int fd, struct stat *status)
{
    std::string path = here.files.path_of(fd);
    if (outside_stat(path.c_str(), status) != 0)
        return -1;
    const std::string *content = here.files.read(path);
    status->st_size = content != nullptr ? static_cast<off_t>(content->size()) : 0;
    return 0;
}

int outside_ftruncate(int fd, off_t length)
{
    if (length != 0)
        violated("a file cut to %lld", static_cast<long long>(length));
    return here.files.make_empty(fd);
}

int outside_fchmod(int fd, mode_t mode)
{
    return here.files.set_mode(fd, mode);
}

int outside_fsync(int fd)
{
    return here.files.is_open(fd) ? 0 : -1;
}

int outside_flock(int, int)
{
    return 0;
}

// The record lock of hotplug events: held by nobody, or by another process.
int outside_fcntl(int fd, int command, ...)
{
    if (command == F_DUPFD_CLOEXEC)
        return fuzz::duplicate(fd);
    if (!here.files.is_open(fd)) {
        errno = EBADF;
        return -1;
    }
    va_list args;
    va_start(args, command);
    auto *request = va_arg(args, struct flock *);
    va_end(args);
    unsigned answer = here.answer();
    if (answer == 1) {
        errno = EDEADLK;
        return -1;
    }
    if (answer == 2 && command == F_SETLK) {
        errno = EAGAIN;
        return -1;
    }
    if (command == F_GETLK && answer == 0)
        request->l_type = F_UNLCK;
    return 0;
}

mode_t outside_umask(mode_t mask)
{
    mode_t previous = file_mask;
    file_mask = mask;
    return previous;
}

int outside_unlink(const char *path)
{
    return here.files.unlink(path);
}

int outside_rename(const char *from, const char *to)
{
    return here.files.rename(from, to);
}

int outside_mkdir(const char *path, mode_t mode)
{
    return here.files.make_directory(path, mode & ~file_mask);
}

int outside_rmdir(const char *path)
{
    return here.files.remove_directory(path);
}

int outside_symlink(const char *target, const char *path)
{
    return here.files.make_link(target, path);
}

int outside_mknod(const char *path, mode_t mode, dev_t)
{
    return here.files.make_device(path, mode);
}

// Documents

json_t *outside_json_load_file(const char *path, size_t flags, json_error_t *error)
{
    return load(path, flags, error);
}

// In a few pieces: the library would take each character from the stream by a call of its own.
json_t *outside_json_loadf(FILE *stream, size_t flags, json_error_t *error)
{
    std::string text;
    char piece[4096];
    for (size_t count; (count = fread(piece, 1, sizeof(piece), stream)) > 0;)
        text.append(piece, count);
    return json_loadb(text.data(), text.size(), flags, error);
}

// The text is its caller's, to be given back with free().
char *outside_json_dumps(const json_t *root, size_t flags)
{
    char *text = json_dumps(root, flags);
    char *own = text != nullptr ? strdup(text) : nullptr;
    fuzz::give_guarded(text);
    return own;
}

int outside_json_dump_file(const json_t *root, const char *path, size_t flags)
{
    int fd = outside_open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd < 0)
        return -1;
    std::string text;
    int result = json_dump_callback(root, dump_piece, &text, flags);
    here.files.write(fd, text.data(), text.size());
    return here.files.close(fd) == 0 ? result : -1;
}
}
