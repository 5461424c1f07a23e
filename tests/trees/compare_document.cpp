#include "support/texts.h"
#include "trees/trial.h"

#include <jansson.h>

namespace trees
{

namespace
{

std::string json_text(const json_t *value)
{
    if (value == nullptr)
        return "missing";
    char *text = json_dumps(value, JSON_COMPACT | JSON_ENCODE_ANY);
    std::string result = text;
    free(text);
    // Quotes and backslashes of the value itself, as settings_meaning.h writes them.
    std::string plain;
    for (size_t i = 0; i < result.size(); i++) {
        if (result[i] == '\\' && (result[i + 1] == '"' || result[i + 1] == '\\'))
            i++;
        plain += result[i];
    }
    return plain;
}

// Whether the object has the member as "KEY=VALUE" says.
void compare_member(trial *t, const json_t *object, const meant &expected)
{
    std::string key = expected.text.substr(0, expected.text.find('='));
    std::string seen = key + "=" + json_text(json_object_get(object, key.c_str()));
    if (seen != expected.text)
        t->differs(expected, seen);
}

void compare_connections(trial *t, const json_t *wan)
{
    meant_list expected = settings_meaning::connections(t->settings);
    const json_t *tunnels = json_object_get(wan, "Tunnels");
    if (json_array_size(tunnels) != expected.size()) {
        t->fail("there are " + std::to_string(json_array_size(tunnels)) + " connections");
        return;
    }
    for (size_t i = 0; i < expected.size(); i++) {
        for (const std::string &text : support::lines_of(expected[i].text))
            compare_member(t, json_array_get(tunnels, i),
                           {expected[i].file, expected[i].line, text});
    }
}

} // namespace

void compare_document(trial *t)
{
    std::string text = t->machine.box.read("/var/run/Config");
    json_t *root = json_loads(text.c_str(), 0, nullptr);
    const json_t *network = json_object_get(root, "Network");
    const json_t *wan = json_object_get(network, "Wan");
    const json_t *entries[] = {json_array_get(json_object_get(network, "Lan"), 0),
                               json_array_get(wan, 0), json_array_get(wan, 1)};
    const char *const names[] = {"br0", "vlan2", "wimax0"};
    for (size_t i = 0; i < 3; i++) {
        for (const meant &member : settings_meaning::interface_members(t->settings, names[i]))
            compare_member(t, entries[i], member);
    }
    const json_t *common = json_object_get(network, "Common");
    for (const meant &member : settings_meaning::dns_members(t->settings))
        compare_member(t, json_object_get(common, "Dns"), member);
    for (const meant &member : settings_meaning::wimax_members(t->settings))
        compare_member(t, json_object_get(common, "Wimax"), member);
    compare_connections(t, entries[1]);
    json_decref(root);
}

namespace
{

// The value of an option in pppd's file, without the quotes that pppd takes off.
std::string option_of(const std::string &options, const std::string &name)
{
    for (const std::string &line : support::lines_of(options)) {
        if (!support::begins_with(line, name + " "))
            continue;
        std::string value = line.substr(name.size() + 1);
        if (value.empty() || value[0] != '"')
            return value;
        std::string plain;
        for (size_t i = 1; i + 1 < value.size(); i++) {
            i += value[i] == '\\' ? 1 : 0;
            plain += value[i];
        }
        return plain;
    }
    return "missing";
}

void compare_option(trial *t, const meant &line, const std::string &options,
                    const std::string &name, const std::string &value)
{
    std::string seen = option_of(options, name);
    if (seen != value)
        t->differs({line.file, line.line, name + " " + value}, seen);
}

void compare_dialled(trial *t, const meant &line)
{
    std::vector<std::string> words = support::lines_of(line.text);
    std::string path = "/etc/ppp/peers/" + words[0];
    if (words.size() < 7 || !t->machine.box.exists(path)) {
        t->differs(line, "no options file");
        return;
    }
    std::string options = t->machine.box.read(path);
    compare_option(t, line, options, "user", words[3]);
    compare_option(t, line, options, "password", words[4]);
    compare_option(t, line, options, "linkname", words[1] + "-" + words[0]);
    if (words[1] == "pppoe") {
        compare_option(t, line, options, "rp_pppoe_ac", words[6]);
        compare_option(t, line, options, "rp_pppoe_service", words[7]);
    } else if (words[1] == "pptp") {
        compare_option(t, line, options, "pptp_server", words[5]);
    } else {
        std::string conf = t->machine.box.read("/etc/xl2tpd.conf");
        if (conf.find("\nlns = " + words[5] + "\n") == std::string::npos)
            t->differs(line, conf);
    }
}

} // namespace

void compare_options(trial *t)
{
    meant_list expected = settings_meaning::dialled(t->settings);
    size_t files = t->machine.box.list("/etc/ppp/peers").size();
    if (files > expected.size())
        t->fail(std::to_string(files) + " options files");
    for (const meant &line : expected)
        compare_dialled(t, line);
}

} // namespace trees
