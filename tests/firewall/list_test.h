// What the tests of the list readers share: a reader run on a list, and what it wrote.
#pragma once

#include "firewall/filter_lists.h"
#include "firewall/nat_lists.h"
#include "firewall/switches.h"
#include "support/settings_files.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <stdio.h>
#include <string>

namespace firewall_test
{

using namespace settings_files;

using reader = int (*)(FILE *file);

// The readers with chain names that no table has.
inline int user_rules(FILE *file)
{
    return get_user_rules(file, "ACC", "DRP");
}

inline int mac_filters(FILE *file)
{
    return get_mac_filters(file, "br0", "ACC", "DRP");
}

inline int url_filters(FILE *file)
{
    return get_url_filters(file, "ACC", "DRP");
}

inline int port_triggers(FILE *file)
{
    return porttrigger_setting_morvi(file, "br0");
}

struct written {
    reader read;
    int result;
    std::string rules;
    std::string messages; // on standard error
};

inline void write_into(void *context)
{
    written *all = static_cast<written *>(context);
    all->rules = support::written([all](FILE *file) { all->result = all->read(file); });
}

inline written write_rules(reader read)
{
    written all = {read, 1, "", ""};
    all.messages = support::private_world::captured(2, write_into, &all);
    return all;
}

struct list_case {
    const char *name;
    std::string list;
    std::string rules;
};

class list_test : public support::unit_test, public testing::WithParamInterface<list_case>
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        fw = {};
        world.write(SCHEDULES, "mon 1 - 0100000 08001730 -\n"
                               "tue 1 - 0010000 09001000 -\n"
                               "week 1 - 1111111 00002359 -\n"
                               "ends 1 - 0100000 08001730\n"
                               "off 0 - 0100000 08001730 -\n");
    }

    void expect_rules(const char *path, reader read)
    {
        world.write(path, GetParam().list);
        written seen = write_rules(read);
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.rules, GetParam().rules);
        EXPECT_EQ(seen.messages, "");
    }
};

} // namespace firewall_test
