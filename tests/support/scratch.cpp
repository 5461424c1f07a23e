#include "support/scratch.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>

namespace support
{

said run_line(const std::string &line)
{
    FILE *pipe = popen(line.c_str(), "r");
    if (pipe == nullptr)
        throw std::runtime_error("popen");
    said result = {-1, ""};
    std::array<char, 4096> block;
    while (size_t length = fread(block.data(), 1, block.size(), pipe))
        result.text.append(block.data(), length);
    int ended = pclose(pipe);
    result.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    return result;
}

scratch_directory::scratch_directory(const std::string &name)
{
    std::string pattern = std::filesystem::temp_directory_path() / (name + "-XXXXXX");
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp");
    here = pattern;
}

scratch_directory::~scratch_directory()
{
    std::filesystem::remove_all(here);
}

static void put(const std::string &path, const std::string &content, std::ios::openmode mode)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary | mode) << content;
}

void scratch_directory::write(const std::string &name, const std::string &content) const
{
    put(here.string() + "/" + name, content, std::ios::trunc);
}

void scratch_directory::append(const std::string &name, const std::string &content) const
{
    put(here.string() + "/" + name, content, std::ios::app);
}

} // namespace support
