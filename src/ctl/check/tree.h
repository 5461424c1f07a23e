// The settings as they lie below some directory, which may be a router's root or a copy of it.
#pragma once

#include <stddef.h>

// A longer file is not looked at behind this.
constexpr size_t SETTINGS_FILE_MAX = 1024 * 1024;

enum class file_state {
    loaded,
    missing,
    not_a_file, // kind says what it is
    unreadable, // error says why
};

struct loaded_file {
    file_state state = file_state::missing;
    const char *kind = ""; // "directory", "FIFO" ...
    int error = 0;         // an errno
    bool is_cut = false;   // it goes on behind what was loaded
    char *bytes = nullptr; // a terminator behind them
    size_t length = 0;
};

// Load the file path, absolute as the router sees it, from below root. Symbolic links are followed
// as the router would: their targets, too, are below root. What is no plain file is not opened, so
// nothing here can wait for anybody. The bytes belong to the caller (unload_file()).
loaded_file load_file(const char *root, const char *path);
void unload_file(loaded_file *file);

// Whether there is a directory of that name on this machine.
bool is_directory(const char *path);
