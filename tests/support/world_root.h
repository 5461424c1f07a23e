// The root directory of a world: a file system in memory, made inside of the world's own mount
// namespace, so that it vanishes with the world.
#pragma once

#include <string>
#include <sys/types.h>

namespace support
{

// Where the root directory is mounted, in the world's mount namespace, before anyone enters it.
// Every machine has this directory, and nothing that a test shows in a world lies below it.
extern const std::string root_place;

// The programs that the build made for the worlds.
struct built_files {
    std::string program; // the program under test
    std::string tool;    // the recorder for outside tools
    std::string preload; // the recorder for calls of the C library, for the router box
    std::string foreign; // what these two are started with, a directory; "" for nothing
};
// MCFG_BOX_PROGRAMS in the environment names a directory with other programs and another
// librecorder_preload.so than this build's: those of another compiler, C library or processor. When
// it has a directory "foreign", the box shows that as FOREIGN_PLACE (foreign_program.c).
built_files &files_of_build();
// A program of the same build, that of the name given.
std::string program_of_build(const std::string &name);

// Mounts an empty root directory and shows in it what never changes: the machine's libraries and
// shell, process information, the recorders. Its caller is the first process of the world's process
// numbers, and is not yet inside. program is bound as /sbin/mcfg unless it is "".
void mount_root(const std::string &program);

// Lays out the standard directories, the tools and an empty trace in a root directory, which root
// leads to ("" from inside).
void fill_root(const std::string &root);

// Takes everything out again except for what is mounted.
void empty_root(const std::string &root);

// Shows a file or directory of the machine, read-only, at an absolute path in root.
void bind_read_only(const std::string &from, const std::string &root, const std::string &path);

// Mounts an empty disk of that size ("8k") at a path, whose directories are made.
void mount_disk(const std::string &path, const std::string &size);

// The directories above a path; those that exist stay as they are.
void make_directories_above(const std::string &path);
void make_directory(const std::string &path, mode_t mode);
// Removes a file or a directory with all below; missing is fine.
void remove_tree(const std::string &path);
// Makes path a link to the recorder, in place of what was there.
void make_tool(const std::string &root, const std::string &path);
void make_file(const std::string &path, const void *content, size_t size, mode_t mode);

} // namespace support
