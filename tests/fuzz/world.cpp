#include "fuzz/world.h"

#include "fuzz/descriptors.h"
#include "fuzz/guarded_memory.h"
#include "fuzz/lines.h"
#include "fuzz/outside.h"
#include "main/programs.h"
#include "platform/nvram.h"

#include <algorithm>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <jansson.h>

namespace fuzz
{

world here;

[[noreturn]] void violated(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    fputs("\nfuzz: ", stderr);
    vfprintf(stderr, format, args);
    fputc('\n', stderr);
    va_end(args);
    abort();
}

unsigned world::answer()
{
    return next < answers.size() ? static_cast<unsigned char>(answers[next++]) : 0;
}

void world::set_variable(const std::string &name, const std::string *value)
{
    if (value != nullptr)
        environment.emplace_back(name, guarded_text(*value));
}

void world::put_file(const std::string &path, const std::string *content)
{
    if (content != nullptr)
        files.put(path, *content);
}

void world::obstruct(const std::string *places)
{
    if (places == nullptr)
        return;
    std::string_view rest = *places;
    for (std::string_view line; next_line(&rest, &line);) {
        const std::string path(line);
        char *end = nullptr;
        size_t room = strtoul(path.c_str(), &end, 10);
        if (end != path.c_str())
            files.set_room(room);
        else
            files.spoil(path);
        is_obstructed = true;
    }
}

void world::sleep()
{
    size_t end = std::min(meanwhile.find('\n', meanwhile_at), meanwhile.size());
    const std::string path = meanwhile.substr(meanwhile_at, end - meanwhile_at);
    if (!path.empty())
        files.spoil(path);
    meanwhile_at = std::min(end + 1, meanwhile.size());
}

void leave_world()
{
    flush_outside();
    release_outside();
}

void reset_world()
{
    reset_descriptors();
    begin_process();
    here.files.reset();
    here.environment.clear();
    here.answers.clear();
    here.next = 0;
    here.lines.clear();
    here.tools.clear();
    here.commands.clear();
    here.standard_output.clear();
    here.standard_error.clear();
    here.signals.clear();
    here.requests = 0;
    here.on_command = nullptr;
    here.tool_output.clear();
    here.tool_errors.clear();
    here.tool_status = 0;
    here.meanwhile.clear();
    here.meanwhile_at = 0;
    here.interfaces.reset();
    here.is_terminal = false;
    here.flash.clear();
    here.flash_writes.clear();
    here.is_expecting = false;
    here.is_obstructed = false;
    for (int section = 0; section < 4; section++)
        nvram_close(section);
}

int run(const std::function<int()> &routine)
{
    // What the process would end with comes back as a jump, with 256 added: 0 is the first return.
    begin_process();
    int ended = setjmp(*process_end());
    int result = ended != 0 ? ended - 256 : routine();
    flush_outside();
    check_descriptors();
    return result;
}

int run_program_with(const std::vector<std::string> &words)
{
    char **argv = guarded_words(words);
    return run([&] { return run_program(static_cast<int>(words.size()), argv); });
}

static bool is_valid(const char *path)
{
    const std::string *text = here.files.read(path);
    if (text == nullptr)
        return true;
    json_t *root = json_loadb(text->data(), text->size(), 0, nullptr);
    json_decref(root);
    return root != nullptr;
}

static bool is_locked(const char *name)
{
    return here.files.exists(std::string("/var/lock/") + name + ".lock");
}

documents_check::documents_check()
    : is_store_valid(is_valid("/var/run/state_link")), is_store_locked(is_locked("state_link")),
      is_config_locked(is_locked("Config"))
{
}

void documents_check::after() const
{
    // The store is written in place: a full disk tears it.
    if (!here.is_obstructed && is_store_valid && !is_valid("/var/run/state_link"))
        violated("the link-state store is no JSON any more");
    if (!is_store_locked && is_locked("state_link"))
        violated("the lock of the link-state store stays");
    if (!here.is_obstructed && is_locked("Config") != is_config_locked)
        violated("the lock of the configuration is not as before");
}

} // namespace fuzz
