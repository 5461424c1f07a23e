// Another process with a kernel record lock, for tests of handlers that meet one.
#pragma once

#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

// Holds a record lock on a whole file, from construction to release().
class lock_holder
{
  public:
    explicit lock_holder(const std::string &path, int type = F_WRLCK)
    {
        int ready[2];
        int go[2];
        if (pipe(ready) != 0 || pipe(go) != 0)
            throw std::runtime_error("lock_holder: no pipe");
        holder = fork();
        if (holder == 0) {
            close(ready[0]);
            close(go[1]);
            hold(path.c_str(), type, ready[1], go[0]);
        }
        close(ready[1]);
        close(go[0]);
        let_go = go[1];
        fcntl(let_go, F_SETFD, FD_CLOEXEC); // programs that are started meanwhile must not keep it
        char byte = 0;
        bool is_held = read(ready[0], &byte, 1) == 1;
        close(ready[0]);
        if (!is_held)
            throw std::runtime_error("lock_holder: cannot lock " + path);
    }
    ~lock_holder() { release(); }
    lock_holder(const lock_holder &) = delete;
    lock_holder &operator=(const lock_holder &) = delete;

    void release()
    {
        tell_to_release();
        if (holder > 0)
            waitpid(holder, nullptr, 0);
        holder = -1;
    }

    // The same without waiting for it to be done; may be called from a signal handler.
    void tell_to_release()
    {
        if (let_go >= 0)
            close(let_go);
        let_go = -1;
    }

  private:
    [[noreturn]] static void hold(const char *path, int type, int ready, int go)
    {
        struct flock request = {};
        request.l_type = static_cast<short>(type);
        request.l_whence = SEEK_SET;
        int fd = open(path, O_RDWR | O_CREAT, 0666);
        char byte = 0;
        if (fd >= 0 && fcntl(fd, F_SETLK, &request) == 0 && write(ready, &byte, 1) == 1)
            while (read(go, &byte, 1) > 0)
                ;
        _exit(0);
    }

    pid_t holder = -1;
    int let_go = -1;
};

// Waits until some process waits for a record lock on the file at path, as the kernel's own list
// says; at most ten seconds. Returns whether one does.
inline bool has_waiter(const std::string &path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return false;
    // Every world numbers its files alike, so the device counts as well.
    char file[64];
    snprintf(file, sizeof(file), " %02x:%02x:%lu ", major(status.st_dev), minor(status.st_dev),
             static_cast<unsigned long>(status.st_ino));
    for (int i = 0; i < 10000; i++) {
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);)
            if (line.find("-> POSIX") != std::string::npos && line.find(file) != std::string::npos)
                return true;
        usleep(1000);
    }
    return false;
}

} // namespace support
