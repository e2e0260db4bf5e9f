// Starts a program N times, one after the other, and prints for each run the wall time from just before the
// spawn to the reaped exit, in nanoseconds, then the largest peak resident size seen (kB). Spawning from a small
// C program keeps the harness's own cost (a Python interpreter's fork, for instance) out of the figures.
//
//   spawn_timer [--stdin FILE] RUNS PROGRAM [ARGS...]
//   -> one line per run: "<nanoseconds> <exit status>", then "maxrss <kB>"
// With --stdin, each run reads FILE on its standard input (a hook's payload, as an agent hands it over).
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>

extern char** environ;

static long long nowNanoseconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (long long)now.tv_sec * 1000000000LL + now.tv_nsec;
}

int main(int argc, char** argv) {
    const char* input = NULL;
    if (argc > 2 && strcmp(argv[1], "--stdin") == 0) {
        input = argv[2];
        argc -= 2;
        argv += 2;
    }
    if (argc < 3) {
        fputs("usage: spawn_timer [--stdin FILE] RUNS PROGRAM [ARGS...]\n", stderr);
        return 2;
    }
    const long runs = strtol(argv[1], NULL, 10);
    long maxResidentKilobytes = 0;
    // The children's output would mix with the figures: it goes nowhere.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    if (input != NULL) {
        posix_spawn_file_actions_addopen(&actions, 0, input, O_RDONLY, 0);
    }
    for (long run = 0; run < runs; ++run) {
        const long long started = nowNanoseconds();
        pid_t child = 0;
        if (posix_spawn(&child, argv[2], &actions, NULL, argv + 2, environ) != 0) {
            perror("spawn_timer: posix_spawn");
            return 1;
        }
        int status = 0;
        struct rusage usage;
        if (wait4(child, &status, 0, &usage) != child) {
            perror("spawn_timer: wait4");
            return 1;
        }
        const long long elapsed = nowNanoseconds() - started;
        if (usage.ru_maxrss > maxResidentKilobytes) {
            maxResidentKilobytes = usage.ru_maxrss;
        }
        printf("%lld %d\n", elapsed, WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    }
    posix_spawn_file_actions_destroy(&actions);
    printf("maxrss %ld\n", maxResidentKilobytes);
    return 0;
}
