// A program for the box's own tests: does what its words say, one word group after the other, so
// that each kind of thing the box records or plays can be caused alone. It has no other use.
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <net/route.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

extern char **environ;

// How the probe was started.
static const char *program;

static void result(const char *what, long value)
{
    printf("%s %ld%s%s\n", what, value, value < 0 ? " " : "", value < 0 ? strerror(errno) : "");
    fflush(stdout);
}

static long number(const char *text)
{
    return strtol(text, NULL, 0);
}

static void do_log(char **w)
{
    openlog(w[0], (int)number(w[1]), (int)number(w[2]));
    syslog((int)number(w[3]), "%s", w[4]);
    closelog();
}

static void do_shell(char **w)
{
    result("shell", system(w[0]));
}

// eval COUNT WORD...: starts a tool without a shell.
static void do_eval(char **w)
{
    char *words[16] = {NULL};
    for (long i = 0; i < number(w[0]) && i < 15; i++)
        words[i] = w[1 + i];
    pid_t child = fork();
    if (child == 0) {
        execvp(words[0], words);
        _exit(errno);
    }
    int status = -1;
    waitpid(child, &status, 0);
    result("eval", status);
}

static struct sockaddr inet(const char *text)
{
    struct sockaddr_in address = {.sin_family = AF_INET};
    struct sockaddr plain;
    inet_pton(AF_INET, text, &address.sin_addr);
    memcpy(&plain, &address, sizeof plain);
    return plain;
}

static void interface_request(unsigned long code, const char *name, struct ifreq *request)
{
    int socket_ = socket(AF_INET, SOCK_DGRAM, 0);
    snprintf(request->ifr_name, IFNAMSIZ, "%s", name);
    result("ioctl", ioctl(socket_, code, request));
    close(socket_);
}

static void do_flags(char **w)
{
    struct ifreq request = {0};
    request.ifr_flags = (short)number(w[1]);
    interface_request(SIOCSIFFLAGS, w[0], &request);
}

static void do_address(char **w)
{
    struct ifreq request = {0};
    request.ifr_addr = inet(w[1]);
    interface_request(SIOCSIFADDR, w[0], &request);
}

static void do_netmask(char **w)
{
    struct ifreq request = {0};
    request.ifr_netmask = inet(w[1]);
    interface_request(SIOCSIFNETMASK, w[0], &request);
}

static void do_get_address(char **w)
{
    struct ifreq request = {0};
    interface_request(SIOCGIFADDR, w[0], &request);
}

// route add|del DEVICE DESTINATION MASK GATEWAY METRIC FLAGS
static void do_route(char **w)
{
    struct rtentry route = {0};
    int socket_ = socket(AF_INET, SOCK_DGRAM, 0);
    route.rt_dev = w[1];
    route.rt_dst = inet(w[2]);
    route.rt_genmask = inet(w[3]);
    route.rt_gateway = inet(w[4]);
    route.rt_metric = (short)number(w[5]);
    route.rt_flags = (unsigned short)number(w[6]);
    result("ioctl", ioctl(socket_, strcmp(w[0], "add") == 0 ? SIOCADDRT : SIOCDELRT, &route));
    close(socket_);
}

static void do_switch(char **w)
{
    uint32_t words[2] = {(uint32_t)number(w[1]), (uint32_t)number(w[2])};
    struct ifreq request = {0};
    request.ifr_data = (char *)words;
    interface_request((unsigned long)number(w[0]), "eth2", &request);
    printf("value 0x%x\n", words[1]);
}

static void do_gpio(char **w)
{
    uint32_t word = 0;
    int device = open("/dev/gpio", O_RDONLY);
    result("open", device < 0 ? -1 : 0);
    if (device >= 0)
        result("ioctl", ioctl(device, (unsigned long)number(w[0]), &word));
    printf("word 0x%x\n", word);
}

// flash read|write OFFSET TEXT: writes the text, or reads as many bytes.
static void do_flash(char **w)
{
    int writes = strcmp(w[0], "write") == 0;
    uintptr_t offset = (uintptr_t)number(w[1]);
    uintptr_t buffer = (uintptr_t)w[2];
    uintptr_t words[6] = {writes ? buffer : offset, writes ? offset : buffer, strlen(w[2])};
    int device = open("/dev/flash0", O_RDONLY);
    result("ioctl", ioctl(device, writes ? 2 : 1, words));
    printf("status %lu text %s\n", (unsigned long)words[5], w[2]);
}

static void do_device(char **w)
{
    result("ioctl", ioctl(open(w[0], O_RDONLY), (unsigned long)number(w[1]), NULL));
}

static void do_sleep(char **w)
{
    result("sleep", sleep((unsigned)number(w[0])));
}

static void do_kill(char **w)
{
    result("kill", kill((pid_t)number(w[0]), (int)number(w[1])));
}

static void do_mknod(char **w)
{
    dev_t device = makedev((unsigned)number(w[2]), (unsigned)number(w[3]));
    result("mknod", mknod(w[0], S_IFBLK | (mode_t)number(w[1]), device));
}

static void do_exists(char **w)
{
    result("exists", access(w[0], F_OK));
}

static void do_clock(char **w)
{
    long now[2] = {0, 0};
    int zone[2] = {0, 0};
    struct timespec precise;
    (void)w;
    syscall(SYS_gettimeofday, now, zone);
    clock_gettime(CLOCK_REALTIME, &precise);
    printf("clock %ld %d %d time %ld precise %ld\n", now[0], zone[0], zone[1], (long)time(NULL),
           (long)precise.tv_sec);
}

static void do_set_clock(char **w)
{
    long now[2] = {number(w[0]), 0};
    int zone[2] = {(int)number(w[1]), (int)number(w[2])};
    result("clock", syscall(SYS_settimeofday, now, zone));
    struct timeval libc_time = {number(w[0]), 0};
    result("clock", settimeofday(&libc_time, NULL));
}

static void do_environment(char **w)
{
    (void)w;
    for (char **variable = environ; *variable != NULL; variable++)
        puts(*variable);
}

static void do_write(char **w)
{
    FILE *file = fopen(w[0], "w");
    result("write", file != NULL ? fputs(w[1], file) : -1);
    if (file != NULL)
        fclose(file);
}

static void do_say(char **w)
{
    dprintf((int)number(w[0]), "%s", w[1]);
}

static void do_exit(char **w)
{
    exit((int)number(w[0]));
}

static void do_signal(char **w)
{
    raise((int)number(w[0]));
}

// overrun heap|stack INDEX: an access behind the end of 4 bytes, which the sanitizers
// report.
static void do_overrun(char **w)
{
    volatile char array[4] = "";
    volatile char *heap = calloc(1, 4);
    if (strcmp(w[0], "heap") == 0)
        heap[number(w[1])] = 'x';
    else
        array[number(w[1])] = 'x';
    printf("%d\n", heap[0] + array[0]);
    free((void *)heap);
}

static void do_hang(char **w)
{
    (void)w;
    for (;;)
        pause();
}

static void do_name(char **w)
{
    (void)w;
    puts(program);
}

enum { COUNTED = -1 }; // the first word says how many follow

static const struct action {
    const char *name;
    int words;
    void (*run)(char **words);
} actions[] = {
    {"log", 5, do_log},
    {"shell", 1, do_shell},
    {"eval", COUNTED, do_eval},
    {"flags", 2, do_flags},
    {"address", 2, do_address},
    {"netmask", 2, do_netmask},
    {"get-address", 1, do_get_address},
    {"route", 7, do_route},
    {"switch", 3, do_switch},
    {"gpio", 1, do_gpio},
    {"flash", 3, do_flash},
    {"device", 2, do_device},
    {"sleep", 1, do_sleep},
    {"kill", 2, do_kill},
    {"mknod", 4, do_mknod},
    {"exists", 1, do_exists},
    {"clock", 0, do_clock},
    {"set-clock", 3, do_set_clock},
    {"environment", 0, do_environment},
    {"write", 2, do_write},
    {"say", 2, do_say},
    {"exit", 1, do_exit},
    {"signal", 1, do_signal},
    {"hang", 0, do_hang},
    {"overrun", 2, do_overrun},
    {"name", 0, do_name},
};

static const struct action *find(const char *name)
{
    for (size_t i = 0; i < sizeof actions / sizeof *actions; i++)
        if (strcmp(actions[i].name, name) == 0)
            return &actions[i];
    return NULL;
}

static int words_of(const struct action *action, char **words, int left)
{
    if (action->words != COUNTED)
        return action->words;
    return left > 1 ? 1 + (int)number(words[1]) : left;
}

// Does what the first of the words left says. Returns how many words that took, 0 when there is no
// such action or a word is missing.
static int act(char **words, int left)
{
    const struct action *action = find(words[0]);
    if (action == NULL || words_of(action, words, left) >= left)
        return 0;
    action->run(words + 1);
    fflush(stdout);
    return 1 + words_of(action, words, left);
}

int main(int argc, char **argv)
{
    program = argv[0];
    for (int i = 1, taken; i < argc; i += taken) {
        taken = act(argv + i, argc - i);
        if (taken == 0) {
            fprintf(stderr, "probe: %s?\n", argv[i]);
            return 2;
        }
    }
    return 0;
}
