// mctl report to the letter: all its sections of an example router, what is masked, and where each
// part of it ends. The text is in tests/fixtures/ctl/report.
#include "ctl/run_mctl.h"
#include "support/texts.h"
#include "support/unit_test.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

namespace
{

using ctl_test::run_mctl;
using ctl_test::told;

class report_command : public support::unit_test
{
  protected:
    void SetUp() override
    {
        unit_test::SetUp();
        tzset();
        world.copy_in(support::example_path("router"), "/");
        world.tool("/sbin/logread");
        world.on("print '-A VSERVER -j ACCEPT\\n' iptables -t nat -S");
    }

    // The report without its first lines, which are of this machine and moment.
    std::string report()
    {
        told seen = run_mctl({"report"});
        EXPECT_EQ(seen.status, 0);
        EXPECT_EQ(seen.err, "");
        size_t begin = seen.out.find("\n\n==== ");
        head = seen.out.substr(0, begin + 1);
        return seen.out.substr(begin + 1);
    }

    // What it says of one title.
    std::string section(const std::string &title)
    {
        std::string text = report();
        size_t begin = text.find("\n==== " + title + "\n");
        if (begin == std::string::npos)
            return "there is no section " + title;
        begin += title.size() + 7;
        return text.substr(begin, text.find("\n==== ", begin) - begin);
    }

    std::string head;
};

TEST_F(report_command, tells_all_that_a_bug_report_needs)
{
    world.write("/var/run/state_link", R"({"state_links":[{"iface":"ppp1","login":null}]})");
    world.write("/etc/default/ppp-peers", "# name pppoe auto login passwd iface ac service metric\n"
                                          "wan1 pppoe 1 grandma sesame42 vlan2 ac1 isp 1\n"
                                          " \tten-four\tl2tp   0\tsomeone\tabc 192.0.2.9 3\n"
                                          "short pptp\n"
                                          "x\n");
    world.write("/etc/nvram/0", "ethaddr=00:0A:EB:11:22:30\npin=12345670\nno equals sign\n" +
                                    std::string(63, 'k') + "=shown\n" + std::string(64, 'k') +
                                    "=hidden\n=no key\nsn=\n");
    world.write("/etc/nvram/1",
                "SSID1=home of grandma\nWPAPSK1=sesame42\nChannel=6\nKey1Str1=abc\n");
    world.write("/var/log/messages", "Jan  1 00:00:01 pppd: user grandma, password sesame42\n"
                                     "\ttabs stay, \033[31m colours and \xc3\xa9 do not ~ \x7f\n"
                                     "abc alone, abcd and labc not\n");
    world.write("/etc/default/upnp", "UPNP_ENABLE=1\r\n\r\n\nUPNP_NAME=x\n");
    // Last, so that it is not older than the settings.
    world.write("/var/run/Config",
                R"({"Network":{"Lan":[{"iface":"br0","name":"LAN0","type":"static"}],"Wan":[)"
                R"({"iface":"vlan2","name":"WAN","auto":true,"type":"pppoe","have_tunnels":true,)"
                R"("Tunnels":[{"name":"wan1","type":"pppoe","auto":true,"metric":1,"rate":1.5,)"
                R"("login":"somebody","passwd":["se","same"]},{"name":"wan2","passwd":"ab"}]}]}})");
    world.on("print '-P INPUT ACCEPT\\n-A INPUT -j DROP\\n-N X\\n-Another\\n-A X -j ACCEPT' "
             "iptables -t filter -S");
    world.on("exit 4 iptables -t mangle -S");
    EXPECT_TRACE("\n" + world.fixture("ctl/report"), report());
    EXPECT_EQ(
        support::without(world.trace(), {"log "}),
        "run iptables -t nat -S (x2)\nrun iptables -t filter -S\nrun iptables -t mangle -S\n");
}

TEST_F(report_command, begins_with_the_version_the_time_and_the_machine)
{
    time_t before = time(nullptr);
    report();
    std::vector<std::string> lines = support::lines_of(head);
    ASSERT_EQ(lines.size(), 4U) << head;
    EXPECT_EQ(lines[0].substr(0, 21), "mctl report, version ");
    size_t comma = lines[0].find(", ", 21);
    EXPECT_EQ(lines[0].find_first_not_of("0123456789.", 21), comma) << lines[0];
    ASSERT_NE(comma, std::string::npos);
    tm local = {};
    ASSERT_NE(strptime(lines[0].c_str() + comma + 2, "%Y-%m-%d %H:%M:%S", &local), nullptr)
        << lines[0];
    EXPECT_LE(before, timegm(&local));
    EXPECT_GE(time(nullptr), timegm(&local));
    const char *const files[] = {"/proc/version", "/proc/uptime", "/proc/loadavg"};
    for (size_t i = 0; i < 3; i++) {
        std::string own = std::string(files[i]) + ": ";
        EXPECT_EQ(lines[i + 1].substr(0, own.size()), own);
        EXPECT_GT(lines[i + 1].size(), own.size() + 4);
    }
}

TEST_F(report_command, of_a_router_without_anything_says_so)
{
    for (const char *path : {"/etc/default", "/etc/nvram", "/etc/TZ"})
        world.remove(path);
    world.write("/var/run/Config", "{");
    std::string text = report();
    EXPECT_NE(text.find("\n==== mctl status\n"
                        "could not look: /var/run/Config is no JSON: mcfg set_config makes it\n"
                        "\n==== mctl check\n"),
              std::string::npos)
        << text;
    size_t files = text.find("\n==== /etc/default/network-interfaces\n");
    std::string expected;
    for (const char *path :
         {"/etc/default/network-interfaces", "/etc/default/ppp-peers", "/etc/default/dns.conf",
          "/etc/default/wimax", "/etc/default/ip_filter", "/etc/default/igmp", "/etc/default/upnp",
          "/etc/default/sched_list", "/etc/default/rules", "/etc/default/macfilter_list",
          "/etc/default/url_filter", "/etc/default/httpd_access.conf", "/etc/default/vservers",
          "/etc/default/masq", "/etc/default/trigger_ports", "/etc/TZ", "/etc/nvram/0",
          "/etc/nvram/1"})
        expected += std::string("\n==== ") + path + "\n(not to be read)\n";
    EXPECT_EQ(text.substr(files),
              expected +
                  "\n==== /var/run/Config\n(no JSON)\n\n==== /var/run/state_link\n(no JSON)\n"
                  "\n==== the last lines of the log\n");
}

// Where the system's log is no file, it is asked for.
// What the status could not look at is none of the findings'.
TEST_F(report_command, says_in_each_part_what_it_could_not_look_at_there)
{
    world.write("/var/run/Config", R"({"Network":{"Lan":[],"Wan":[]}})");
    world.on("fail EIO exists /var/lock/Config.lock");
    std::string text = report();
    EXPECT_NE(text.find("\n==== mctl status\ncould not look: cannot look at "
                        "/var/lock/Config.lock: Input/output error\n"),
              std::string::npos)
        << text.substr(0, 500);
    EXPECT_EQ(text.find("not all is told"), std::string::npos) << text.substr(0, 3000);
}

TEST_F(report_command, has_the_log_from_elsewhere)
{
    world.on("print 'a line of 12345670\\n' logread");
    EXPECT_EQ(section("the last lines of the log"), "a line of ***\n");
    EXPECT_NE(world.trace().find("run logread\n"), std::string::npos);
    world.write("/var/log/messages", "a file\n");
    EXPECT_EQ(section("the last lines of the log"), "a file\n");
}

// ---- where parts end

std::string lines(size_t count, size_t length)
{
    std::string text;
    for (size_t i = 0; i < count; i++)
        text += std::string(length - 1, static_cast<char>('a' + i % 26)) + "\n";
    return text;
}

constexpr char BEHIND[] = "(what is behind this is left out)\n";

TEST_F(report_command, has_8_kb_of_a_file)
{
    const std::string most = lines(8, 1025); // of 1024 without their ends
    world.write("/etc/default/igmp", most);
    EXPECT_EQ(section("/etc/default/igmp"), most);
    world.write("/etc/default/igmp", most + "x\n");
    EXPECT_EQ(section("/etc/default/igmp"), most + BEHIND);
    world.write("/etc/default/igmp", lines(9, 1025));
    EXPECT_EQ(section("/etc/default/igmp"), most + BEHIND);
}

TEST_F(report_command, has_24_kb_of_a_document)
{
    const size_t room = 24 * 1024 - std::string("[\n \"\"\n]").size();
    const std::string most(room, 'x');
    world.write("/var/run/state_link", "[\"" + most + "\"]");
    EXPECT_EQ(section("/var/run/state_link"), "[\n \"" + most + "\"\n]\n");
    world.write("/var/run/state_link", "[\"" + most + "y\"]");
    EXPECT_EQ(section("/var/run/state_link"), "[\n \"" + most + "y\"\n\n" + BEHIND + "\n");
}

TEST_F(report_command, has_24_kb_of_the_findings)
{
    world.write("/etc/default/igmp", lines(400, 20));
    std::string findings = section("mctl check");
    EXPECT_EQ(findings.size(), 24 * 1024 + 1 + std::string(BEHIND).size());
    EXPECT_EQ(findings.substr(24 * 1024), std::string("\n") + BEHIND);
}

TEST_F(report_command, has_the_last_48_kb_of_the_log)
{
    const std::string most = lines(48, 1024);
    const std::string title = "the last lines of the log";
    world.write("/var/log/messages", most);
    EXPECT_EQ(section(title), most);
    world.write("/var/log/messages", "x" + most);
    EXPECT_EQ(section(title), "(what is older is left out)" + most.substr(1023));
    world.write("/var/log/messages", std::string(48 * 1024 + 1, 'x'));
    EXPECT_EQ(section(title), "(what is older is left out)\n");
}

TEST_F(report_command, has_256_kb)
{
    const std::string filled = lines(8, 1025);
    for (const char *path :
         {"/etc/default/network-interfaces", "/etc/default/ppp-peers", "/etc/default/dns.conf",
          "/etc/default/wimax", "/etc/default/ip_filter", "/etc/default/igmp", "/etc/default/upnp",
          "/etc/default/sched_list", "/etc/default/rules", "/etc/default/macfilter_list",
          "/etc/default/url_filter", "/etc/default/httpd_access.conf", "/etc/default/vservers",
          "/etc/default/masq", "/etc/default/trigger_ports", "/etc/TZ"})
        world.write(path, filled);
    for (const char *path : {"/var/run/Config", "/var/run/state_link"})
        world.write(path, "[\"" + std::string(25000, 'x') + "\"]");
    world.write("/var/log/messages", lines(49, 1024));
    for (const char *path : {"/etc/nvram/0", "/etc/nvram/1"})
        world.write(path, "n=" + std::string(8000, 'x') + "\n");
    told seen = run_mctl({"report"});
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.out.size(), 256U * 1024);
}

TEST_F(report_command, that_cannot_be_written_says_so)
{
    fflush(stdout);
    int own = dup(STDOUT_FILENO);
    int unwritable = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    dup2(unwritable, STDOUT_FILENO);
    int status = 0;
    std::string err = support::private_world::captured(
        2,
        [](void *to) {
            char *argv[] = {const_cast<char *>("mctl"), const_cast<char *>("report"), nullptr};
            *static_cast<int *>(to) = mctl_main(2, argv);
        },
        &status);
    dup2(own, STDOUT_FILENO);
    close(own);
    close(unwritable);
    clearerr(stdout);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(err, "mctl: the report could not be written\n");
}

} // namespace
