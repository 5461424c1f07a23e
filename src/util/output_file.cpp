#include "util/output_file.h"

#include <errno.h>
#include <string.h>

FILE *create_output(const char *path)
{
    FILE *file = fopen(path, "w");
    if (file == nullptr)
        perror(path);
    return file;
}

bool close_output(FILE *file, const char *path)
{
    fflush(file);
    bool is_whole = !ferror(file);
    if (!is_whole)
        perror(path);
    if (fclose(file) != 0 && is_whole) {
        perror(path);
        is_whole = false;
    }
    return is_whole;
}

int check_path_part(const char *name)
{
    if (strchr(name, '/') == nullptr)
        return 0;
    errno = EINVAL;
    perror(name);
    return EINVAL;
}
