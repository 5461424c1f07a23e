/* peak COMMAND...: runs a command and says on standard error how much memory it had at most,
 * without the programs it ran in turn: "peak: 1234 kB COMMAND". Ends as the command did.
 *
 * The kernel stops a traced process just before it is gone; its memory can still be asked for then.
 */
#include <signal.h>
#include <stdio.h>
#include <sys/ptrace.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

static void print_peak(pid_t pid, char **command)
{
    char path[64];
    char line[256];
    snprintf(path, sizeof path, "/proc/%d/status", (int)pid);
    FILE *status = fopen(path, "r");
    while (status && fgets(line, sizeof line, status)) {
        unsigned long kb;
        if (sscanf(line, "VmHWM: %lu", &kb) == 1)
            fprintf(stderr, "peak: %lu kB %s\n", kb, command[0]);
    }
    if (status)
        fclose(status);
}

int main(int argc, char **argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: peak COMMAND...\n");
        return 2;
    }
    pid_t pid = fork();
    if (pid == 0) {
        ptrace(PTRACE_TRACEME, 0, NULL, NULL);
        execvp(argv[1], argv + 1);
        perror(argv[1]);
        _exit(127);
    }
    int status;
    waitpid(pid, &status, 0); /* stopped at its exec */
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    ptrace(PTRACE_SETOPTIONS, pid, NULL, (void *)(long)PTRACE_O_TRACEEXIT);
    int signal = 0;
    for (;;) {
        ptrace(PTRACE_CONT, pid, NULL, (void *)(long)signal);
        if (waitpid(pid, &status, 0) < 0)
            return 2;
        if (WIFEXITED(status))
            return WEXITSTATUS(status);
        if (WIFSIGNALED(status))
            return 128 + WTERMSIG(status);
        signal = WSTOPSIG(status);
        if (status >> 8 == (SIGTRAP | PTRACE_EVENT_EXIT << 8)) {
            print_peak(pid, argv + 1);
            signal = 0;
        }
    }
}
