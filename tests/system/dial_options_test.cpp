// The option files of "mcfg start_wan" as the real daemons read them: pppd in its dry run, which
// lists the options that it would run with, and xl2tpd up to the look-up of its server. Whatever a
// value holds, it comes back as this one value, and no other option appears.
#include "system/wan_box.h"

#include <chrono>
#include <filesystem>
#include <jansson.h>
#include <map>
#include <memory>
#include <stdlib.h>
#include <thread>
#include <unistd.h>

namespace
{

using support::lines_of;
using support::router_box;
using options = std::map<std::string, std::string>;

struct value_row {
    const char *name;
    const char *value;
    const char *read; // null for the whole value
};

const value_row value_rows[] = {
    {"plain", "home@isp.example.net", nullptr},
    {"every sign that is plain", "!$%&()*+,-./:;<=>?@AZ[]^_`az{|}~", nullptr},
    {"a reference to a file", "@/etc/passwd", nullptr},
    {"tabs", "p\tconnect\t/tmp/x", nullptr},
    {"blanks", " connect /tmp/x ", nullptr},
    {"line feeds", "p\nconnect /tmp/x\n", "p"},
    {"only a second line", "\nconnect /tmp/x", ""},
    {"a settings line's end", "secret\r\n", "secret"},
    {"carriage return", "p\rconnect\r/tmp/x", nullptr},
    {"other white space", "p\vconnect\f/tmp/x", nullptr},
    {"double quotes", "\" connect \"/tmp/x", nullptr},
    {"one quote", "\"", nullptr},
    {"single quotes", "' connect '/tmp/x", nullptr},
    {"backslashes", "\\\" connect /tmp/x\\", nullptr},
    {"escapes", "\\n\\tconnect\\x20\\040\\s", nullptr},
    {"comment", "#connect", nullptr},
    {"comment behind a word", "p # connect", nullptr},
    {"control characters", "\x01\x1b\x7f", nullptr},
    {"letters of other languages", "\xc3\xa4\xe4\xb8\xad", nullptr},
    {"as long as there is room, all of it quotes",
     "\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\""
     "\"\""
     "\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"",
     nullptr},
    {"an option", "connect", nullptr},
};

std::string read_of(const value_row &row)
{
    return row.read != nullptr ? row.read : row.value;
}

struct json_release {
    void operator()(json_t *value) const { json_decref(value); }
};

// pppd lists a value with "\" before what is special in its own files; a trace does so as well.
std::string unescaped(const std::string &text)
{
    static const std::map<char, char> letters = {
        {'t', '\t'}, {'n', '\n'}, {'b', '\b'}, {'f', '\f'}, {'r', '\r'}};
    std::string result;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] != '\\') {
            result += text[i];
            continue;
        }
        char next = text.at(++i);
        auto letter = letters.find(next);
        if (next == 'x') {
            result += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            result += letter != letters.end() ? letter->second : next;
        }
    }
    return result;
}

// What every peer file asks for.
const options common = {
    {"holdoff", "5"},
    {"usepeerdns", ""},
    {"ipcp-accept-remote", ""},
    {"ipcp-accept-local", ""},
    {"noauth", ""},
    {"nodefaultroute", ""},
    {"hide-password", ""},
    {"lcp-echo-interval", "30"},
    {"lcp-echo-failure", "3"},
    {"unit", "1"},
    {"maxfail", "0"},
    {"persist", ""},
    {"nomppe", ""},
};

// The password is never listed, and a plugin for PPTP is nothing that Debian has: so pppd gets the
// two values under other names, and its own PPPoE plugin from where Debian has it.
const std::pair<const char *, const char *> replaced_keys[] = {
    {"\npassword ", "\nremotename "},
    {"\nplugin pptp.so\n", "\nplugin rp-pppoe.so\n"},
    {"\npptp_server ", "\nrp_pppoe_ac "},
    {"\nplugin /usr/lib/pppd/", "\nplugin "},
};

// Debian lets only root and a group start pppd, but all read it.
struct runnable_copy {
    explicit runnable_copy(const char *original)
        : path(testing::TempDir() + "daemon-" + std::to_string(getpid()))
    {
        std::filesystem::copy_file(original, path);
        std::filesystem::permissions(path, std::filesystem::perms(0755));
    }
    ~runnable_copy() { std::filesystem::remove(path); }
    runnable_copy(const runnable_copy &) = delete;
    runnable_copy &operator=(const runnable_copy &) = delete;

    const std::string path;
};

// The file names a device: this option, which has no other effect here, takes the place of one.
constexpr char DEVICE_LINE[] = "nodetach";

class dial_options : public wan_box
{
  protected:
    runnable_copy pppd_file{"/usr/sbin/pppd"};
    router_box pppd{pppd_file.path};
    outcome dry_run;

    void SetUp() override
    {
        pppd.write("/dev/ppp", ""); // what it looks for before the dry run ends
        pppd.interface("vlan2");
    }

    // Dials one tunnel, whose members these are.
    outcome dial(options members)
    {
        std::unique_ptr<json_t, json_release> tunnel(json_object());
        for (const auto &member : members)
            json_object_set_new(tunnel.get(), member.first.c_str(),
                                json_string(member.second.c_str()));
        json_object_set_new(tunnel.get(), "auto", json_true());
        char *text = json_dumps(tunnel.get(), 0);
        const char *wan = members["type"] == "pppoe" ? "pppoe" : "dhcp";
        configure(std::string(R"([{"iface":"vlan2","auto":true,"type":")") + wan +
                  R"(","have_tunnels":true,"Tunnels":[)" + text + "]}]");
        free(text);
        return mcfg({"start_wan", "1", "0"});
    }

    // The options that pppd takes from the peer file of that name. Where these name no device, it
    // has to be given one.
    options read_by_pppd(const std::string &name, const char *device = "/dev/null")
    {
        std::string text = "\n" + box.read("/etc/ppp/peers/" + name);
        for (const auto &key : replaced_keys) {
            size_t place = text.find(key.first);
            if (place != std::string::npos)
                text.replace(place, strlen(key.first), key.second);
        }
        pppd.write("/etc/ppp/peers/tried", text);
        dry_run = pppd.run({"pppd", "call", "tried", device, "dryrun"});
        return listed();
    }

    options listed()
    {
        static const std::string source = "\t\t# (from /etc/ppp/peers/tried)";
        options result;
        for (const std::string &line : lines_of(dry_run.out)) {
            size_t end = line.find(source);
            if (end == std::string::npos)
                continue;
            size_t blank = std::min(line.find(' '), end);
            std::string value = blank < end ? line.substr(blank + 1, end - blank - 1) : "";
            result[unescaped(line.substr(0, blank))] = unescaped(value);
        }
        return result;
    }

    static options with_common(options own)
    {
        own.insert(common.begin(), common.end());
        return own;
    }
};

TEST_F(dial_options, of_pppoe_come_back_whole)
{
    for (const value_row &row : value_rows) {
        SCOPED_TRACE(row.name);
        const std::string value = row.value, read = read_of(row);
        dial({{"name", "wan1"},
              {"type", "pppoe"},
              {"login", value},
              {"passwd", value},
              {"iface", "vlan2"},
              {"ac", value},
              {"service", value}});
        EXPECT_EQ(read_by_pppd("wan1", DEVICE_LINE), with_common({{"plugin", "rp-pppoe.so"},
                                                                  {"vlan2", ""},
                                                                  {"linkname", "pppoe-wan1"},
                                                                  {"ipparam", "pppoe/wan1"},
                                                                  {"user", read},
                                                                  {"remotename", read},
                                                                  {"rp_pppoe_ac", read},
                                                                  {"rp_pppoe_service", read}}))
            << dry_run.out << dry_run.err;
        EXPECT_EQ(dry_run.status, 0);
    }
}

// Names become part of a path, and have room for 31 characters; a server has room for 15.
TEST_F(dial_options, of_pptp_come_back_whole)
{
    const value_row rows[] = {
        {"quotes", "a\" connect \"/x", nullptr},
        {"tabs", "a\tpty\tx", nullptr},
        {"a line feed", "a\npty x", "a"},
        {"backslash", "a\\", nullptr},
        {"comment", "#a", nullptr},
        {"a blank", " ", nullptr},
        {"single quote", "'", nullptr},
        {"another language", "\xc3\xa4", nullptr},
        {"an option", "plugin", nullptr},
    };
    for (const value_row &row : rows) {
        SCOPED_TRACE(row.name);
        const std::string value = row.value, read = read_of(row);
        std::string name = value, read_name = read;
        for (std::string *text : {&name, &read_name})
            text->resize(std::min(text->find('/'), text->size()));
        dial({{"name", name},
              {"type", "pptp"},
              {"login", value},
              {"passwd", value},
              {"server", value}});
        EXPECT_EQ(read_by_pppd(name), with_common({{"plugin", "rp-pppoe.so"},
                                                   {"name", read_name},
                                                   {"linkname", "pptp-" + read_name},
                                                   {"ipparam", "pptp/" + read_name},
                                                   {"user", read},
                                                   {"remotename", read},
                                                   {"rp_pppoe_ac", read}}))
            << dry_run.out << dry_run.err;
    }
}

TEST_F(dial_options, of_another_type_come_back_whole)
{
    dial({{"name", "modem"}, {"type", "x\tpty\t\"y"}, {"login", "l"}, {"passwd", "p"}});
    EXPECT_EQ(read_by_pppd("modem"), with_common({{"linkname", "x\tpty\t\"y-modem"},
                                                  {"ipparam", "x\tpty\t\"y/modem"},
                                                  {"user", "l"},
                                                  {"remotename", "p"}}))
        << dry_run.out << dry_run.err;
}

// Straight from a line of the settings.
TEST_F(dial_options, of_a_settings_line_come_back_whole)
{
    box.copy_in(support::example_path("router"), "/");
    box.write("/etc/default/ppp-peers", "work l2tp 1 user p\tconnect\t/tmp/x 198.51.100.10 3\n");
    mcfg({"set_config"});
    mcfg({"start_wan", "1", "0"});
    EXPECT_EQ(read_by_pppd("work"), with_common({{"linkname", "l2tp-work"},
                                                 {"ipparam", "l2tp/work"},
                                                 {"user", "user"},
                                                 {"remotename", "p\tconnect\t/tmp/x"},
                                                 {"connect", "/bin/true"},
                                                 {"nodeflate", ""},
                                                 {"nobsdcomp", ""},
                                                 {"noaccomp", ""},
                                                 {"nopcomp", ""}}))
        << dry_run.out << dry_run.err;
}

TEST_F(dial_options, of_a_name_that_leads_elsewhere_are_not_written)
{
    box.copy_in(support::example_path("router"), "/");
    box.write("/etc/passwd", "root\n");
    for (const char *type : {"l2tp", "pptp"}) {
        SCOPED_TRACE(type);
        box.write("/etc/default/ppp-peers",
                  std::string("../../passwd ") + type + " 1 user secret 198.51.100.10 3\n");
        mcfg({"set_config"});
        outcome started = mcfg({"start_wan", "1", "0"});
        EXPECT_EQ(rests(started.err, "../"), "../passwd: Invalid argument");
        EXPECT_EQ(rests(started.trace, "run "),
                  "udhcpc -RSb -A 30 -i vlan2 -p /var/run/udhcpc.vlan2.pid -s /tmp/udhcpc");
        EXPECT_EQ(box.read("/etc/passwd"), "root\n");
        EXPECT_EQ(box.list("/etc/ppp/peers"), std::vector<std::string>{});
        EXPECT_FALSE(box.exists("/etc/xl2tpd.conf"));
    }
}

TEST_F(dial_options, that_cannot_be_stored_are_not_used)
{
    box.write("/dev/full", "");
    box.bind("/dev/full", "/dev/full");
    box.symlink("/dev/full", "/etc/xl2tpd.conf");
    outcome started = dial({{"name", "work"}, {"type", "l2tp"}, {"server", "198.51.100.10"}});
    EXPECT_NE(started.err.find("/etc/xl2tpd.conf: No space left on device\n"), std::string::npos)
        << started.err;
    EXPECT_EQ(started.trace.find("run xl2tpd"), std::string::npos);
}

// ---- the device line of PPPoE, which is an option of no name

struct device_row {
    const char *iface;
    const char *device; // null when pppd knows none of that name, and says so
};

// clang-format off
const device_row device_rows[] = {
    {"vlan2", "vlan2"},
    {"vlan2\n", "vlan2"},
    {"vlan2:1", "vlan2"},
    {"connect", "connect"},
    {"pty", "pty"},
    {"ipv6", "ipv6"},
    {"115200", "115200"},
    {"null", "null"},
    {"a\"b\\c#d'e", "a\"b\\c#d'e"},
    {"\xc3\xa4", "\xc3\xa4"},
    {"debug", nullptr},
    {"zero", nullptr},
    {"/tmp/x", nullptr},
    {"/dev/null", nullptr},
    {"9600", nullptr},
    {"10.0.0.1:", nullptr},
    {"a\tpty\tx", nullptr},
    {"eth2", nullptr},
};
// clang-format on

TEST_F(dial_options, device_line_is_a_device)
{
    for (const device_row &row : device_rows) {
        SCOPED_TRACE(row.iface);
        if (row.device != nullptr && strcmp(row.device, "vlan2") != 0)
            pppd.interface(row.device);
        dial({{"name", "wan1"},
              {"type", "pppoe"},
              {"login", "l"},
              {"passwd", "p"},
              {"iface", row.iface}});
        options seen = read_by_pppd("wan1", DEVICE_LINE);
        if (row.device == nullptr) {
            EXPECT_NE(dry_run.status, 0) << dry_run.out;
            EXPECT_NE(dry_run.err.find("unrecognized option"), std::string::npos) << dry_run.err;
        } else {
            EXPECT_EQ(seen.count(row.device), 1u) << dry_run.out << dry_run.err;
            EXPECT_EQ(seen.size(), common.size() + 8) << dry_run.out;
        }
    }
}

// ---- the configuration of xl2tpd

class l2tp_options : public dial_options
{
  protected:
    // The name that xl2tpd asks the address of: what it has read as its server.
    static std::string server_read_by_xl2tpd(const std::string &configuration)
    {
        static const std::string begin = "Host name lookup failed for ";
        router_box xl2tpd("/usr/sbin/xl2tpd");
        xl2tpd.mkdir("/var/run/xl2tpd");
        xl2tpd.write("/etc/xl2tpd.conf", configuration);
        outcome started = xl2tpd.run({"xl2tpd", "-c", "/etc/xl2tpd.conf"});
        std::string trace;
        for (int tries = 0; tries < 200; tries++) {
            trace = started.trace + xl2tpd.trace();
            size_t place = trace.find(begin);
            if (place != std::string::npos) {
                size_t end = trace.find(".\\n", place);
                return unescaped(trace.substr(place + begin.size(), end - place - begin.size()));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return "none: " + started.err + trace;
    }
};

struct server_row {
    const char *name;
    const char *value;
    const char *read; // null for the whole value
};

const server_row server_rows[] = {
    {"name", "lns.example", nullptr},
    {"blanks and signs", "a b=c\t\"#'\\[d]", nullptr},
    {"line feed", "a\nredial = x", "a"},
    {"section", "a\n[lns x]", "a"},
    {"line end", "a\r\n", "a"},
    {"carriage return", "a\rlns = b", nullptr},
    {"comment", "a;b", "a"},
    {"what it trims", "\t \xc3\xa4 ab \xc3\xa4", "ab"},
};

TEST_F(l2tp_options, server_comes_back)
{
    for (const server_row &row : server_rows) {
        SCOPED_TRACE(row.name);
        dial({{"name", "work"}, {"type", "l2tp"}, {"server", row.value}});
        EXPECT_EQ(server_read_by_xl2tpd(box.read("/etc/xl2tpd.conf")),
                  row.read != nullptr ? row.read : row.value);
    }
}

// xl2tpd tells nobody of the options file that it has read, so it gets the path as its server.
TEST_F(l2tp_options, options_file_comes_back)
{
    for (const char *name : {"work", "a b=c\"#'\\[d]", "a\nredial = x", "a;b"}) {
        SCOPED_TRACE(name);
        dial({{"name", name}, {"type", "l2tp"}, {"server", "lns.example"}});
        std::string text = box.read("/etc/xl2tpd.conf");
        text.replace(text.find("lns = lns.example\n"), strlen("lns = lns.example\n"), "");
        text.replace(text.find("pppoptfile"), strlen("pppoptfile"), "lns");
        std::string path = std::string("/etc/ppp/peers/") + name;
        EXPECT_EQ(server_read_by_xl2tpd(text), path.substr(0, path.find_first_of(";\n")));
    }
}

} // namespace
