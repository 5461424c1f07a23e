// What a test of a script or of a tool needs of this machine, outside of any private world: a
// command line, and a directory of its own.
#pragma once

#include <filesystem>
#include <string>

namespace support
{

struct said {
    int status; // exit status, or -1 when a signal ended it
    std::string text;
};

// Runs a line of the shell, and gives what it writes to standard output.
said run_line(const std::string &line);

// A directory for temporary files, gone with the object, whose name begins with this one.
class scratch_directory
{
  public:
    explicit scratch_directory(const std::string &name);
    ~scratch_directory();
    scratch_directory(const scratch_directory &) = delete;
    scratch_directory &operator=(const scratch_directory &) = delete;

    // A file below the directory, whatever its name begins with. Directories on the way are made.
    void write(const std::string &name, const std::string &content) const;
    void append(const std::string &name, const std::string &content) const;

    const std::filesystem::path &path() const { return here; }

  private:
    std::filesystem::path here;
};

} // namespace support
