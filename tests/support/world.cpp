#include "support/world.h"

#include "support/namespaces.h"
#include "support/record.h"
#include "support/trace_format.h"
#include "support/world_root.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace support
{

namespace
{

std::deque<std::string> components(const std::string &path)
{
    std::deque<std::string> parts;
    std::istringstream stream(path);
    for (std::string part; std::getline(stream, part, '/');)
        if (!part.empty() && part != ".")
            parts.push_back(part);
    return parts;
}

std::string link_target(const std::string &path)
{
    char target[4096];
    ssize_t length = readlink(path.c_str(), target, sizeof target);
    return std::string(target, length > 0 ? size_t(length) : 0);
}

std::string read_file(const std::string &path, const std::string &shown_path)
{
    int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        fail(shown_path);
    std::string text = whole_file(file);
    close(file);
    return text;
}

std::vector<std::string> sorted_names(const std::string &directory, const std::string &shown_path)
{
    DIR *entries = opendir(directory.c_str());
    if (entries == nullptr)
        fail(shown_path);
    std::vector<std::string> names;
    errno = 0;
    while (const dirent *entry = readdir(entries)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    if (errno != 0)
        fail(shown_path);
    closedir(entries);
    std::sort(names.begin(), names.end());
    return names;
}

struct stat status_of(const std::string &path, int flags, const std::string &shown_path)
{
    struct stat status;
    if (fstatat(AT_FDCWD, path.c_str(), &status, flags) != 0)
        fail(shown_path);
    return status;
}

void copy_tree(const std::string &from, const std::string &to)
{
    struct stat status = status_of(from, AT_SYMLINK_NOFOLLOW, from);
    if (S_ISDIR(status.st_mode)) {
        make_directory(to, status.st_mode & 07777);
        for (const std::string &name : sorted_names(from, from))
            copy_tree(from + "/" + name, to + "/" + name);
        return;
    }
    remove_tree(to);
    if (S_ISLNK(status.st_mode)) {
        if (symlinkat(link_target(from).c_str(), AT_FDCWD, to.c_str()) != 0)
            fail(to);
        return;
    }
    std::string content = read_file(from, from);
    make_file(to, content.data(), content.size(), status.st_mode & 07777);
}

// What a rule cannot say by its form alone.
std::string wrong_with(const struct rule &rule)
{
    std::string kind = rule.kind;
    std::string argument = rule.argument[0];
    if (kind == "fail" && error_number(rule.argument[0]) == 0)
        return "no error has this name";
    if (kind == "watch" && argument != "exists")
        return "only existence tests can be watched";
    if (kind == "exit" && argument.find_first_not_of("0123456789") != std::string::npos)
        return "the status is not a number";
    return "";
}

// The device that a rule plays.
std::string device_of(const struct rule &rule)
{
    std::string kind = rule.kind;
    if (kind == "gpio")
        return "/dev/gpio";
    return kind == "flash" || kind == "flash-status" ? "/dev/flash0" : "";
}

} // namespace

// Where a path of the world lies, seen from here, with its links followed as the world has them: an
// absolute target is one of the world's.
std::string world::place(const std::string &path, bool follow_last) const
{
    std::string root = host_path("/");
    if (root == "/")
        return path;
    root.pop_back();
    std::deque<std::string> rest = components(path);
    std::string done;
    for (int links = 0; !rest.empty();) {
        std::string part = rest.front();
        rest.pop_front();
        if (part == "..") {
            done.erase(std::min(done.size(), done.rfind('/')));
            continue;
        }
        std::string target =
            rest.empty() && !follow_last ? "" : link_target(root + done + "/" + part);
        if (target.empty()) {
            done += "/" + part;
            continue;
        }
        if (++links > 40)
            throw std::runtime_error(path + ": " + strerror(ELOOP));
        std::deque<std::string> parts = components(target);
        rest.insert(rest.begin(), parts.begin(), parts.end());
        if (target[0] == '/')
            done.clear();
    }
    return root + done;
}

// The same, with the directories on the way made.
std::string world::place_for(const std::string &path)
{
    if (path.empty() || path[0] != '/')
        throw std::invalid_argument("not an absolute path: \"" + path + "\"");
    std::deque<std::string> parts = components(path);
    std::string above;
    for (size_t i = 0; i + 1 < parts.size(); i++) {
        above += "/" + parts[i];
        make_directory(place(above, true), 0755);
    }
    return place(path, false);
}

// The kernel shows the reader the settings of the network that the reader is in, wherever the file
// lies, so from outside these files are reached through a process in the world's network.
bool world::is_network_file(const std::string &path) const
{
    return host_path("/") != "/" &&
           (path.compare(0, 14, "/proc/sys/net/") == 0 || path.compare(0, 10, "/proc/net/") == 0);
}

void world::write(const std::string &path, std::string_view content, mode_t mode)
{
    if (is_network_file(path)) {
        in_network(
            {"/bin/sh", "-c", "printf %s \"$1\" > \"$2\"", "sh", std::string(content), path});
        return;
    }
    std::string to = place_for(path);
    remove_tree(to);
    make_file(to, content.data(), content.size(), mode);
}

std::string world::read(const std::string &path) const
{
    if (is_network_file(path))
        return const_cast<world *>(this)->in_network({"cat", path});
    return read_file(place(path, true), path);
}

bool world::exists(const std::string &path) const
{
    struct stat status;
    return fstatat(AT_FDCWD, place(path, false).c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

mode_t world::mode(const std::string &path) const
{
    return status_of(place(path, true), 0, path).st_mode & 07777;
}

std::string world::link(const std::string &path) const
{
    return link_target(place(path, false));
}

std::vector<std::string> world::list(const std::string &directory) const
{
    return sorted_names(place(directory, true), directory);
}

void world::mkdir(const std::string &path, mode_t mode)
{
    std::string to = place_for(path);
    make_directory(to, mode);
    if (fchmodat(AT_FDCWD, to.c_str(), mode, 0) != 0)
        fail(path);
}

void world::symlink(const std::string &target, const std::string &path)
{
    std::string to = place_for(path);
    remove_tree(to);
    if (symlinkat(target.c_str(), AT_FDCWD, to.c_str()) != 0)
        fail(path);
}

void world::remove(const std::string &path)
{
    remove_tree(place(path, false));
}

std::string world::fixture(const std::string &name) const
{
    return read_file(machine_path(MCFG_SOURCE_DIR "/tests/fixtures/" + name), "fixture " + name);
}

void world::copy_in(const std::string &host_directory, const std::string &path)
{
    place_for(path);
    copy_tree(machine_path(host_directory), place(path, true));
}

void world::tool(const std::string &path)
{
    symlink(BOX_TOOL, path);
}

void world::on(const std::string &text)
{
    static struct rule rule;
    const char *why = "it is more than one line";
    bool is_rule = text.find('\n') == std::string::npos && rule_parse(text.c_str(), &rule, &why);
    std::string wrong = is_rule ? wrong_with(rule) : why;
    if (!wrong.empty())
        throw std::invalid_argument("rule \"" + text + "\": " + wrong);
    std::string device = device_of(rule);
    if (!device.empty() && !exists(device))
        write(device, "");
    int file = open(place(BOX_RULES, true).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    std::string line = text + "\n";
    if (file < 0 || ::write(file, line.data(), line.size()) != ssize_t(line.size()))
        fail("rules");
    close(file);
}

void world::clear_rules()
{
    make_file(place(BOX_RULES, true), "", 0, 0666);
    make_file(place(BOX_COUNTS, true), "", 0, 0666);
}

std::string world::trace() const
{
    return joined(trace_lines(raw_trace()));
}

std::string world::trace_of(const std::vector<std::string> &kinds) const
{
    return joined(trace_lines(raw_trace(), kinds));
}

std::string world::raw_trace() const
{
    return read_file(place(BOX_TRACE, true), "trace");
}

void world::clear_trace()
{
    make_file(place(BOX_TRACE, true), "", 0, 0666);
}

} // namespace support
