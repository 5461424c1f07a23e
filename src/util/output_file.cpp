#include "util/output_file.h"

FILE *create_output(const char *path)
{
    FILE *file = fopen(path, "w");
    if (file == nullptr)
        perror(path);
    return file;
}

void close_output(FILE *file, const char *path)
{
    fflush(file);
    if (ferror(file))
        perror(path);
    fclose(file);
}
