#include "fuzz/outside.h"

#include "fuzz/commands.h"
#include "fuzz/descriptors.h"
#include "fuzz/guarded_memory.h"
#include "fuzz/names.h"
#include "fuzz/outside_parts.h"
#include "fuzz/property.h"
#include "fuzz/streams.h"
#include "fuzz/world.h"
#include "util/json_memory.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <jansson.h>
#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>
#include <stdio_ext.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

using fuzz::here;
using fuzz::SOCKET;
using fuzz::violated;

namespace
{

constexpr pid_t OWN_PID = 4242;
constexpr pid_t CHILD_PID = 4343;
constexpr size_t LOG_TEXT_MAX = 512;

std::jmp_buf ending;
std::jmp_buf child_ending;
bool is_in_child = false;
bool is_starting_tool = false;
bool is_alarm_set = false;
int sleeps = 0;

// The C library empties its buffers when the world has been taken down.
bool is_world_over = false;

struct end_of_world {
    ~end_of_world() { is_world_over = true; }
} at_end;

void check_world()
{
    if (is_world_over)
        violated("something was written that no input has seen");
}

ssize_t write_output(void *, const char *buffer, size_t size)
{
    if (!fuzz::is_output_in_place())
        violated("text for the standard output goes to a tool's pipe");
    check_world();
    here.standard_output.append(buffer, size);
    return static_cast<ssize_t>(size);
}

ssize_t write_errors(void *, const char *buffer, size_t size)
{
    check_world();
    here.standard_error.append(buffer, size);
    return static_cast<ssize_t>(size);
}

FILE *make_output(cookie_write_function_t *write)
{
    json_set_alloc_funcs(fuzz::take_guarded, fuzz::give_guarded);
    json_allocate = fuzz::take_guarded;
    json_release = fuzz::give_guarded;
    FILE *stream = fopencookie(nullptr, "w", {nullptr, write, nullptr, nullptr});
    __fsetlocking(stream, FSETLOCKING_BYCALLER); // there is no other thread
    return stream;
}

[[noreturn]] void end_process(int status)
{
    if (is_in_child)
        longjmp(child_ending, 1);
    longjmp(ending, (status & 0xff) + 256);
}

// An address for an interface query: the usual one, or any.
void give_address(sockaddr *address, in_addr_t usual_be)
{
    sockaddr_in inet = {};
    inet.sin_family = AF_INET;
    inet.sin_addr.s_addr = usual_be;
    if (here.answer() != 0) {
        in_addr_t any = 0;
        for (int i = 0; i < 4; i++)
            any = any << 8 | here.answer();
        inet.sin_addr.s_addr = any;
    }
    memcpy(address, &inet, sizeof(inet));
}

void check_route(const rtentry *route)
{
    if (strlen(route->rt_dev) >= IFNAMSIZ)
        violated("a device name that the kernel would cut: %s", route->rt_dev);
}

// The flash driver's record: six words, the offset first when reading, second when writing.
void answer_flash(bool is_write, uintptr_t *record)
{
    constexpr uintptr_t AREA_START = 0x40000;
    constexpr uintptr_t AREA_SIZE = 0x10000;
    if (is_write) {
        if (record[1] < AREA_START || record[1] + record[2] > AREA_START + AREA_SIZE)
            violated("a write to the flash at 0x%zx", static_cast<size_t>(record[1]));
        here.flash.assign(reinterpret_cast<const char *>(record[0]), record[2]);
        here.flash_writes.emplace_back(record[1], here.flash);
    } else {
        char *buffer = reinterpret_cast<char *>(record[1]);
        memset(buffer, 0, record[2]);
        here.flash.copy(buffer, record[2]);
        here.flash.erase(0, std::min<size_t>(record[2], here.flash.size()));
    }
    record[5] = here.answer() % 16;
}

void answer_request(unsigned long number, void *argument)
{
    auto *request = static_cast<ifreq *>(argument);
    switch (number) {
    case SIOCGIFADDR:
        give_address(&request->ifr_addr, htonl(0xc0a80001));
        break;
    case SIOCGIFNETMASK:
        give_address(&request->ifr_addr, htonl(0xffffff00));
        break;
    case SIOCADDRT:
    case SIOCDELRT:
        here.requests++;
        check_route(static_cast<const rtentry *>(argument));
        break;
    default:
        here.requests++;
        break;
    }
}

} // namespace

namespace fuzz
{

std::jmp_buf *process_end()
{
    return &ending;
}

void release_outside()
{
    release_streams();
    release_guarded();
    is_in_child = false;
    release_file_mask();
    is_starting_tool = false;
}

bool is_child()
{
    return is_in_child;
}

void begin_process()
{
    is_alarm_set = false;
    sleeps = 0;
}

} // namespace fuzz

extern "C" {

FILE *outside_stdout = make_output(write_output);
FILE *outside_stderr = make_output(write_errors);
}

void fuzz::flush_outside()
{
    fflush(outside_stdout);
    fflush(outside_stderr);
}

extern "C" {

// Processes

int outside_system(const char *line)
{
    fflush(outside_stdout);
    fuzz::check_line(line);
    return static_cast<int>(here.answer()) << 8;
}

pid_t outside_fork()
{
    if (is_in_child)
        return 0;
    unsigned answer = here.answer();
    if (answer == 254 && !is_starting_tool)
        return 0; // from here on, this is the child
    if (answer != 255)
        return CHILD_PID;
    errno = EAGAIN;
    return -1;
}

pid_t outside_waitpid(pid_t pid, int *status, int)
{
    if (pid != CHILD_PID)
        violated("waiting for a process of somebody else: %d", static_cast<int>(pid));
    unsigned code = here.answer();
    unsigned sig = here.answer();
    int result = static_cast<int>(code << 8 | sig);
    if (status != nullptr)
        *status = result != 0 ? result : here.tool_status << 8;
    if (sig != 255)
        return pid;
    errno = ECHILD;
    return -1;
}

int outside_execvp(const char *file, char *const words[])
{
    if (strcmp(file, words[0]) != 0)
        violated("a tool under another name: %s", file);
    here.tool_output.clear();
    here.tool_errors.clear();
    here.tool_status = 0;
    fuzz::check_tool(words);
    if (here.answer() == 0) {
        if (here.on_command)
            here.on_command(here.tools.back());
        fuzz::write_as_tool();
        longjmp(child_ending, 1);
    }
    here.tool_status = ENOENT;
    errno = ENOENT;
    return -1;
}

[[noreturn]] void outside__exit(int status)
{
    end_process(status);
}

[[noreturn]] void outside_exit(int status)
{
    end_process(status);
}

pid_t outside_getpid()
{
    return OWN_PID;
}

pid_t outside_setsid()
{
    return CHILD_PID;
}

unsigned outside_alarm(unsigned seconds)
{
    is_alarm_set = is_alarm_set || (!is_in_child && seconds != 0);
    return 0;
}

// Nobody sleeps for ever: an alarm ends the process then.
static void sleep_once()
{
    constexpr int SLEEPS_MAX = 256;
    here.sleep();
    if (++sleeps < SLEEPS_MAX)
        return;
    if (!is_alarm_set)
        violated("a process that sleeps again and again");
    end_process(128 + SIGALRM);
}

unsigned outside_sleep(unsigned)
{
    sleep_once();
    return 0;
}

int outside_nanosleep(const timespec *, timespec *)
{
    sleep_once();
    return 0;
}

int outside_isatty(int)
{
    return here.is_terminal ? 1 : 0;
}

int outside_pipe2(int *ends, int)
{
    if (here.answer() != 255) {
        fuzz::open_pipe(ends);
        return 0;
    }
    errno = EMFILE;
    return -1;
}

int outside_kill(pid_t pid, int sig)
{
    if (sig != SIGTERM && sig != SIGKILL && sig != SIGHUP)
        violated("signal %d", sig);
    here.signals.emplace_back(pid, sig);
    return here.answer() == 0 ? 0 : -1;
}

// Directories, one at a time

static std::vector<std::string> listed;
static size_t listed_next = 0;
static dirent listed_entry;

DIR *outside_opendir(const char *path)
{
    if (here.files.test(path) != 0)
        return nullptr;
    listed = here.files.names_in(path);
    listed_next = 0;
    return reinterpret_cast<DIR *>(&listed);
}

dirent *outside_readdir(DIR *directory)
{
    if (directory != reinterpret_cast<DIR *>(&listed) || listed_next == listed.size())
        return nullptr;
    const std::string &name = listed[listed_next++];
    listed_entry.d_name[name.copy(listed_entry.d_name, sizeof(listed_entry.d_name) - 1)] = '\0';
    return &listed_entry;
}

int outside_closedir(DIR *)
{
    listed.clear();
    listed_next = 0;
    return 0;
}

void (*outside_signal(int, void (*)(int)))(int)
{
    return SIG_DFL;
}

int outside_sigaction(int, const struct sigaction *, struct sigaction *)
{
    return 0;
}

int outside_sigprocmask(int, const sigset_t *, sigset_t *)
{
    return 0;
}

// The real routine twice: as the child, up to the point where the tool takes over, and as its
// parent.
int real_run_words(const char *const argv[]) asm("__real__Z9run_wordsPKPKc");
int seen_run_words(const char *const argv[]) asm("__wrap__Z9run_wordsPKPKc");

int seen_run_words(const char *const argv[])
{
    fflush(outside_stdout);
    is_starting_tool = is_in_child = true;
    if (setjmp(child_ending) == 0)
        real_run_words(argv);
    is_in_child = false;
    int result = real_run_words(argv);
    is_starting_tool = false;
    return result;
}

// The same for a tool whose output is taken. In the program, run_words() does not come by here.
int real_eval(char *const argv[], const char *path, unsigned timeout,
              pid_t *child) asm("__real__Z5_evalPKPcPKcjPi");
int seen_eval(char *const argv[], const char *path, unsigned timeout,
              pid_t *child) asm("__wrap__Z5_evalPKPcPKcjPi");

int seen_eval(char *const argv[], const char *path, unsigned timeout, pid_t *child)
{
    is_starting_tool = is_in_child = true;
    if (setjmp(child_ending) == 0)
        real_eval(argv, path, timeout, nullptr);
    is_in_child = false;
    int result = real_eval(argv, path, timeout, child);
    is_starting_tool = false;
    return result;
}

// Environment and clock

char *outside_getenv(const char *name)
{
    for (auto &variable : here.environment) {
        if (fuzz::is_same(variable.first, name))
            return variable.second;
    }
    return nullptr;
}

int outside_setenv(const char *name, const char *value, int)
{
    // TZ is for the C library, which reads the real one. A path in it would lead to real files.
    static char zone[80] = "TZ=";
    if (!is_in_child && strcmp(name, "TZ") == 0 && strchr(value, '/') == nullptr) {
        snprintf(zone, sizeof(zone), "TZ=%s", value);
        putenv(zone);
    }
    return 0;
}

time_t outside_time(time_t *now)
{
    time_t value = static_cast<time_t>(here.answer()) << 24;
    if (now != nullptr)
        *now = value;
    return value;
}

long outside_syscall(long, ...)
{
    return here.answer() == 0 ? 0 : -1;
}

// Logging and messages

void outside_openlog(const char *ident, int options, int facility)
{
    if (strlen(ident) == 0 || options != 0 || facility != 0)
        violated("a log opened as \"%s\", %d, %d", ident, options, facility);
}

void outside_syslog(int priority, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const char *text = va_arg(args, const char *);
    va_end(args);
    if (priority != 0 || strcmp(format, "%s") != 0 || strlen(text) >= LOG_TEXT_MAX)
        violated("a log line at %d by \"%s\"", priority, format);
}

void outside_closelog() {}

void outside_perror(const char *prefix)
{
    fprintf(outside_stderr, "%s: %s\n", prefix, strerror(errno));
}

[[gnu::format(printf, 1, 2)]] int outside_printf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int result = vfprintf(outside_stdout, format, args);
    va_end(args);
    return result;
}

int outside_puts(const char *text)
{
    return fprintf(outside_stdout, "%s\n", text);
}

int outside_putchar(int c)
{
    return fputc(c, outside_stdout);
}

// Room for the largest file that there can be costs more time than all the rest of a run. No file
// here is that large, so that less does, and what is written beyond a file's end is noticed all the
// same.
void *outside_malloc(size_t size)
{
    constexpr size_t LARGEST = 96 * 1024;
    return malloc(std::min(size, LARGEST));
}

// The same of the room for what a tool writes.
void *outside_calloc(size_t count, size_t size)
{
    constexpr size_t TOOL_OUTPUT = 256 * 1024;
    constexpr size_t LARGEST = 64 * 1024;
    return calloc(count, count == 1 && size == TOOL_OUTPUT ? LARGEST : size);
}

// Kernel requests

int outside_socket(int, int, int)
{
    if (here.answer() != 255)
        return SOCKET;
    errno = EMFILE;
    return -1;
}

int outside_ioctl(int fd, unsigned long number, ...)
{
    va_list args;
    va_start(args, number);
    void *argument = va_arg(args, void *);
    va_end(args);
    if (fd == STDIN_FILENO)
        return 0;
    if (here.answer() % 8 == 7) {
        errno = ENODEV;
        return -1;
    }
    const std::string path = here.files.path_of(fd);
    if (path == "/dev/flash0")
        answer_flash(number == 2, static_cast<uintptr_t *>(argument));
    else if (path == "/dev/gpio")
        *static_cast<uint32_t *>(argument) = here.answer() << 8;
    else if (fd != SOCKET)
        violated("request %lu on descriptor %d", number, fd);
    else
        answer_request(number, argument);
    return 0;
}
}
