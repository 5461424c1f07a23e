// A file system in memory: what the program sees of one, at the speed that a fuzzer needs.
//
// Directories, files, symbolic links and device nodes, paths resolved as the kernel does it ("..",
// links, a file that is no directory), errors as the kernel gives them. Whatever changes is held
// against the list of the program's own places.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace fuzz
{

class memory_files
{
  public:
    // Everything as on a router that has just booted: the directories, the devices, no files.
    void reset();

    // Put a file there, whatever the program may do at that place. Its directory must exist.
    void put(std::string_view path, std::string_view content);

    // The same with the directories on the way. Does nothing where there can be no file.
    void put_deep(std::string_view path, std::string_view content);

    // When a file was changed last: 0 unless it is set.
    void set_change_time(std::string_view path, time_t when_s);
    time_t change_time(std::string_view path);

    // What is in a directory.
    std::vector<std::string> names_in(std::string_view path);

    // Put a symbolic link to target there. Nothing may be in its place.
    void put_link(std::string_view path, const std::string &target);

    // Take away what is at path, or make a directory where nothing is.
    void spoil(std::string_view path);

    // Let only so many more bytes be written: the disk is full then.
    void set_room(size_t bytes) { room = bytes; }

    // Its content, or null when there is no such file.
    const std::string *read(std::string_view path);

    bool exists(std::string_view path) { return find(path) >= 0; }

    // The system calls. Descriptors begin with 3; results as the calls themselves have them, with
    // errno.
    int open(const char *path, int flags, mode_t mode);
    int close(int fd);
    ssize_t read(int fd, char *buffer, size_t size);
    ssize_t write(int fd, const char *buffer, size_t size);
    int truncate(int fd);
    int unlink(const char *path);
    int rename(const char *from, const char *to);
    int make_directory(const char *path, mode_t mode);
    int remove_directory(const char *path);
    int make_link(const char *target, const char *path);
    int make_device(const char *path, mode_t mode);
    int get_mode(const char *path, bool follow, mode_t *mode);
    ssize_t read_link(const char *path, char *buffer, size_t size);
    int make_empty(int fd);
    int set_mode(int fd, mode_t mode);
    int test(const char *path);

    // How often something was created, changed or removed.
    int changes() const { return change_count; }

    // The path of an open file.
    std::string path_of(int fd) const;
    bool is_open(int fd) const;

  private:
    enum class kind { file, directory, link, device };
    struct node {
        kind what;
        int parent;
        bool is_there;
        mode_t mode;
        time_t changed_s;
        int first_child;          // the last one added comes first
        int first_standing_child; // as it was when the router had booted
        int next_child;           // of the same parent
        std::string name;
        std::string data; // what is in a file; where a link leads to
    };
    struct descriptor {
        int node = -1;
        size_t position = 0;
        int flags = 0;
    };
    struct place {
        int node;              // -1 when it is not there
        int directory;         // -1 when it cannot be there: errno says why
        std::string_view name; // part of the path, or of the last link followed
    };

    int child(int directory, std::string_view name) const;
    int add(kind what, int parent, std::string_view name, mode_t mode);
    bool is_directory(int node) const;
    int step(place *here, std::string_view name) const;
    place resolve(std::string_view path, bool follow, int depth = 0);
    int find(std::string_view path) { return resolve(path, true).node; }
    std::string full_path(int node) const;
    void link_child(int node, int parent);
    void unlink_child(int node);
    void stand();
    void check_change(int directory, std::string_view name);
    int create(const char *path, kind what, mode_t mode, const char *data);
    int remove(const char *path, kind unwanted, int error, bool is_directory);
    bool is_empty(int directory) const;
    descriptor *get(int fd);

    std::vector<node> nodes;
    size_t used = 0;
    int change_count = 0;
    size_t room = 0;
    size_t standing = 0; // the nodes of a booted router come first
    std::vector<descriptor> descriptors;
    std::vector<std::string> followed; // paths that links have led to, by their depth
};

} // namespace fuzz
