#include "trees/settings_meaning.h"

#include <algorithm>
#include <cctype>
#include <strings.h>

namespace settings_meaning
{

namespace
{

using word_list = std::vector<std::string>;

struct entry {
    unsigned line;
    word_list words;
    std::string text;
};

std::string content_of(const tree &settings, const std::string &name)
{
    auto it = settings.find(path_of(name));
    return it == settings.end() ? "" : it->second;
}

std::string trimmed(std::string text)
{
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())) != 0)
        text.pop_back();
    size_t start = text.find_first_not_of(" \t\r");
    return start == std::string::npos ? "" : text.substr(start);
}

// The lines that are neither empty nor comments.
std::vector<entry> entries_of(const tree &settings, const std::string &name)
{
    std::vector<entry> entries;
    unsigned number = 0;
    for (const std::string &line : settings_trees::split_lines(content_of(settings, name))) {
        number++;
        std::string text = trimmed(line);
        if (!text.empty() && text[0] != '#')
            entries.push_back({number, settings_trees::words_of(text), text});
    }
    return entries;
}

std::string word(const entry &e, size_t i)
{
    return i < e.words.size() ? e.words[i] : "?";
}

bool is_off_word(const std::string &text)
{
    return text == "0" || strcasecmp(text.c_str(), "no") == 0;
}

std::string days_text(const std::string &days)
{
    static const char *const names[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    std::string text;
    for (size_t i = 0; i < 7; i++) {
        if (days[i] == '1')
            text += (text.empty() ? "" : ",") + std::string(names[i]);
    }
    return text;
}

bool is_all_of(const std::string &text, size_t length, const char *characters)
{
    return text.size() == length && text.find_first_not_of(characters) == std::string::npos;
}

// The time condition of a schedule, with a blank before it; "?" when there is none of the name.
std::string time_text(const tree &settings, const std::string &name)
{
    if (name == "always" || name.empty())
        return "";
    for (const entry &e : entries_of(settings, "sched_list")) {
        if (word(e, 0) != name || word(e, 1) != "1")
            continue;
        std::string days = word(e, 3);
        std::string time = word(e, 4);
        if (!is_all_of(days, 7, "01") || !is_all_of(time, 8, "0123456789"))
            return "?";
        if (days == "1111111" && time == "00002359")
            return "";
        return " -m time --timestart " + time.substr(0, 2) + ":" + time.substr(2, 2) +
               " --timestop " + time.substr(4, 2) + ":" + time.substr(6, 2) + " --days " +
               days_text(days);
    }
    return "?";
}

std::string option(const std::string &name, const std::string &value)
{
    return value == "-" ? "" : " " + name + " " + value;
}

std::string address_option(const std::string &name, const std::string &range,
                           const std::string &value)
{
    return option(value.size() > 1 && value.find('-') != std::string::npos ? range : name, value);
}

word_list user_rule(const tree &, const entry &e)
{
    std::string action = word(e, 0);
    std::string target = action == "DROP" || action == "ACCEPT" ? action : "?";
    std::string rule = option("-p", word(e, 5)) + address_option("-s", "--src-range", word(e, 3)) +
                       option("--sport", word(e, 6)) +
                       address_option("-d", "--dst-range", word(e, 4)) +
                       option("--dport", word(e, 7)) + " -j " + target;
    return {"-A FORWARD" + rule, "-A INPUT" + rule};
}

word_list mac_rule(const tree &settings, const entry &e)
{
    std::string target = mac_mode(settings) == "allow" ? "RETURN" : "DROP";
    std::string schedule = e.words.size() > 1 ? e.words[1] : "always";
    return {"-A MACS -m mac --mac-source " + word(e, 0) + time_text(settings, schedule) + " -j " +
            target};
}

word_list url_rule(const tree &settings, const entry &e)
{
    return {"-I FORWARD -p tcp -m webstr --url " + word(e, 0) + time_text(settings, word(e, 1)) +
            " -j DROP"};
}

word_list access_rule(const tree &, const entry &e)
{
    std::string rule = "-A H_ACCESS";
    if (word(e, 1) != "auto")
        rule += " -i " + word(e, 1);
    bool is_any = word(e, 2) == "any" && word(e, 3) == "any";
    if (!is_any)
        rule += " -s " + word(e, 2) + "/" + word(e, 3);
    if (strcasecmp(word(e, 0).c_str(), "HTTP") == 0)
        rule += " -p tcp --dport 80";
    return {rule + " -j " + word(e, 4)};
}

word_list vserver_rule(const tree &, const entry &e)
{
    return {"-A VSERVER -p " + word(e, 1) + " -m " + word(e, 1) + " --dport " + word(e, 2) +
            " -j DNAT --to " + word(e, 4) + ":" + word(e, 3)};
}

word_list masq_rule(const tree &, const entry &e)
{
    return {"-A POSTROUTING" + option("-s", word(e, 1)) + option("-p", word(e, 3)) +
            option("--dport", word(e, 4)) + " -j MASQUERADE"};
}

word_list trigger_rules(const tree &, const entry &e)
{
    word_list rules;
    for (const char *protocol : {"tcp", "udp"}) {
        bool is_meant = strcasecmp(word(e, 4).c_str(), protocol) == 0 ||
                        strcasecmp(word(e, 4).c_str(), "all") == 0;
        std::string opened = word(e, 3) + "-" + word(e, 3);
        if (is_meant)
            rules.push_back(std::string("-A PREROUTING -p ") + protocol + " -i br0 --dport " +
                            word(e, 1) + ":" + word(e, 1) + " -j autofw --related-proto " +
                            protocol + " --related-dport " + opened + " --related-to " + opened);
    }
    return rules.empty() ? word_list{"?"} : rules;
}

struct list_meaning {
    const char *list;
    word_list (*rules)(const tree &settings, const entry &e);
};

// clang-format off
const list_meaning lists[] = {
    {"rules", user_rule},
    {"macfilter_list", mac_rule},
    {"url_filter", url_rule},
    {"httpd_access.conf", access_rule},
    {"vservers", vserver_rule},
    {"masq", masq_rule},
    {"trigger_ports", trigger_rules},
};
// clang-format on

const list_meaning &meaning_of(const std::string &list)
{
    return *std::find_if(std::begin(lists), std::end(lists),
                         [&](const list_meaning &row) { return list == row.list; });
}

struct pair {
    unsigned line;
    std::string key;
    std::string value;
};

std::vector<pair> pairs_of(const tree &settings, const std::string &name)
{
    std::vector<pair> pairs;
    for (const entry &e : entries_of(settings, name)) {
        size_t at = e.text.find('=');
        if (at == std::string::npos)
            pairs.push_back({e.line, e.text, ""});
        else
            pairs.push_back(
                {e.line, trimmed(e.text.substr(0, at)), trimmed(e.text.substr(at + 1))});
    }
    return pairs;
}

// A switch's value ends at a blank, or at another "=".
std::string first_word(const std::string &text)
{
    return text.substr(0, text.find_first_of(" ="));
}

std::string text_or_null(const std::string &word)
{
    return word == "-" ? "null" : "\"" + word + "\"";
}

std::string number_or_null(const std::string &word)
{
    return word == "-" ? "null" : word;
}

// What a line that stops early leaves out is not given.
std::string given(const entry &e, size_t i)
{
    return i < e.words.size() ? e.words[i] : "-";
}

meant_list default_members(const std::string &iface)
{
    bool is_lan = iface == "br0";
    meant_list all;
    for (const std::string &text :
         {std::string("auto=true"), std::string(is_lan ? "type=\"static\"" : "type=\"dhcp\""),
          std::string(is_lan ? "ipaddr=\"192.168.0.1\"" : "ipaddr=null"),
          std::string(is_lan ? "netmask=\"255.255.255.0\"" : "netmask=null"),
          std::string("metric=null"), std::string("mtu=null"), std::string("mac=null")})
        all.push_back({path_of("network-interfaces"), 0, text});
    return all;
}

bool is_wan_line(const entry &e)
{
    return word(e, 0) == "vlan2";
}

} // namespace

std::string path_of(const std::string &name)
{
    return "/etc/default/" + name;
}

meant_list rules_of(const tree &settings, const std::string &list)
{
    meant_list all;
    for (const entry &e : entries_of(settings, list)) {
        for (const std::string &rule : meaning_of(list).rules(settings, e))
            all.push_back({path_of(list), e.line, rule});
    }
    return all;
}

bool is_on(const tree &settings, const std::string &file, const std::string &key)
{
    bool on = true;
    for (const pair &p : pairs_of(settings, file))
        on = p.key == key ? !is_off_word(first_word(p.value)) : on;
    return on;
}

std::string mac_mode(const tree &settings)
{
    std::string mode = "off";
    for (const pair &p : pairs_of(settings, "ip_filter")) {
        if (p.key != "MAC_FILTER_ENABLE")
            continue;
        std::string value = first_word(p.value);
        mode = value == "1" || strcasecmp(value.c_str(), "allow") == 0  ? "allow"
               : value == "2" || strcasecmp(value.c_str(), "deny") == 0 ? "deny"
                                                                        : "off";
    }
    return mode;
}

meant_list interface_members(const tree &settings, const std::string &iface)
{
    meant_list all;
    for (const entry &e : entries_of(settings, "network-interfaces")) {
        if (word(e, 0) != iface)
            continue;
        for (const std::string &text :
             {"auto=" + std::string(word(e, 2) == "1" ? "true" : "false"),
              "type=\"" + word(e, 3) + "\"", "ipaddr=" + text_or_null(given(e, 4)),
              "netmask=" + text_or_null(given(e, 5)), "gateway=" + text_or_null(given(e, 6)),
              "metric=" + number_or_null(given(e, 7)), "bcast=" + text_or_null(given(e, 8)),
              "mtu=" + number_or_null(given(e, 9)), "mac=" + text_or_null(given(e, 10))})
            all.push_back({path_of("network-interfaces"), e.line, text});
    }
    return all.empty() ? default_members(iface) : all;
}

meant_list connections(const tree &settings)
{
    meant_list all;
    for (const entry &e : entries_of(settings, "ppp-peers")) {
        bool is_pppoe = word(e, 1) == "pppoe";
        std::string text = "name=\"" + word(e, 0) + "\"\ntype=\"" + word(e, 1) +
                           "\"\nauto=" + (word(e, 2) == "1" ? "true" : "false") + "\nlogin=\"" +
                           word(e, 3) + "\"\npasswd=\"" + word(e, 4) + "\"";
        if (is_pppoe)
            text += "\niface=\"" + word(e, 5) + "\"\nac=\"" + word(e, 6) + "\"\nservice=\"" +
                    word(e, 7) + "\"\nmetric=" + word(e, 8);
        else
            text += "\nserver=\"" + word(e, 5) + "\"\nmetric=" + number_or_null(word(e, 6));
        all.push_back({path_of("ppp-peers"), e.line, text});
    }
    return all;
}

meant_list dns_members(const tree &settings)
{
    meant_list all;
    for (const pair &p : pairs_of(settings, "dns.conf")) {
        bool is_auto = p.key == "auto";
        std::string text = p.key + "=\"" + p.value + "\"";
        if (is_auto)
            text = p.value == "0" ? "auto=false" : "name=\"" + p.value + "\"";
        all.push_back({path_of("dns.conf"), p.line, text});
    }
    return all;
}

meant_list wimax_members(const tree &settings)
{
    meant_list all;
    for (const pair &p : pairs_of(settings, "wimax")) {
        std::string text = "?";
        if (p.key == "WIMAX_SSID")
            text = "ssid=\"" + p.value + "\"";
        else if (p.key == "WIMAX_DOFF")
            text = std::string("diode_off=") + (is_off_word(p.value) ? "false" : "true");
        else if (p.key == "WIMAX_ENABLE")
            text = std::string("enable=") + (is_off_word(p.value) ? "false" : "true");
        all.push_back({path_of("wimax"), p.line, text});
    }
    return all;
}

meant_list dialled(const tree &settings)
{
    std::string type = "dhcp";
    bool is_started = true;
    bool has_line = false;
    for (const entry &e : entries_of(settings, "network-interfaces")) {
        if (!is_wan_line(e))
            continue;
        has_line = true;
        is_started = word(e, 2) == "1";
        type = word(e, 3);
    }
    size_t room = type == "pppoe" ? 3 : 1;
    meant_list all;
    for (const entry &e : entries_of(settings, "ppp-peers")) {
        bool is_suited = (word(e, 1) == "pppoe") == (type == "pppoe");
        if (!has_line || !is_started || !is_suited || word(e, 2) != "1" || all.size() == room)
            continue;
        std::string text;
        for (const std::string &one : e.words)
            text += one + "\n";
        all.push_back({path_of("ppp-peers"), e.line, text});
    }
    return all;
}

} // namespace settings_meaning
