#include "fuzz/memory_files.h"

#include "fuzz/names.h"
#include "fuzz/property.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace fuzz
{

namespace
{

constexpr int FIRST_DESCRIPTOR = 3;
constexpr int DESCRIPTORS_MAX = 64;
constexpr int LINKS_MAX = 8;
constexpr int ROOT = 0;
constexpr int NO_NODE = -1;

constexpr const char *directories[] = {
    "/dev",
    "/etc",
    "/etc/default",
    "/etc/nvram",
    "/etc/ppp",
    "/etc/ppp/peers",
    "/etc/Wireless",
    "/etc/Wireless/RT2860",
    "/etc_ro",
    "/etc_ro/wlan",
    "/media",
    "/proc",
    "/proc/net",
    "/sbin",
    "/sys",
    "/sys/devices",
    "/sys/devices/usb1",
    "/sys/class",
    "/sys/class/net",
    "/sys/devices/usb1/device",
    "/tmp",
    "/var",
    "/var/lock",
    "/var/log",
    "/var/run",
};

constexpr const char *devices[] = {"/dev/gpio", "/dev/flash0"};

// A path, or with "*" in it what stands before and behind that.
struct own_place {
    std::string_view head;
    std::string_view tail;
    bool has_star;

    constexpr own_place(const char *text) : head(text), tail(), has_star(false)
    {
        size_t star = head.find('*');
        if (star == std::string_view::npos)
            return;
        has_star = true;
        tail = head.substr(star + 1);
        head = head.substr(0, star);
    }
};

// Where the program creates, changes and removes files. "*" is any text without a "/".
constexpr own_place own_places[] = {
    "/var/run/Config",
    "/var/run/mctl-firewall.lock",
    "/var/run/mctl-heal.lock",
    "/var/run/state_link",
    "/var/run/net-state",
    "/var/lock/Config.lock",
    "/var/lock/state_link.lock",
    "/tmp/filter_rules",
    "/tmp/nat_rules",
    "/tmp/mangle_rules",
    "/tmp/hosts.runtime",
    "/tmp/lanwanext.conf",
    "/tmp/hotplug_lock",
    "/tmp/ppp",
    "/tmp/ppp/ip-up",
    "/tmp/ppp/ip-down",
    "/tmp/ppp/link.*",
    "/tmp/udhcpc",
    "/tmp/udhcpc.*.expires",
    "/etc/ppp/peers/*",
    "/etc/xl2tpd.conf",
    "/etc/device_params",
    "/etc/nvram",
    "/etc/nvram/*",
    "/etc/Wireless/RT2860/RT2860.dat",
    "/etc/Wireless/RT2860/RT2860.dat.new",
    "/dev/sd*",
    "/media/sd*",
};

bool has_slash(std::string_view text)
{
    for (char c : text) {
        if (c == '/')
            return true;
    }
    return false;
}

bool matches(const own_place &pattern, std::string_view path)
{
    if (!pattern.has_star)
        return is_same(pattern.head, path);
    size_t head = pattern.head.size();
    size_t tail = pattern.tail.size();
    if (path.size() < head + tail || !is_same(path.substr(0, head), pattern.head) ||
        !is_same(path.substr(path.size() - tail), pattern.tail))
        return false;
    return !has_slash(path.substr(head, path.size() - head - tail));
}

int fail_with(int error)
{
    errno = error;
    return -1;
}

} // namespace

int memory_files::add(kind what, int parent, std::string_view name, mode_t mode)
{
    if (used == nodes.size())
        nodes.emplace_back();
    int index = static_cast<int>(used++);
    node &added = nodes[static_cast<size_t>(index)];
    added.what = what;
    added.is_there = true;
    added.mode = mode;
    added.changed_s = 0;
    added.first_child = NO_NODE;
    added.name = name;
    added.data.clear();
    link_child(index, parent);
    return index;
}

void memory_files::link_child(int index, int parent)
{
    node &linked = nodes[static_cast<size_t>(index)];
    linked.parent = parent;
    linked.next_child = NO_NODE;
    if (index == ROOT)
        return;
    linked.next_child = nodes[static_cast<size_t>(parent)].first_child;
    nodes[static_cast<size_t>(parent)].first_child = index;
}

void memory_files::unlink_child(int index)
{
    const node &unlinked = nodes[static_cast<size_t>(index)];
    int *link = &nodes[static_cast<size_t>(unlinked.parent)].first_child;
    while (*link != index)
        link = &nodes[static_cast<size_t>(*link)].next_child;
    *link = unlinked.next_child;
}

// The first nodes are those of a booted router, and stay.
void memory_files::stand()
{
    add(kind::directory, ROOT, "", 0755);
    for (const char *path : directories)
        create(path, kind::directory, 0755, "");
    for (const char *path : devices)
        create(path, kind::device, 0600, "");
    for (node &row : nodes)
        row.first_standing_child = row.first_child;
    standing = used;
    descriptors.resize(DESCRIPTORS_MAX);
    followed.resize(LINKS_MAX + 1);
}

void memory_files::reset()
{
    change_count = 0;
    room = SIZE_MAX;
    if (standing == 0)
        stand();
    used = standing;
    for (size_t i = 0; i < standing; i++) {
        nodes[i].is_there = true;
        nodes[i].changed_s = 0;
        nodes[i].first_child = nodes[i].first_standing_child;
    }
    for (descriptor &row : descriptors)
        row.node = -1;
}

int memory_files::child(int directory, std::string_view name) const
{
    int index = nodes[static_cast<size_t>(directory)].first_child;
    while (index != NO_NODE) {
        const node &candidate = nodes[static_cast<size_t>(index)];
        if (candidate.is_there && is_same(candidate.name, name))
            break;
        index = candidate.next_child;
    }
    return index;
}

std::string memory_files::full_path(int index) const
{
    if (index == ROOT)
        return "";
    const node &last = nodes[static_cast<size_t>(index)];
    std::string path = full_path(last.parent);
    path += '/';
    path += last.name;
    return path;
}

bool memory_files::is_directory(int index) const
{
    return nodes[static_cast<size_t>(index)].what == kind::directory;
}

// One step on the way from here. Returns 0, or the error that ends the way.
int memory_files::step(place *here, std::string_view name) const
{
    if (here->node < 0)
        return ENOENT;
    if (!is_directory(here->node))
        return ENOTDIR;
    if (name.size() > NAME_MAX)
        return ENAMETOOLONG;
    if (is_same(name, ".."))
        here->node = nodes[static_cast<size_t>(here->node)].parent;
    else if (!is_same(name, "."))
        *here = {child(here->node, name), here->node, name};
    return 0;
}

memory_files::place memory_files::resolve(std::string_view path, bool follow, int depth)
{
    const place nowhere = {-1, -1, ""};
    place here = {ROOT, ROOT, ""};
    int error = path.empty() ? ENOENT : path.size() >= PATH_MAX ? ENAMETOOLONG : 0;
    if (depth > LINKS_MAX)
        error = ELOOP;
    size_t start = path.find_first_not_of('/');
    while (error == 0 && start != std::string_view::npos) {
        size_t end = std::min(path.find('/', start), path.size());
        error = step(&here, path.substr(start, end - start));
        start = path.find_first_not_of('/', end);
        bool is_last = start == std::string_view::npos;
        if (error != 0 || here.node < 0)
            continue;
        const node &found = nodes[static_cast<size_t>(here.node)];
        if (found.what == kind::link && (follow || !is_last)) {
            std::string &led_to = followed[static_cast<size_t>(depth)];
            led_to = found.data;
            led_to += path.substr(end);
            return resolve(led_to, follow, depth + 1);
        }
    }
    if (error == 0 && here.node >= 0 && path.back() == '/' && !is_directory(here.node))
        error = ENOTDIR;
    errno = error != 0 ? error : ENOENT;
    return error != 0 ? nowhere : here;
}

void memory_files::check_change(int directory, std::string_view name)
{
    change_count++;
    std::string path = full_path(directory);
    path += '/';
    path += name;
    for (const own_place &pattern : own_places) {
        if (matches(pattern, path))
            return;
    }
    violated("a change outside of the program's own places: %s", path.c_str());
}

int memory_files::create(const char *path, kind what, mode_t mode, const char *data)
{
    place where = resolve(path, false);
    if (where.directory < 0)
        return -1;
    if (where.node >= 0)
        return fail_with(EEXIST);
    if (standing != 0)
        check_change(where.directory, where.name);
    int made = add(what, where.directory, where.name, mode);
    nodes[static_cast<size_t>(made)].data = data;
    return 0;
}

void memory_files::put(std::string_view path, std::string_view content)
{
    place where = resolve(path, false);
    if (where.directory < 0)
        violated("no place for the file %s", std::string(path).c_str());
    int made = where.node >= 0 ? where.node : add(kind::file, where.directory, where.name, 0644);
    nodes[static_cast<size_t>(made)].data = content;
}

void memory_files::put_deep(std::string_view path, std::string_view content)
{
    for (size_t slash = path.find('/', 1); slash != path.npos; slash = path.find('/', slash + 1)) {
        place where = resolve(path.substr(0, slash), true);
        if (where.node < 0 && where.directory >= 0 && !where.name.empty())
            add(kind::directory, where.directory, where.name, 0755);
    }
    place where = resolve(path, false);
    bool is_free = where.node < 0 && where.directory >= 0 && !where.name.empty();
    if (is_free || (where.node >= 0 && nodes[static_cast<size_t>(where.node)].what == kind::file))
        put(path, content);
}

std::vector<std::string> memory_files::names_in(std::string_view path)
{
    std::vector<std::string> names;
    int found = find(path);
    int index = found >= 0 ? nodes[static_cast<size_t>(found)].first_child : NO_NODE;
    for (; index != NO_NODE; index = nodes[static_cast<size_t>(index)].next_child) {
        const node &candidate = nodes[static_cast<size_t>(index)];
        if (candidate.is_there)
            names.push_back(candidate.name);
    }
    return names;
}

void memory_files::set_change_time(std::string_view path, time_t when_s)
{
    int found = find(path);
    if (found >= 0)
        nodes[static_cast<size_t>(found)].changed_s = when_s;
}

time_t memory_files::change_time(std::string_view path)
{
    int found = find(path);
    return found >= 0 ? nodes[static_cast<size_t>(found)].changed_s : 0;
}

void memory_files::put_link(std::string_view path, const std::string &target)
{
    place where = resolve(path, false);
    if (where.directory < 0)
        return;
    int made = add(kind::link, where.directory, where.name, 0777);
    nodes[static_cast<size_t>(made)].data = target.c_str();
}

void memory_files::spoil(std::string_view path)
{
    place where = resolve(path, false);
    if (where.node > ROOT)
        nodes[static_cast<size_t>(where.node)].is_there = false;
    else if (where.directory >= 0 && !where.name.empty())
        add(kind::directory, where.directory, where.name, 0755);
}

const std::string *memory_files::read(std::string_view path)
{
    int found = find(path);
    bool is_file = found >= 0 && nodes[static_cast<size_t>(found)].what == kind::file;
    return is_file ? &nodes[static_cast<size_t>(found)].data : nullptr;
}

memory_files::descriptor *memory_files::get(int fd)
{
    if (!is_open(fd)) {
        errno = EBADF;
        return nullptr;
    }
    return &descriptors[static_cast<size_t>(fd - FIRST_DESCRIPTOR)];
}

bool memory_files::is_open(int fd) const
{
    return fd >= FIRST_DESCRIPTOR && fd < FIRST_DESCRIPTOR + DESCRIPTORS_MAX &&
           descriptors[static_cast<size_t>(fd - FIRST_DESCRIPTOR)].node >= 0;
}

std::string memory_files::path_of(int fd) const
{
    return is_open(fd) ? full_path(descriptors[static_cast<size_t>(fd - FIRST_DESCRIPTOR)].node)
                       : "";
}

int memory_files::open(const char *path, int flags, mode_t mode)
{
    place where = resolve(path, true);
    bool writes = (flags & O_ACCMODE) != O_RDONLY;
    if (where.node < 0) {
        if (where.directory < 0 || (flags & O_CREAT) == 0)
            return -1;
        // A name that ends in "/" cannot be that of a new file.
        if (path[strlen(path) - 1] == '/')
            return fail_with(EISDIR);
        check_change(where.directory, where.name);
        where.node = add(kind::file, where.directory, where.name, mode);
    }
    node &opened = nodes[static_cast<size_t>(where.node)];
    if (opened.what == kind::directory && writes)
        return fail_with(EISDIR);
    if (writes && opened.what == kind::file)
        check_change(opened.parent, opened.name);
    for (size_t i = 0; i < descriptors.size(); i++) {
        if (descriptors[i].node >= 0)
            continue;
        if ((flags & O_TRUNC) != 0)
            opened.data.clear();
        descriptors[i] = {where.node, 0, flags};
        return static_cast<int>(i) + FIRST_DESCRIPTOR;
    }
    return fail_with(EMFILE);
}

int memory_files::close(int fd)
{
    descriptor *row = get(fd);
    if (row == nullptr)
        return -1;
    row->node = -1;
    return 0;
}

ssize_t memory_files::read(int fd, char *buffer, size_t size)
{
    descriptor *row = get(fd);
    if (row == nullptr)
        return -1;
    const node &from = nodes[static_cast<size_t>(row->node)];
    if (from.what == kind::directory)
        return fail_with(EISDIR);
    size_t count = from.data.copy(buffer, size, std::min(row->position, from.data.size()));
    row->position += count;
    return static_cast<ssize_t>(count);
}

ssize_t memory_files::write(int fd, const char *buffer, size_t size)
{
    descriptor *row = get(fd);
    if (row == nullptr)
        return -1;
    if ((row->flags & O_ACCMODE) == O_RDONLY)
        return fail_with(EBADF);
    if (size > room)
        return fail_with(ENOSPC);
    room -= size;
    std::string &data = nodes[static_cast<size_t>(row->node)].data;
    if (data.size() < row->position + size)
        data.resize(row->position + size);
    data.replace(row->position, size, buffer, size);
    row->position += size;
    return static_cast<ssize_t>(size);
}

int memory_files::truncate(int fd)
{
    descriptor *row = get(fd);
    if (row == nullptr)
        return -1;
    nodes[static_cast<size_t>(row->node)].data.clear();
    return 0;
}

bool memory_files::is_empty(int directory) const
{
    int index = nodes[static_cast<size_t>(directory)].first_child;
    while (index != NO_NODE && !nodes[static_cast<size_t>(index)].is_there)
        index = nodes[static_cast<size_t>(index)].next_child;
    return index == NO_NODE;
}

int memory_files::remove(const char *path, kind unwanted, int error, bool is_directory)
{
    place where = resolve(path, false);
    if (where.node < 0)
        return -1;
    node &removed = nodes[static_cast<size_t>(where.node)];
    if ((removed.what == unwanted) != is_directory)
        return fail_with(error);
    if (is_directory && !is_empty(where.node))
        return fail_with(ENOTEMPTY);
    check_change(removed.parent, removed.name);
    removed.is_there = false;
    return 0;
}

int memory_files::unlink(const char *path)
{
    return remove(path, kind::directory, EISDIR, false);
}

int memory_files::remove_directory(const char *path)
{
    return remove(path, kind::directory, ENOTDIR, true);
}

int memory_files::rename(const char *from, const char *to)
{
    place source = resolve(from, false);
    place target = resolve(to, false);
    if (source.node < 0 || target.directory < 0)
        return -1;
    node &moved = nodes[static_cast<size_t>(source.node)];
    check_change(moved.parent, moved.name);
    check_change(target.directory, target.name);
    if (target.node >= 0)
        nodes[static_cast<size_t>(target.node)].is_there = false;
    unlink_child(source.node);
    link_child(source.node, target.directory);
    moved.name = target.name;
    return 0;
}

int memory_files::make_directory(const char *path, mode_t mode)
{
    return create(path, kind::directory, mode, "");
}

int memory_files::make_link(const char *target, const char *path)
{
    return create(path, kind::link, 0777, target);
}

int memory_files::make_device(const char *path, mode_t mode)
{
    return create(path, kind::device, mode, "");
}

int memory_files::get_mode(const char *path, bool follow, mode_t *mode)
{
    int found = resolve(path, follow).node;
    if (found < 0)
        return -1;
    const node &asked = nodes[static_cast<size_t>(found)];
    mode_t type = S_IFREG;
    switch (asked.what) {
    case kind::file:
        break;
    case kind::directory:
        type = S_IFDIR;
        break;
    case kind::link:
        type = S_IFLNK;
        break;
    case kind::device:
        type = S_IFBLK;
        break;
    }
    *mode = asked.mode | type;
    return 0;
}

ssize_t memory_files::read_link(const char *path, char *buffer, size_t size)
{
    int found = resolve(path, false).node;
    if (found < 0)
        return -1;
    const node &asked = nodes[static_cast<size_t>(found)];
    if (asked.what != kind::link)
        return fail_with(EINVAL);
    return static_cast<ssize_t>(asked.data.copy(buffer, size));
}

int memory_files::make_empty(int fd)
{
    descriptor *row = get(fd);
    if (row == nullptr)
        return -1;
    nodes[static_cast<size_t>(row->node)].data.clear();
    return 0;
}

int memory_files::set_mode(int fd, mode_t mode)
{
    descriptor *row = get(fd);
    if (row == nullptr)
        return -1;
    nodes[static_cast<size_t>(row->node)].mode = mode;
    return 0;
}

int memory_files::test(const char *path)
{
    return find(path) >= 0 ? 0 : -1;
}

} // namespace fuzz
