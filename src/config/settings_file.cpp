#include "config/settings_file.h"

#include "util/open_file.h"

#include <ctype.h>

FILE *open_settings(const char *path)
{
    FILE *file = open_stream(path, "r");
    if (file == nullptr)
        perror(path);
    return file;
}

bool is_skipped_line(char first, comments hash_lines)
{
    if (first == '#')
        return hash_lines == comments::skipped;
    return isspace(static_cast<unsigned char>(first));
}

bool next_settings_line(FILE *file, char (&line)[SETTINGS_LINE_MAX], comments hash_lines)
{
    while (fgets(line, sizeof(line), file) != nullptr) {
        if (!is_skipped_line(line[0], hash_lines))
            return true;
    }
    return false;
}

void close_settings(FILE *file, const char *path)
{
    if (ferror(file)) // errno is still that of the last line
        perror(path);
    fclose(file);
}
