// The option files of the daemons that dial: read by the daemons' own rules, a peer file has the
// options that it should have, each with its one value, and none besides, whatever the settings
// hold.
#include "fuzz/lines.h"
#include "fuzz/targets.h"
#include "fuzz/world.h"
#include "util/text.h"
#include "wan/peer.h"

#include <algorithm>
#include <cctype>
#include <sys/stat.h>

namespace fuzz
{

namespace
{

using words = std::vector<std::string>;

// The words of an option file as pppd(8) describes them: between white space, with quotes of both
// kinds, "\" before a character that stands for itself, and comments from "#" to the line's end.
class option_words
{
  public:
    explicit option_words(const std::string &file) : text(file) {}

    words all()
    {
        while (skip_to_word())
            found.push_back(take_word());
        return found;
    }

  private:
    bool skip_to_word()
    {
        for (; position < text.size(); position++) {
            if (text[position] == '#')
                position = std::min(text.find('\n', position), text.size() - 1);
            else if (isspace(static_cast<unsigned char>(text[position])) == 0)
                return true;
        }
        return false;
    }

    std::string take_word()
    {
        std::string word;
        char quote = '\0';
        for (; position < text.size(); position++) {
            char c = text[position];
            if (c == '\\')
                word += take_escaped();
            else if (quote != '\0' ? c == quote : c == '"' || c == '\'')
                quote = quote != '\0' ? '\0' : c;
            else if (quote == '\0' && isspace(static_cast<unsigned char>(c)) != 0)
                return word;
            else
                word += c;
        }
        if (quote != '\0')
            violated("quotes that stay open: %s", text.c_str());
        return word;
    }

    // Only these two are written so: letters and digits behind a "\" mean other characters.
    char take_escaped()
    {
        char c = ++position < text.size() ? text[position] : '\0';
        if (c != '"' && c != '\\')
            violated("a character that needs no escape: %d", c);
        return c;
    }

    const std::string &text;
    size_t position = 0;
    words found;
};

// What of a value the daemon is to see: up to its line end.
std::string seen(const std::string &value)
{
    std::string line = value.substr(0, value.find('\n'));
    line.erase(line.find_last_not_of('\r') + 1);
    return line;
}

// An option with its value. An empty one has never had a word behind it.
void add(words *all, const std::string &option, const std::string &value)
{
    all->push_back(option);
    if (!value.empty())
        all->push_back(seen(value));
}

void add_constant(words *all, std::initializer_list<const char *> options)
{
    all->insert(all->end(), options.begin(), options.end());
}

// The device of PPPoE: never a word that pppd knows as something else.
void check_device(const std::string &word, const std::string &iface)
{
    const std::string name = seen(iface).substr(0, seen(iface).find(':'));
    if (word.compare(0, 4, "nic-") == 0 && name.compare(0, word.size() - 4, word, 4) == 0)
        return;
    size_t digit = name.find_first_of("0123456789");
    bool is_usual = digit != std::string::npos && digit > 1 &&
                    name.find_first_not_of("0123456789.", digit) == std::string::npos;
    if (word != name || !is_usual)
        violated("\"%s\" stands for the device \"%s\"", word.c_str(), iface.c_str());
}

class expected_words
{
  public:
    explicit expected_words(const ppp_params &ppp) : params(ppp) {}

    words all(const words &found)
    {
        const std::string type = params.type;
        if (type == "pptp")
            add_pptp_head();
        else if (type == "pppoe")
            add_pppoe_head(found);
        add_common();
        if (type == "l2tp")
            add_constant(&expected,
                         {"connect", "/bin/true", "nodeflate", "nobsdcomp", "noaccomp", "nopcomp"});
        return expected;
    }

  private:
    std::string joined(const char *joint) const
    {
        return seen(params.type) + joint + seen(params.name);
    }

    void add_pptp_head()
    {
        add(&expected, "name", params.name);
        add_constant(&expected, {"plugin", "pptp.so"});
        add(&expected, "pptp_server", params.server);
        add(&expected, "ipparam", joined("/"));
    }

    void add_pppoe_head(const words &found)
    {
        add_constant(&expected, {"plugin", "/usr/lib/pppd/rp-pppoe.so", "rp_pppoe_ac"});
        expected.push_back(seen(params.ac));
        expected.emplace_back("rp_pppoe_service");
        expected.push_back(seen(params.service));
        const std::string iface = seen(params.iface);
        if (!iface.empty() && iface[0] != ':' && found.size() > expected.size()) {
            check_device(found[expected.size()], params.iface);
            expected.push_back(found[expected.size()]);
        }
        add(&expected, "ipparam", joined("/"));
    }

    void add_common()
    {
        add_constant(&expected, {"holdoff", "5", "usepeerdns"});
        add(&expected, "linkname", joined("-"));
        add(&expected, "ipparam", joined("/"));
        add_constant(&expected, {"ipcp-accept-remote", "ipcp-accept-local", "noauth",
                                 "nodefaultroute", "hide-password"});
        add(&expected, "user", params.login);
        add(&expected, "password", params.passwd);
        add_constant(&expected, {"lcp-echo-interval", "30", "lcp-echo-failure", "3", "unit", "1",
                                 "maxfail", "0", "persist", "nomppe"});
    }

    const ppp_params &params;
    words expected;
};

std::string text_of(const words &all)
{
    std::string text;
    for (const std::string &word : all)
        text += "[" + word + "]";
    return text;
}

void check_peer_file(const std::string &text, const ppp_params &params)
{
    const words found = option_words(text).all();
    const words expected = expected_words(params).all(found);
    if (found != expected)
        violated("%s in place of %s", text_of(found).c_str(), text_of(expected).c_str());
}

constexpr const char *xl2tpd_lines[] = {
    "[global]",       "access control = yes", "",
    "[lac l2tp]",     "pppoptfile = ",        "lns = ",
    "redial = yes",   "max redials = 32767",  "redial timeout = 30",
    "autodial = yes",
};

void check_xl2tpd_file(const std::string &text, const ppp_params &params)
{
    std::string_view rest = text;
    std::string_view text_of_line;
    size_t number = 0;
    for (; next_line(&rest, &text_of_line); number++) {
        const std::string line(text_of_line);
        const std::string known = number < 10 ? xl2tpd_lines[number] : "no line";
        bool has_value = !known.empty() && known.back() == ' ';
        if (has_value ? line.compare(0, known.size(), known) != 0 : line != known)
            violated("a line of xl2tpd.conf: %s", line.c_str());
        const std::string server = seen(params.server);
        if (known == "lns = " && line.substr(known.size()) != server.substr(0, server.find(';')))
            violated("a server of xl2tpd.conf: %s", line.c_str());
    }
    if (number != 10)
        violated("%zu lines of xl2tpd.conf", number);
}

} // namespace

void test_peers(input &parts)
{
    ppp_params params = {};
    text_set(params.type, parts.next_text().c_str());
    text_set(params.name, parts.next_text().c_str());
    text_set(params.login, parts.next_text().c_str());
    text_set(params.passwd, parts.next_text().c_str());
    text_set(params.server, parts.next_text().c_str());
    text_set(params.iface, parts.next_text().c_str());
    text_set(params.ac, parts.next_text().c_str());
    text_set(params.service, parts.next_text().c_str());
    here.obstruct(parts.next());
    here.answers = parts.next_text();

    const std::string path = std::string("/etc/ppp/peers/") + params.name;
    const std::string type = params.type;
    int result = start_pppd(&params, nullptr);
    const std::string *file = here.files.read(path);
    if (file == nullptr || std::string(params.name).find('/') != std::string::npos) {
        if (result != -1 || !here.tools.empty())
            violated("a daemon without its file");
        return;
    }
    // A file that a full disk has cut is not dialled with.
    if (here.tools.empty() && here.is_obstructed)
        return;
    check_peer_file(*file, params);
    mode_t mode = 0;
    if (here.files.get_mode(path.c_str(), true, &mode) != 0 || (mode & 077) != 0)
        violated("a password for everybody");
    const std::string *xl2tpd = here.files.read("/etc/xl2tpd.conf");
    if (xl2tpd != nullptr)
        check_xl2tpd_file(*xl2tpd, params);
    bool is_dialled = !here.tools.empty();
    bool is_possible = type != "l2tp" || xl2tpd != nullptr;
    if (is_dialled != is_possible)
        violated("dialled or not, in spite of its files");
}

} // namespace fuzz
