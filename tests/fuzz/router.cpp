#include "fuzz/router.h"

#include "ctl/mctl.h"
#include "fuzz/guarded_memory.h"
#include "fuzz/lines.h"
#include "fuzz/names.h"

#include <algorithm>
#include <cstring>

namespace fuzz
{

const char SECRET_MARK[] = "Wq7ZkX4j";

namespace
{

constexpr char RECORD_SEPARATOR = '\x1e';
constexpr char PROC[] = "/proc/";

// Places of secrets that status has no business with.
constexpr const char *secret_files[] = {
    "/etc/ppp/peers/wan1",
    "/tmp/ppp-up-env",
    "/tmp/ppp-down-env",
    "/tmp/udhcpc-env",
};

void check_printable(const std::string &text)
{
    for (char c : text) {
        if ((c < ' ' || c > '~') && c != '\n')
            violated("a character %d in: %s", c, text.c_str());
    }
}

void plant_secrets(json_t *value, const std::string &secret)
{
    size_t i;
    json_t *member;
    json_array_foreach(value, i, member)
    {
        plant_secrets(member, secret);
    }
    for (void *at = json_object_iter(value); at != nullptr; at = json_object_iter_next(value, at)) {
        const char *key = json_object_iter_key(at);
        if (is_same(key, "login") || is_same(key, "passwd"))
            json_object_iter_set_new(value, at, json_string(secret.c_str()));
        else
            plant_secrets(json_object_iter_value(at), secret);
    }
}

} // namespace

std::string jump_line(const std::string &iface, const std::string &address)
{
    return "-A PREROUTING -d " + address + "/32 -i " + iface + " -j VSERVER\n";
}

bool has_form(const words &command, const std::vector<std::string_view> &form)
{
    if (command.size() != form.size())
        return false;
    for (size_t i = 0; i < form.size(); i++) {
        if (form[i] != "*" && form[i] != command[i])
            return false;
    }
    return true;
}

void router::put_document(const char *path, const std::string *text, const std::string &secret)
{
    if (text == nullptr)
        return;
    bool has_place = text->find("login") != text->npos || text->find("passwd") != text->npos;
    json_t *root = has_place ? json_loadb(text->data(), text->size(), 0, nullptr) : nullptr;
    if (root == nullptr) {
        here.files.put(path, *text);
        return;
    }
    plant_secrets(root, secret.empty() ? SECRET_MARK : secret);
    char *planted = json_dumps(root, JSON_COMPACT | JSON_PRESERVE_ORDER);
    here.files.put(path, planted != nullptr ? planted : "");
    give_guarded(planted);
    json_decref(root);
}

void router::put_kernel(input &parts)
{
    const std::string *interfaces = parts.next();
    if (interfaces != nullptr)
        here.interfaces = std::make_unique<std::string>(*interfaces);
    here.put_file("/proc/net/route", parts.next());
    const std::string ports = parts.next_text();
    std::string_view rest = ports;
    for (std::string_view line; next_line(&rest, &line);) {
        const std::string port(line);
        size_t slash = port.find('/');
        if (slash != port.npos)
            here.files.put_deep(
                "/sys/class/net/" + port.substr(0, slash) + "/brif" + port.substr(slash), "");
    }
}

void router::put_files(const std::string *all)
{
    if (all == nullptr)
        return;
    for (size_t start = 0; start < all->size();) {
        size_t middle = std::min(all->find(RECORD_SEPARATOR, start), all->size());
        size_t end = std::min(all->find(RECORD_SEPARATOR, middle + 1), all->size());
        const std::string path = all->substr(start, middle - start);
        std::string content = middle < end ? all->substr(middle + 1, end - middle - 1) : "";
        if (path.compare(0, strlen(PROC), PROC) == 0)
            std::replace(content.begin(), content.end(), '\n', '\0');
        if (path.size() > 1 && path[0] == '/' && path.size() < 128)
            here.files.put_deep(path, content);
        start = end + 1;
    }
}

router::router(input &parts, const std::string &secret)
{
    for (const char *path : secret_files)
        here.files.put(path, SECRET_MARK);
    put_document("/var/run/Config", parts.next(), secret);
    put_document("/var/run/state_link", parts.next(), secret);
    here.put_file("/var/lock/state_link.lock", parts.next());
    here.put_file("/var/lock/Config.lock", parts.next());
    put_kernel(parts);
    nat = parts.next_text();
    here.put_file("/tmp/nat_rules", parts.next());
    here.answers = parts.next_text();
    const std::string *obstructed = parts.next();
    here.meanwhile = parts.next_text();
    const std::string newer = parts.next_text();
    put_files(parts.next());
    here.obstruct(obstructed);
    std::string_view rest = newer;
    for (std::string_view path; next_line(&rest, &path);)
        here.files.set_change_time(path, 1);
    is_calm = here.answers.empty() && here.meanwhile.empty() && !here.is_obstructed;
    here.on_command = [this](const words &command) { obey(command); };
}

void router::obey(const words &command)
{
    if (has_form(command, {"iptables", "-t", "*", "-S"})) {
        here.tool_output = command[2] == "nat" ? nat : command[2] == "filter" ? filter : mangle;
        return;
    }
    bool is_jump = has_form(command, {"iptables", "-t", "nat", "*", "PREROUTING", "-i", "*", "-d",
                                      "*", "-j", "VSERVER"});
    if (!is_jump)
        return;
    const std::string line = jump_line(command[6], command[8]);
    size_t at = nat.find(line);
    if (command[3] == "-I")
        nat.insert(0, line);
    else if (command[3] == "-D" && at != nat.npos)
        nat.erase(at, line.size());
}

int router::run_mctl(const words &arguments)
{
    words all = {"mctl"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    char **argv = guarded_words(all);
    here.standard_output.clear();
    here.standard_error.clear();
    here.commands.clear();
    here.lines.clear();
    here.tools.clear();
    here.signals.clear();
    here.requests = 0;
    return run([&] { return mctl_main(static_cast<int>(all.size()), argv); });
}

void router::check_said(int status)
{
    if (status < 0 || status > 2)
        violated("status %d of mctl", status);
    if (status == 2 && here.standard_error.empty())
        violated("status 2 without a word");
    check_printable(here.standard_output);
    if (here.standard_output.find(SECRET_MARK) != std::string::npos ||
        here.standard_error.find(SECRET_MARK) != std::string::npos)
        violated("a secret is told: %s", here.standard_output.c_str());
}

} // namespace fuzz
