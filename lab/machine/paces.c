/* paces: measures how a way for datagrams is interrupted.
 *
 *   paces answer ADDRESS PORT   sends back whatever comes in there, until it is ended
 *   paces send ADDRESS PORT     sends a datagram there every 10 ms, each from a port of its own, so
 * that none goes a way that was found before; until SIGTERM, and then says "sent N answered N gap N
 * ms"
 *
 * The gap is the longest time between two datagrams that were answered.
 */
#include <arpa/inet.h>
#include <poll.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

enum {
    PACE_MS = 10,
    WAIT_MS = 2000,   /* for the last answers */
    SENT_MAX = 60000, /* ten minutes */
    OPEN_MAX = 500,   /* an answer that takes longer than so many paces is none */
    FIRST_PORT = 2000,
};

static struct {
    int64_t at_ms;
    int is_answered;
} sent[SENT_MAX];
static int open_sockets[OPEN_MAX];
static volatile sig_atomic_t is_ended;

static void end(int signal)
{
    (void)signal;
    is_ended = 1;
}

static int64_t now_ms(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (int64_t)now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

static int must(int result, const char *what)
{
    if (result >= 0)
        return result;
    perror(what);
    exit(2);
}

static int socket_at(struct sockaddr_in *address)
{
    int on = 1;
    int fd = must(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket");
    must(setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), "SO_REUSEADDR");
    must(bind(fd, (struct sockaddr *)address, sizeof *address), "bind");
    return fd;
}

static void answer(struct sockaddr_in *here)
{
    int fd = socket_at(here);
    for (;;) {
        char text[64];
        struct sockaddr_in from;
        socklen_t size = sizeof from;
        ssize_t length = recvfrom(fd, text, sizeof text, 0, (struct sockaddr *)&from, &size);
        if (length >= 0)
            sendto(fd, text, (size_t)length, 0, (struct sockaddr *)&from, size);
    }
}

/* A datagram that cannot be sent is one that is not answered. */
static void send_one(int poller, int number, const struct sockaddr_in *to)
{
    struct sockaddr_in from = {.sin_family = AF_INET,
                               .sin_port = htons((uint16_t)(FIRST_PORT + number))};
    int *place = &open_sockets[number % OPEN_MAX];
    if (*place > 0)
        close(*place);
    *place = socket_at(&from);
    struct epoll_event event = {.events = EPOLLIN, .data.u32 = (uint32_t)number};
    must(epoll_ctl(poller, EPOLL_CTL_ADD, *place, &event), "epoll_ctl");
    sent[number].at_ms = now_ms();
    sendto(*place, &number, sizeof number, 0, (const struct sockaddr *)to, sizeof *to);
}

static void take_answers(int poller, int timeout_ms)
{
    struct epoll_event events[16];
    int count = epoll_wait(poller, events, 16, timeout_ms);
    for (int i = 0; i < count; i++) {
        int number = (int)events[i].data.u32;
        int told = -1;
        /* An error is read here, too. */
        ssize_t length = recv(open_sockets[number % OPEN_MAX], &told, sizeof told, MSG_DONTWAIT);
        if (length == sizeof told && told == number)
            sent[number].is_answered = 1;
    }
}

static void take_answers_until(int poller, int64_t end_ms)
{
    for (int64_t left = end_ms - now_ms(); left > 0; left = end_ms - now_ms())
        take_answers(poller, (int)left);
}

static void tell(int count)
{
    int answered = 0;
    int64_t last_ms = count > 0 ? sent[0].at_ms : 0;
    int64_t gap_ms = 0;
    for (int i = 0; i < count; i++) {
        if (!sent[i].is_answered && i + 1 < count)
            continue;
        if (sent[i].at_ms - last_ms > gap_ms)
            gap_ms = sent[i].at_ms - last_ms;
        last_ms = sent[i].at_ms;
        answered += sent[i].is_answered;
    }
    printf("sent %d answered %d gap %lld ms\n", count, answered, (long long)gap_ms);
}

static void pace(const struct sockaddr_in *to)
{
    struct sigaction action = {.sa_handler = end};
    sigaction(SIGTERM, &action, NULL);
    int poller = must(epoll_create1(EPOLL_CLOEXEC), "epoll_create1");
    int count = 0;
    int64_t next_ms = now_ms();
    while (!is_ended && count < SENT_MAX) {
        send_one(poller, count++, to);
        next_ms += PACE_MS;
        take_answers_until(poller, next_ms);
    }
    take_answers_until(poller, now_ms() + WAIT_MS);
    tell(count);
}

int main(int argc, char **argv)
{
    struct sockaddr_in address = {.sin_family = AF_INET};
    int is_sender = argc == 4 && strcmp(argv[1], "send") == 0;
    int is_answerer = argc == 4 && strcmp(argv[1], "answer") == 0;
    if ((!is_sender && !is_answerer) || inet_pton(AF_INET, argv[2], &address.sin_addr) != 1) {
        fprintf(stderr, "usage: paces answer|send ADDRESS PORT\n");
        return 2;
    }
    address.sin_port = htons((uint16_t)atoi(argv[3]));
    if (is_answerer)
        answer(&address);
    pace(&address);
    return 0;
}
