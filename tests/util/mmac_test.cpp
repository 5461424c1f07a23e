// What the MAC tool's own tests in a router box cannot show: an answer that finds no room.
#include "util/mmac.h"

#include "platform/nvram.h"
#include "support/unit_test.h"

#include <fcntl.h>
#include <stdio.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

class mmac_answer : public support::unit_test
{
  protected:
    struct query {
        const char *parameter;
        const char *file;
        int status;
    };

    // In a process of its own, which has no part in what gtest has still to write.
    static void ask(void *context)
    {
        query *asked = static_cast<query *>(context);
        pid_t child = fork();
        if (child == 0) {
            std::string words[] = {"mmac", "get", asked->parameter};
            char *argv[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
            int out = open(asked->file, O_WRONLY | O_CREAT, 0600);
            dup2(out, STDOUT_FILENO);
            _exit(mmac_main(3, argv));
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        asked->status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // The message and the status of "mmac get PARAMETER" whose standard output is that file.
    static std::string end_of(const char *parameter, const char *file)
    {
        query asked = {parameter, file, -1};
        std::string said = support::private_world::captured(2, ask, &asked);
        return said + std::to_string(asked.status);
    }
};

TEST_F(mmac_answer, that_cannot_be_written_is_none)
{
    nvram_close(0);
    world.write("/etc/nvram/0", "ethaddr=00:0a:eb:11:22:30\npin=12345670\n");
    world.write("/dev/full", "");
    world.bind("/dev/full", "/dev/full");
    for (const char *parameter : {"pin", "lan", "wan"}) {
        SCOPED_TRACE(parameter);
        EXPECT_NE(end_of(parameter, "/dev/full").find("mmac: No space left on device\n1"),
                  std::string::npos);
        EXPECT_EQ(end_of(parameter, "/tmp/answer").back(), '0');
    }
}

TEST(mmac_parameters, have_eleven_keys)
{
    EXPECT_STREQ(parameter_key(0), "ethaddr");
    EXPECT_STREQ(parameter_key(10), "appex");
    for (size_t index : {11U, 12U, 200U})
        EXPECT_EQ(parameter_key(index), nullptr);
}

} // namespace
