// The router box from the command line, for demonstrations and for trying things out: its options
// are carried out in the order they stand in.
#include "support/enter.h"
#include "support/env_dump.h"
#include "support/router_box.h"
#include "support/world_root.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <unistd.h>

namespace
{

struct visit {
    support::router_box box;
    support::environment environment;
    std::optional<support::outcome> last;
};

// An option's value, split at the first occurrence of a character.
std::pair<std::string, std::string> halves(const std::string &value, char at)
{
    size_t place = value.find(at);
    if (place == std::string::npos)
        throw std::invalid_argument("no '" + std::string(1, at) + "' in \"" + value + "\"");
    return {value.substr(0, place), value.substr(place + 1)};
}

// The words of a command line; words between single or double quotes may hold blanks.
std::vector<std::string> words_of(const std::string &line)
{
    std::vector<std::string> words;
    std::string word;
    bool in_word = false;
    char quote = '\0';
    for (char c : line + " ") {
        bool is_quote = c == '\'' || c == '"';
        if (quote != '\0' ? c == quote : is_quote) {
            quote = quote != '\0' ? '\0' : c;
            in_word = true;
        } else if (quote == '\0' && c == ' ') {
            if (in_word)
                words.push_back(word);
            word.clear();
            in_word = false;
        } else {
            word += c;
            in_word = true;
        }
    }
    if (quote != '\0')
        throw std::invalid_argument("a quote is not closed in \"" + line + "\"");
    if (words.empty())
        throw std::invalid_argument("an empty command");
    return words;
}

// "\n" stands for a line end.
std::string with_line_ends(const std::string &text)
{
    std::string result;
    for (size_t i = 0; i < text.size(); i++) {
        bool is_end = text.compare(i, 2, "\\n") == 0;
        result += is_end ? '\n' : text[i];
        i += is_end;
    }
    return result;
}

void show_heading(const std::string &text)
{
    std::cout << "---- " << text << "\n";
}

void show_text(const std::string &text)
{
    std::cout << text << (text.empty() || text.back() == '\n' ? "" : "\n");
}

// A path of this machine from its root, or as it stands when there is nothing.
std::string absolute(const std::string &path)
{
    char *real = realpath(path.c_str(), nullptr);
    std::string result = real != nullptr ? real : path;
    free(real);
    return result;
}

void copy_in(visit &v, const std::string &value)
{
    auto [from, to] = halves(value, ':');
    v.box.copy_in(absolute(from), to);
}

void write_file(visit &v, const std::string &value)
{
    auto [path, text] = halves(value, '=');
    v.box.write(path, with_line_ends(text));
}

void run_program(visit &v, const std::string &value)
{
    v.last = v.box.run(words_of(value), v.environment);
}

void set_one(visit &v, const std::string &value)
{
    auto [name, text] = halves(value, '=');
    support::set_variable(v.environment, name, text);
}

void take_dump(visit &v, const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    try {
        for (const auto &[name, value] : support::read_env_dump(text))
            support::set_variable(v.environment, name, value);
    } catch (const std::runtime_error &e) {
        throw std::runtime_error(path + ": " + e.what());
    }
}

void open_shell(visit &v, const std::string &)
{
    support::enter_world(v.box.number(), "");
}

void show_file(visit &v, const std::string &path)
{
    show_heading(path);
    show_text(v.box.read(path));
}

void save_file(visit &v, const std::string &path, const std::filesystem::path &directory)
{
    std::filesystem::path to = directory / path.substr(1);
    std::filesystem::create_directories(to.parent_path());
    std::ofstream file(to, std::ios::binary);
    file << v.box.read(path);
    if (!file.flush())
        throw std::runtime_error("cannot write " + to.string());
}

// What is not there is passed over: whether a run leaves it may be what is asked.
void save(visit &v, const std::string &value)
{
    auto [path, directory] = halves(value, ':');
    if (!v.box.exists(path))
        return;
    if (path.back() != '/')
        return save_file(v, path, directory);
    for (const std::string &name : v.box.list(path))
        save_file(v, path + name, directory);
}

void show_trace(visit &v, const std::string &)
{
    show_heading("trace");
    show_text(v.box.trace());
    v.box.clear_trace();
}

void show_outcome(visit &v, const std::string &)
{
    if (!v.last)
        throw std::invalid_argument("--outcome before any --run");
    show_heading("outcome");
    if (v.last->signal != 0)
        std::cout << "ended by signal " << v.last->signal << "\n";
    else
        std::cout << "status " << v.last->status << "\n";
    show_text(v.last->out);
    show_text(v.last->err);
}

void show_ip(visit &v, const std::string &value)
{
    std::vector<std::string> command = words_of("ip " + value);
    show_heading("ip " + value);
    show_text(v.box.in_network(command));
}

struct option {
    const char *name;
    const char *value; // what the help calls it, or null when the option takes none
    const char *help;
    void (*apply)(visit &v, const std::string &value);
};

const option options[] = {
    {"--copy", "HOSTDIR:PATH", "copy a directory of this machine over one of the world", copy_in},
    {"--write", "PATH=TEXT", "write a file; \\n is a line end", write_file},
    {"--rule", "RULE", "add a rule (see tests/support/world.h)",
     [](visit &v, const std::string &value) { v.box.on(value); }},
    {"--interface", "NAME", "make a network interface",
     [](visit &v, const std::string &value) { v.box.interface(value); }},
    {"--env", "NAME=VALUE", "set a variable for the runs that follow", set_one},
    {"--env-file", "HOSTFILE", "set those of a router's dump, such as /tmp/udhcpc-env", take_dump},
    {"--clear-env", nullptr, "forget the variables",
     [](visit &v, const std::string &) { v.environment.clear(); }},
    {"--run", "COMMAND", "run the program under the command's first word; prints nothing",
     run_program},
    {"--outcome", nullptr, "print the last run's status and what it printed", show_outcome},
    {"--show", "PATH", "print a file of the world", show_file},
    {"--save", "PATH:HOSTDIR", "save a file, or all of PATH/, below a directory here", save},
    {"--trace", nullptr, "print what was done since the last --trace", show_trace},
    {"--ip", "ARGUMENTS", "print what this machine's ip says inside", show_ip},
    {"--shell", nullptr, "a shell inside (see tests/support/enter.h); exit goes on", open_shell},
};

void show_help()
{
    std::cout
        << "usage: router-box [--program HOSTFILE] OPTION...\n"
           "       router-box --enter NUMBER [COMMAND]   a shell in a world that was kept\n"
           "Runs mcfg, or the program named (such as build/mctl) in its place, in a private\n"
           "world, where nothing reaches this machine. The options are carried out in order:\n";
    for (const option &o : options) {
        std::string name = std::string(o.name) + (o.value != nullptr ? " " : "");
        name += o.value != nullptr ? o.value : "";
        printf("  %-24s %s\n", name.c_str(), o.help);
    }
}

const option &find_option(const std::string &name)
{
    for (const option &o : options)
        if (name == o.name)
            return o;
    throw std::invalid_argument("unknown option \"" + name + "\" (see --help)");
}

// The program that all runs start, when the first option names one, otherwise mcfg.
std::string program_named(int argc, char **argv)
{
    if (std::string(argv[1]) != "--program")
        return support::program_of_build("mcfg");
    if (argc == 2)
        throw std::invalid_argument("--program needs HOSTFILE");
    if (access(argv[2], X_OK) != 0)
        throw std::invalid_argument("cannot start " + std::string(argv[2]) + ": " +
                                    strerror(errno));
    return absolute(argv[2]);
}

void apply_all(int argc, char **argv)
{
    visit v{support::router_box(program_named(argc, argv)), {}, {}};
    for (int i = std::string(argv[1]) == "--program" ? 3 : 1; i < argc; i++) {
        const option &o = find_option(argv[i]);
        if (o.value != nullptr && i + 1 == argc)
            throw std::invalid_argument(std::string(o.name) + " needs " + o.value);
        o.apply(v, o.value != nullptr ? argv[++i] : "");
    }
}

int enter(int argc, char **argv)
{
    char *end = argv[1];
    long number = argc > 2 ? strtol(argv[2], &end, 10) : 0;
    if (number <= 0 || *end != '\0' || argc > 4)
        throw std::invalid_argument(
            "--enter needs the number of a process, and at most one command");
    return support::enter_world(pid_t(number), argc > 3 ? argv[3] : "");
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2 || std::string(argv[1]) == "--help") {
        std::cout.flush();
        show_help();
        return argc < 2 ? 2 : 0;
    }
    try {
        if (std::string(argv[1]) == "--enter")
            return enter(argc, argv);
        apply_all(argc, argv);
    } catch (const std::exception &e) {
        std::cout.flush();
        std::cerr << "router-box: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
