// What a setting of the NVRAM tells, and leaves, when one of its calls fails: the section is the
// old one or the new one, nothing lies beside it, and the user hears of it. (The sweep fails every
// call of every command, and looks at what must hold of all.)
#include "support/recorder_failing.h"
#include "support/router_box.h"
#include "support/world_root.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <vector>

namespace
{

constexpr char SECTION[] = "/etc/nvram/0";
const std::string BEFORE = "ethaddr=00:0A:EB:11:22:30\nsn=old\n";
const std::string AFTER = "ethaddr=00:0A:EB:11:22:30\nsn=new\n";

struct failing_row {
    const char *name;
    counted_call call;
    unsigned nth; // of its kind
    int error;
    failing_how how;
    bool is_set;
    const char *err;
};

constexpr char REFUSED[] = "nvram set returned error (-"; // and the number
constexpr char TOLD[] = "/etc/nvram/0: ";                 // and the C library's word for it

// clang-format off
const failing_row rows[] = {
    // The first open() and close() make sure of the standard descriptors.
    {"the section cannot be opened to look at it", CALL_open, 2, EMFILE, FAILS_ONCE, true, TOLD},
    {"the section cannot be read to look at it", CALL_read, 1, EIO, FAILS_ONCE, true, TOLD},
    {"a signal while the section is looked at", CALL_read, 1, EINTR, FAILS_ONCE, true, ""},
    {"the lock's file cannot be opened", CALL_open, 3, EMFILE, FAILS_ONCE, false, REFUSED},
    {"the lock cannot be had", CALL_flock, 1, ENOLCK, FAILS_ONCE, false, REFUSED},
    {"a signal while the lock is waited for", CALL_flock, 1, EINTR, FAILS_ONCE, true, ""},
    {"the section cannot be opened", CALL_open, 4, EMFILE, FAILS_ONCE, false, REFUSED},
    {"the section cannot be read", CALL_read, 3, EIO, FAILS_ONCE, false, REFUSED},
    {"the end of the section cannot be read", CALL_read, 4, EIO, FAILS_ONCE, false, REFUSED},
    {"a signal while the section is read", CALL_read, 3, EINTR, FAILS_ONCE, true, ""},
    {"the section cannot be closed", CALL_close, 3, EIO, FAILS_ONCE, false, REFUSED},
    {"no room for a new section", CALL_open, 5, ENOSPC, FAILS_ONCE, false, REFUSED},
    {"the mode cannot be kept", CALL_fchmod, 1, EPERM, FAILS_ONCE, false, REFUSED},
    {"no room for what is in the new section", CALL_write, 1, ENOSPC, FAILS_ONCE, false, REFUSED},
    {"no room for its end, nor for a message", CALL_write, 1, ENOSPC, FAILS_HALF_WAY, false, ""},
    {"a signal while the new section is written", CALL_write, 1, EINTR, FAILS_ONCE, true, ""},
    {"a signal amid the new section", CALL_write, 1, EINTR, STOPS_HALF_WAY, true, ""},
    {"the flash refuses the new section", CALL_fsync, 1, EIO, FAILS_ONCE, false, REFUSED},
    {"the new section cannot be closed", CALL_close, 4, EIO, FAILS_ONCE, false, REFUSED},
    {"the new section cannot take its place", CALL_rename, 1, EROFS, FAILS_ONCE, false, REFUSED},
    {"the directory cannot be opened", CALL_open, 6, EMFILE, FAILS_ONCE, true, ""},
    {"the directory cannot be flushed", CALL_fsync, 2, EIO, FAILS_ONCE, true, ""},
};
// clang-format on

class failing_nvram : public testing::Test
{
  protected:
    support::router_box box{support::program_of_build("mmac")};

    support::failing_outcome set(const support::failing_plan &plan)
    {
        box.write(SECTION, BEFORE, 0640);
        return box.run_failing({"mmac", "set", "sn", "new"}, {}, plan);
    }
};

// The number among all calls of the nth of a kind.
unsigned number_of(const std::vector<uint8_t> &calls, counted_call call, unsigned nth)
{
    for (size_t i = 0; i < calls.size(); i++) {
        if (calls[i] == call && --nth == 0)
            return static_cast<unsigned>(i) + 1;
    }
    return 0;
}

TEST_F(failing_nvram, is_the_old_one_or_the_new_one)
{
    const std::vector<uint8_t> calls = set({}).calls;
    EXPECT_EQ(box.read(SECTION), AFTER);
    for (const failing_row &row : rows) {
        SCOPED_TRACE(row.name);
        support::failing_plan plan = {number_of(calls, row.call, row.nth), row.error, row.how,
                                      PROGRAM_ITSELF, 0};
        ASSERT_NE(plan.number, 0U);
        support::failing_outcome seen = set(plan);
        EXPECT_GE(seen.hits, 1U);
        EXPECT_EQ(seen.result.status, row.is_set ? 0 : 1);
        EXPECT_EQ(seen.result.err.substr(0, strlen(row.err)), row.err);
        EXPECT_EQ(seen.result.err.empty(), row.err[0] == '\0');
        if (row.err == REFUSED) {
            EXPECT_EQ(seen.result.err, REFUSED + std::to_string(row.error) + ")\n");
        }
        EXPECT_EQ(box.read(SECTION), row.is_set ? AFTER : BEFORE);
        EXPECT_EQ(box.mode(SECTION), 0640U);
        EXPECT_EQ(box.list("/etc/nvram"), (std::vector<std::string>{"0", "0.lock"}));
    }
}

} // namespace
