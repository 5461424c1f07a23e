// The files of a world as values, to be compared and put back.
#pragma once

#include <map>
#include <string>
#include <sys/types.h>

namespace sweep
{

struct file {
    mode_t mode;         // with its type
    std::string content; // of a link its target; empty for what is neither file nor link
    bool operator==(const file &other) const
    {
        return mode == other.mode && content == other.content;
    }
    bool operator!=(const file &other) const { return !(*this == other); }
};

using files =
    std::map<std::string, file>; // by path in the world, directories before what is in them

// What is in the directories that the program may write to, in the world whose root is there.
files read_files(const std::string &root);

// Makes the files of a world what they were: before, given what is there now.
void put_back(const std::string &root, const files &before, const files &now);

// The content of a file, "" when it is missing.
const std::string &content_of(const files &all, const std::string &path);

} // namespace sweep
