// Quoting for the shell: what comes in is one word, the same one, and what stands behind it stays
// where it was. The checks themselves are in commands.cpp, where every target meets them.
#include "fuzz/guarded_memory.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"
#include "util/shell.h"

#include <cstring>

namespace fuzz
{

void test_quote(input &parts)
{
    char first[SHELL_LINE_MAX];
    char second[SHELL_LINE_MAX];
    char third[SHELL_LINE_MAX];
    const char *value = guarded_text(parts.next_text());
    shell_quote(first, value);
    shell_quote(second, guarded_text(parts.next_text()));
    shell_quote(third, guarded_text(parts.next_text()));
    shell_format("led %s %d %s", first, static_cast<int>(strlen(value)), second);
    shell_format("iptables -i %s -d %s -j %s", first, second, third);
    shell_format("mount %s", third);
}

} // namespace fuzz
