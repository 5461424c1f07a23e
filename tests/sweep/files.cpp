#include "sweep/files.h"

#include "support/world_root.h"

#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace sweep
{

// The program and its tools know of no others.
static const char *const directories[] = {"/dev", "/etc", "/media", "/tmp", "/var"};

static std::string content_at(const std::string &path, mode_t mode)
{
    if (S_ISLNK(mode)) {
        char target[512];
        ssize_t length = readlink(path.c_str(), target, sizeof target);
        return std::string(target, length > 0 ? size_t(length) : 0);
    }
    if (!S_ISREG(mode))
        return "";
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

static void read_below(const std::string &root, const std::string &path, files &all)
{
    struct stat status;
    if (fstatat(AT_FDCWD, (root + path).c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return;
    all[path] = {status.st_mode, content_at(root + path, status.st_mode)};
    if (!S_ISDIR(status.st_mode))
        return;
    DIR *entries = opendir((root + path).c_str());
    if (entries == nullptr)
        throw std::runtime_error("sweep: " + path);
    while (const dirent *entry = readdir(entries))
        if (std::string name = entry->d_name; name != "." && name != "..")
            read_below(root, path + "/" + name, all);
    closedir(entries);
}

files read_files(const std::string &root)
{
    files all;
    for (const char *directory : directories)
        read_below(root, directory, all);
    return all;
}

static void make(const std::string &path, const file &wanted)
{
    mode_t mode = wanted.mode & 07777;
    if (S_ISDIR(wanted.mode))
        support::make_directory(path, mode);
    else if (S_ISLNK(wanted.mode) && symlinkat(wanted.content.c_str(), AT_FDCWD, path.c_str()) != 0)
        throw std::runtime_error("sweep: " + path);
    else if (S_ISFIFO(wanted.mode) && mkfifo(path.c_str(), mode) != 0)
        throw std::runtime_error("sweep: " + path);
    else if (S_ISREG(wanted.mode))
        support::make_file(path, wanted.content.data(), wanted.content.size(), mode);
}

void put_back(const std::string &root, const files &before, const files &now)
{
    for (auto entry = now.rbegin(); entry != now.rend(); ++entry) {
        auto wanted = before.find(entry->first);
        if (wanted == before.end() ||
            (wanted->second.mode & S_IFMT) != (entry->second.mode & S_IFMT))
            support::remove_tree(root + entry->first);
    }
    for (const auto &[path, wanted] : before) {
        auto found = now.find(path);
        bool is_same = found != now.end() && found->second == wanted;
        if (!is_same)
            make(root + path, wanted);
    }
}

const std::string &content_of(const files &all, const std::string &path)
{
    static const std::string none;
    auto found = all.find(path);
    return found != all.end() ? found->second.content : none;
}

} // namespace sweep
