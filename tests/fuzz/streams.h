// Streams over the files in memory. They are kept and used again: making and freeing one costs more
// than a small target does in all.
#pragma once

#include <cstdio>

namespace fuzz
{

// A stream on an open descriptor, which its closing closes.
FILE *open_stream_on(int fd, bool writes);

// As fmemopen() to write, for one that close_stream() closes.
FILE *open_text(void *text, size_t size);

// As fclose(). A stream that is not open is a violation.
int close_stream(FILE *stream);

// -1 when it is no open stream.
int descriptor_of(const FILE *stream);

// Forget the streams still open, and see that none was used after its closing.
void release_streams();

} // namespace fuzz
