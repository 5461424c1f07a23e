// Command lines and their words. A line's format and values are seen here on their way into the
// routine that forms it (the linker leads the calls here), and the line again on its way out to the
// shell: whatever the values hold, the words must be those of the format.
#include "fuzz/commands.h"

#include "fuzz/names.h"
#include "fuzz/property.h"
#include "fuzz/shell_words.h"
#include "fuzz/world.h"
#include "util/process.h"
#include "util/shell.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace fuzz
{

namespace
{

// The only lines that are more than a simple command. No value has a place in them.
constexpr std::string_view whole_lines[] = {
    "echo 0 > /proc/sys/net/ipv4/ip_forward",
    "export -p > /tmp/ppp-down-env",
    "export -p > /tmp/ppp-up-env",
    "export -p > /tmp/udhcpc-env",
    "export -p > /tmp/udhcpc-env-deconfig",
    "export -p >> /tmp/hotplug_usb",
};

constexpr std::string_view commands[] = {
    "/etc/init.d/scripts/3g",
    "/etc/init.d/scripts/dnsmasq.rc",
    "/etc/init.d/scripts/resolv",
    "/etc/init.d/scripts/wscd.rc",
    "/usr/sbin/mknetifaces.sh",
    "/usr/sbin/sys_netbase",
    "brctl",
    "config-vlan.sh",
    "hostname",
    "ifconfig",
    "iptables",
    "iptables-restore",
    "iwpriv",
    "led",
    "mkdir",
    "modprobe",
    "mount",
    "mtd_write",
    "reboot",
    "rmmod",
    "rt2860apd",
    "umount",
    "vconfig",
};

constexpr std::string_view tools[] = {
    "/etc/init.d/scripts/resolv",
    "brctl",
    "firewall_update",
    "iptables",
    "iptables-restore",
    "killall",
    "logread",
    "mcfg",
    "pppd",
    "sys_netbase",
    "udhcpc",
    "vconfig",
    "xl2tpd",
};

template <size_t N> bool is_among(const std::string_view (&list)[N], std::string_view text)
{
    for (std::string_view row : list) {
        if (is_same(text, row))
            return true;
    }
    return false;
}

// The word that the shell makes of a value in a format: none of an empty one.
std::vector<std::string> words_of_value(const char *value)
{
    std::vector<std::string> words;
    if (split_line(value, &words) != line_kind::words || words.size() > 1)
        violated("a value that is more than one word: %s", value);
    return words;
}

// The words of a format with its values filled in, as the shell is to see them.
class expectation
{
  public:
    std::vector<std::string> of(const char *format, va_list args)
    {
        for (const char *c = format; *c != '\0'; c++) {
            if (*c == ' ')
                end_word();
            else if (*c == '%')
                add_value(*++c, args);
            else
                add(std::string_view(c, 1));
        }
        end_word();
        return words;
    }

  private:
    void add_value(char conversion, va_list args)
    {
        if (conversion == 'd') {
            add(std::to_string(va_arg(args, int)));
            return;
        }
        if (conversion != 's')
            violated("a conversion that nobody looks after: %c", conversion);
        for (const std::string &value : words_of_value(va_arg(args, const char *)))
            add(value);
    }

    void add(std::string_view text)
    {
        word += text;
        is_open = true;
    }

    void end_word()
    {
        if (is_open)
            words.push_back(std::move(word));
        word.clear();
        is_open = false;
    }

    std::vector<std::string> words;
    std::string word;
    bool is_open = false;
};

bool is_beginning_of(const std::vector<std::string> &some, const std::vector<std::string> &all)
{
    if (some.empty() || some.size() > all.size())
        return false;
    for (size_t i = 0; i + 1 < some.size(); i++) {
        if (some[i] != all[i])
            return false;
    }
    const std::string &last = some.back();
    return all[some.size() - 1].compare(0, last.size(), last) == 0;
}

// A line that is cut may only be run when it is plain: inside of quotes, the place of the cut would
// decide what the shell makes of it.
void check_expected(const std::string &line, const std::vector<std::string> &words)
{
    if (here.is_cut && line.find('\'') != std::string::npos)
        violated("a cut line with quotes was run: %s", line.c_str());
    if (here.is_cut ? !is_beginning_of(words, here.expected) : words != here.expected)
        violated("other words than those of the format: %s", line.c_str());
}

} // namespace

void check_line(const char *text)
{
    const std::string line = text;
    here.lines.push_back(line);
    here.commands.push_back(line);
    if (is_among(whole_lines, line))
        return;
    std::vector<std::string> words;
    if (split_line(line, &words) != line_kind::words)
        violated("more than a simple command: %s", text);
    if (words.empty() || !is_among(commands, words[0]))
        violated("no command of ours: %s", text);
    if (here.is_expecting)
        check_expected(line, words);
    if (here.on_command)
        here.on_command(words);
}

void check_tool(const char *const words[])
{
    if (!is_among(tools, words[0]))
        violated("no tool of ours: %s", words[0]);
    here.tools.emplace_back();
    std::string command;
    for (; *words != nullptr; words++) {
        here.tools.back().push_back(*words);
        command += (command.empty() ? "" : " ") + here.tools.back().back();
    }
    here.commands.push_back(command);
}

} // namespace fuzz

using fuzz::here;
using fuzz::violated;

extern "C" {

// The routines of util/shell.h, as the linker sees them.
int real_shell_format(const char *format, ...) asm("__real__Z12shell_formatPKcz");
[[gnu::format(printf, 1, 2)]] int seen_shell_format(const char *format,
                                                    ...) asm("__wrap__Z12shell_formatPKcz");
const char *real_shell_quote(char *out, const char *value) asm("__real__Z11shell_quoteRA256_cPKc");
const char *seen_shell_quote(char *out, const char *value) asm("__wrap__Z11shell_quoteRA256_cPKc");

int seen_shell_format(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    here.expected = fuzz::expectation().of(format, again);
    va_end(again);
    char line[2 * SHELL_LINE_MAX]; // what is beyond that is cut off here or there
    int length = vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    here.is_cut = length >= static_cast<int>(SHELL_LINE_MAX);
    here.is_expecting = true;
    int result = real_shell_format("%s", line);
    here.is_expecting = false;
    return result;
}

const char *seen_shell_quote(char *out, const char *value)
{
    const std::string before = value; // out may be the same place
    const char *result = real_shell_quote(out, value);
    std::vector<std::string> words;
    if (fuzz::split_line(result, &words) != fuzz::line_kind::words || words.size() > 1)
        violated("a quoted value that is more than one word: %s", result);
    const std::string word = words.empty() ? "" : words[0];
    bool is_whole = word == before;
    bool is_cut = strlen(result) + strlen("'\\''") >= SHELL_LINE_MAX &&
                  before.compare(0, word.size(), word) == 0;
    if (!is_whole && !is_cut)
        violated("a quoted value that is another one: %s", result);
    return result;
}
}
