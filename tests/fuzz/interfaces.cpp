// The kernel's list of interfaces and their addresses, of the input's text (world.h).
#include "fuzz/guarded_memory.h"
#include "fuzz/lines.h"
#include "fuzz/outside.h"
#include "fuzz/world.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace fuzz
{

namespace
{

// A line of here.interfaces, word by word.
std::string_view take_word(std::string_view *line)
{
    size_t end = std::min(line->find(' '), line->size());
    std::string_view word = line->substr(0, end);
    line->remove_prefix(std::min(end + 1, line->size()));
    return word;
}

sockaddr *make_address(std::string_view word)
{
    if (word.empty() || word == "-")
        return nullptr;
    sockaddr_in address = {};
    address.sin_family = AF_INET6;
    const std::string text(word);
    if (word != "6") {
        address.sin_family = AF_INET;
        inet_pton(AF_INET, text.c_str(), &address.sin_addr);
    }
    return static_cast<sockaddr *>(
        memcpy(take_guarded(sizeof(address)), &address, sizeof(address)));
}

struct flag_letter {
    char letter;
    unsigned flag;
};

constexpr flag_letter flag_letters[] = {
    {'u', IFF_UP},
    {'r', IFF_RUNNING},
    {'p', IFF_POINTOPOINT},
};

unsigned make_flags(std::string_view letters)
{
    unsigned flags = 0;
    for (const flag_letter &row : flag_letters)
        flags |= letters.find(row.letter) != letters.npos ? row.flag : 0;
    return flags;
}

ifaddrs *make_row(std::string_view line, ifaddrs *next)
{
    auto *row = static_cast<ifaddrs *>(take_guarded(sizeof(ifaddrs)));
    *row = {};
    row->ifa_next = next;
    row->ifa_name = guarded_text(std::string(take_word(&line).substr(0, IF_NAMESIZE - 1)));
    row->ifa_flags = make_flags(take_word(&line));
    row->ifa_addr = make_address(take_word(&line));
    row->ifa_netmask = make_address(take_word(&line));
    row->ifa_dstaddr = make_address(take_word(&line));
    return row;
}

} // namespace

} // namespace fuzz

using fuzz::here;

extern "C" {

int outside_getifaddrs(ifaddrs **list);
void outside_freeifaddrs(ifaddrs *list);

int outside_getifaddrs(ifaddrs **list)
{
    *list = nullptr;
    if (here.interfaces == nullptr) {
        errno = ENOBUFS;
        return -1;
    }
    std::vector<std::string_view> lines;
    std::string_view rest = *here.interfaces;
    for (std::string_view line; fuzz::next_line(&rest, &line);)
        lines.push_back(line);
    for (size_t i = lines.size(); i > 0; i--)
        *list = fuzz::make_row(lines[i - 1], *list);
    return 0;
}

void outside_freeifaddrs(ifaddrs *) {}
}
