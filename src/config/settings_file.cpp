#include "config/settings_file.h"

#include <ctype.h>

FILE *open_settings(const char *path)
{
    FILE *file = fopen(path, "r");
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
