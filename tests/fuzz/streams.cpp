#include "fuzz/streams.h"

#include "fuzz/property.h"
#include "fuzz/world.h"

#include <cerrno>
#include <cstdint>
#include <stdio_ext.h>

namespace fuzz
{

namespace
{

constexpr size_t STREAMS_MAX = 64; // as many as there are descriptors
constexpr size_t STREAMS_MIN = 8;  // by turns, so that one that was closed stays so for a while
constexpr size_t BUFFER_SIZE = 1024;
constexpr int CLOSED = -1;

struct stream {
    FILE *file = nullptr;
    int fd = CLOSED;
    char buffer[BUFFER_SIZE];
};

// The streams of one direction: the C library's own state of a stream depends on it.
struct pool {
    stream streams[STREAMS_MAX];
    size_t count = 0;
    size_t last = 0;
};

pool readers;
pool writers;

constexpr size_t TEXTS_MAX = 8;
FILE *texts[TEXTS_MAX] = {};

int open_descriptor(void *cookie)
{
    int fd = static_cast<stream *>(cookie)->fd;
    if (fd == CLOSED)
        violated("a stream is used after its closing");
    return fd;
}

ssize_t read_stream(void *cookie, char *buffer, size_t size)
{
    return here.files.read(open_descriptor(cookie), buffer, size);
}

ssize_t write_stream(void *cookie, const char *buffer, size_t size)
{
    ssize_t count = here.files.write(open_descriptor(cookie), buffer, size);
    return count < 0 ? 0 : count; // which is an error to the C library
}

stream *add_stream(pool *all, bool writes)
{
    if (all->count == STREAMS_MAX)
        violated("more streams than descriptors");
    stream *added = &all->streams[all->count++];
    added->file =
        fopencookie(added, writes ? "w" : "r", {read_stream, write_stream, nullptr, nullptr});
    setvbuf(added->file, added->buffer, _IOFBF, BUFFER_SIZE);
    __fsetlocking(added->file, FSETLOCKING_BYCALLER); // there is no other thread
    return added;
}

stream *next_closed(pool *all, bool writes)
{
    while (all->count < STREAMS_MIN)
        add_stream(all, writes);
    for (size_t i = 1; i <= all->count; i++) {
        size_t turn = (all->last + i) % all->count;
        if (all->streams[turn].fd != CLOSED)
            continue;
        all->last = turn;
        return &all->streams[turn];
    }
    return add_stream(all, writes);
}

stream *find(pool *all, const FILE *file)
{
    for (size_t i = 0; i < all->count; i++) {
        if (all->streams[i].file == file && all->streams[i].fd != CLOSED)
            return &all->streams[i];
    }
    return nullptr;
}

stream *find_open(const FILE *file)
{
    stream *found = find(&readers, file);
    return found != nullptr ? found : find(&writers, file);
}

// What was written to a stream after its closing lies in its buffer still.
void release(pool *all)
{
    for (size_t i = 0; i < all->count; i++) {
        stream &row = all->streams[i];
        if (row.fd == CLOSED && __fpending(row.file) != 0)
            violated("a stream is written to after its closing");
        row.fd = CLOSED;
        __fpurge(row.file);
    }
}

} // namespace

FILE *open_stream_on(int fd, bool writes)
{
    stream *opened = next_closed(writes ? &writers : &readers, writes);
    if (__fpending(opened->file) != 0)
        violated("a stream is written to after its closing");
    __fpurge(opened->file);
    clearerr(opened->file);
    opened->fd = fd;
    return opened->file;
}

FILE *open_text(void *text, size_t size)
{
    for (FILE *&place : texts) {
        if (place != nullptr)
            continue;
        place = fmemopen(text, size, "w");
        __fsetlocking(place, FSETLOCKING_BYCALLER);
        return place;
    }
    violated("texts are written one beside the other");
}

int close_stream(FILE *file)
{
    for (FILE *&place : texts) {
        if (place != file || file == nullptr)
            continue;
        place = nullptr;
        return fclose(file);
    }
    stream *closed = find_open(file);
    if (closed == nullptr)
        violated("a stream closed that is not open");
    int flushed = __fwriting(file) != 0 ? fflush(file) : 0;
    int error = errno;
    int fd = closed->fd;
    __fpurge(file); // what the disk had no room for
    closed->fd = CLOSED;
    if (here.files.close(fd) != 0)
        return EOF;
    errno = error;
    return flushed;
}

int descriptor_of(const FILE *file)
{
    const stream *found = find_open(file);
    return found != nullptr ? found->fd : -1;
}

void release_streams()
{
    release(&readers);
    release(&writers);
    for (const FILE *place : texts) {
        if (place != nullptr)
            violated("a stream into memory stays open");
    }
}

} // namespace fuzz
