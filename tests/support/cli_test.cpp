// The box from the command line.
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

namespace
{

struct said {
    int status;
    std::string text;
};

said router_box(const std::string &options)
{
    FILE *pipe = popen((ROUTER_BOX " " + options + " 2>&1").c_str(), "r");
    said result = {-1, ""};
    char block[512];
    while (size_t length = fread(block, 1, sizeof block, pipe))
        result.text.append(block, length);
    result.status = WEXITSTATUS(pclose(pipe));
    return result;
}

TEST(cli, carries_out_its_options_in_order)
{
    said s = router_box(R"(--write '/etc/x=one\ntwo' --show /etc/x --write /etc/x=three )"
                        R"(--show /etc/x --trace --interface br0 --ip '-br link show br0')");
    EXPECT_EQ(s.status, 0) << s.text;
    EXPECT_EQ(s.text.substr(0, s.text.find("---- ip")),
              "---- /etc/x\none\ntwo\n---- /etc/x\nthree\n---- trace\n");
    EXPECT_NE(s.text.find("br0 "), std::string::npos);
}

TEST(cli, runs_the_program)
{
    said s = router_box("--run 'no_such_name with words' --outcome");
    EXPECT_EQ(s.status, 0);
    EXPECT_EQ(s.text, "---- outcome\nstatus 0\n");
}

TEST(cli, explains_itself_and_what_is_wrong)
{
    EXPECT_EQ(router_box("--help").status, 0);
    EXPECT_NE(router_box("--help").text.find("--interface NAME"), std::string::npos);
    EXPECT_EQ(router_box("").status, 2);
    for (const char *options : {"--what", "--run", "--show /none", "--rule nonsense", "--write x",
                                "--outcome", "--run ''", "--run \"'\""}) {
        said s = router_box(options);
        EXPECT_EQ(s.status, 1) << options;
        EXPECT_NE(s.text.find("router-box: "), std::string::npos) << s.text;
    }
}

} // namespace
