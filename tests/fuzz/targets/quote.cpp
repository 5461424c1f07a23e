// Quoting for the shell: what comes in is one word, the same one, and what stands behind it stays
// where it was. The checks themselves are in commands.cpp, where every target meets them.
#include "fuzz/targets.h"
#include "fuzz/world.h"
#include "util/shell.h"

namespace fuzz
{

void test_quote(input &parts)
{
    char first[SHELL_LINE_MAX];
    char second[SHELL_LINE_MAX];
    char third[SHELL_LINE_MAX];
    // A C text ends at its NUL.
    const std::string values[] = {parts.next_text().c_str(), parts.next_text().c_str(),
                                  parts.next_text().c_str()};
    shell_quote(first, values[0].c_str());
    shell_quote(second, values[1].c_str());
    shell_quote(third, values[2].c_str());
    shell_format("led %s %d %s", first, static_cast<int>(values[0].size()), second);
    shell_format("iptables -i %s -d %s -j %s", first, second, third);
    shell_format("mount %s", third);
}

} // namespace fuzz
