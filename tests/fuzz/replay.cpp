// Runs known inputs, without a fuzzer.
//
//   mcfg_fuzz_replay list                  the targets, a line each: name, longest input, what it
//   is mcfg_fuzz_replay run TARGET PATH...    every input: PATH is a pack, an input, or a directory
//   of
//                                          inputs
//   mcfg_fuzz_replay pack DIRECTORY PACK   put a directory's inputs into one file
//   mcfg_fuzz_replay unpack PACK DIRECTORY and back
//
// A pack is a text for each input, in order: its size in decimal, a line end, the input, a line
// end.
#include "fuzz/targets.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// Documents are left to the end of the process on purpose.
extern "C" const char *__asan_default_options();
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0";
}

namespace
{

namespace fs = std::filesystem;

constexpr char PACK_SUFFIX[] = ".pack";

[[noreturn]] void give_up(const std::string &message)
{
    fprintf(stderr, "mcfg_fuzz_replay: %s\n", message.c_str());
    exit(2);
}

std::string read_file(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        give_up("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> read_pack(const fs::path &path)
{
    const std::string all = read_file(path);
    std::vector<std::string> inputs;
    size_t start = 0;
    while (start < all.size()) {
        char *end = nullptr;
        size_t size = strtoul(all.c_str() + start, &end, 10);
        start = static_cast<size_t>(end - all.c_str()) + 1;
        if (*end != '\n' || start + size >= all.size() || all[start + size] != '\n')
            give_up("no pack: " + path.string());
        inputs.push_back(all.substr(start, size));
        start += size + 1;
    }
    return inputs;
}

std::vector<std::string> read_directory(const fs::path &path)
{
    std::vector<std::string> inputs;
    for (const fs::directory_entry &entry : fs::directory_iterator(path))
        inputs.push_back(read_file(entry.path()));
    // In an order that does not depend on the file system, small ones first.
    std::sort(inputs.begin(), inputs.end(), [](const std::string &a, const std::string &b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    return inputs;
}

std::vector<std::string> read_inputs(const fs::path &path)
{
    if (fs::is_directory(path))
        return read_directory(path);
    if (path.extension() == PACK_SUFFIX)
        return read_pack(path);
    return {read_file(path)};
}

int list()
{
    for (size_t i = 0; i < fuzz::target_count; i++)
        printf("%-10s %4zu %s\n", fuzz::targets[i].name, fuzz::targets[i].longest,
               fuzz::targets[i].what);
    return 0;
}

int run(const char *name, char **paths, int count)
{
    const fuzz::target *chosen = fuzz::find_target(name);
    if (chosen == nullptr)
        give_up(std::string("no target ") + name);
    size_t done = 0;
    for (int i = 0; i < count; i++) {
        for (const std::string &input : read_inputs(paths[i])) {
            fuzz::test_one(*chosen, reinterpret_cast<const uint8_t *>(input.data()), input.size());
            done++;
        }
    }
    printf("%s: %zu inputs\n", name, done);
    return done != 0 ? 0 : 1; // a test without inputs has shown nothing
}

int pack(const char *directory, const char *path)
{
    std::ofstream file(path, std::ios::binary);
    for (const std::string &input : read_directory(directory))
        file << input.size() << '\n' << input << '\n';
    file.close();
    return file ? 0 : 1;
}

int unpack(const char *path, const char *directory)
{
    size_t number = 0;
    fs::create_directories(directory);
    for (const std::string &input : read_pack(path)) {
        std::ofstream file(fs::path(directory) / ("pack-" + std::to_string(number++)),
                           std::ios::binary);
        file << input;
        file.close();
        if (!file)
            return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "list" && argc == 2)
        return list();
    if (command == "run" && argc > 3)
        return run(argv[2], argv + 3, argc - 3);
    if (command == "pack" && argc == 4)
        return pack(argv[2], argv[3]);
    if (command == "unpack" && argc == 4)
        return unpack(argv[2], argv[3]);
    give_up("list | run TARGET PATH... | pack DIRECTORY PACK | unpack PACK DIRECTORY");
}
