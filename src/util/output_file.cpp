#include "util/output_file.h"

#include "util/open_file.h"
#include "util/text.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

constexpr size_t OUTPUT_PATH_MAX = 128;
using output_path = char[OUTPUT_PATH_MAX];

FILE *create_output(const char *path)
{
    FILE *file = open_stream(path, "w");
    if (file == nullptr)
        perror(path);
    return file;
}

void write_text(const char *path, const char *text)
{
    FILE *file = open_stream(path, "w");
    if (file == nullptr)
        return;
    fputs(text, file);
    fclose(file);
}

bool close_output(FILE *file, const char *path)
{
    errno = 0;
    fflush(file);
    bool is_whole = !ferror(file);
    if (!is_whole) {
        if (errno == 0) // it was an earlier write that failed
            errno = EIO;
        perror(path);
    }
    if (fclose(file) != 0 && is_whole) {
        perror(path);
        is_whole = false;
    }
    return is_whole;
}

static void path_beside(output_path &beside, const char *path)
{
    text_format(beside, sizeof(beside), "%s.new", path);
}

FILE *create_beside(const char *path)
{
    output_path beside;
    path_beside(beside, path);
    FILE *file = open_stream(beside, "w");
    if (file == nullptr) {
        perror(path);
        unlink(beside); // which was made when memory did not suffice for more
        return nullptr;
    }
    struct stat before;
    if (stat(path, &before) == 0)
        fchmod(fileno(file), before.st_mode & 07777);
    return file;
}

void replace_output(FILE *file, const char *path)
{
    output_path beside;
    path_beside(beside, path);
    if (close_output(file, path)) {
        if (rename(beside, path) == 0)
            return;
        perror(path);
    }
    unlink(beside);
}

int check_path_part(const char *name)
{
    if (strchr(name, '/') == nullptr)
        return 0;
    errno = EINVAL;
    perror(name);
    return EINVAL;
}
