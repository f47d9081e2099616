// Wall time and peak memory of two commands run in turn: run_times ROUNDS COMMAND... -- COMMAND...
// A command may begin with NAME=VALUE words, which are all of its environment. Its standard streams
// are /dev/null. Prints, for each command, the median wall time in microseconds and the peak memory
// of the last round in KiB, and then the median of the rounds' ratios, first to second: what slows
// the machine for a while changes it least. Ends with status 1 when a command fails.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static double now(void) // microseconds
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec * 1e6 + (double)time.tv_nsec * 1e-3;
}

static void become(char **words)
{
    char *environment[16] = {NULL};
    for (size_t i = 0; i < 15 && strchr(*words, '='); ++i)
        environment[i] = *words++;
    const int null = open("/dev/null", O_RDWR);
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        dup2(null, fd);
    close(null);
    execve(*words, words, environment);
    _exit(127);
}

/// Returns the wall time in microseconds.
static double run(char **words, long *peak)
{
    const double start = now();
    const pid_t child = fork();
    if (child == 0)
        become(words);
    int status;
    struct rusage usage;
    if (wait4(child, &status, 0, &usage) != child || status != 0) {
        fprintf(stderr, "run_times: %s: wait status %d\n", words[0], status);
        exit(1);
    }
    *peak = usage.ru_maxrss;
    return now() - start;
}

static int compare(const void *a, const void *b)
{
    const double x = *(const double *)a, y = *(const double *)b;
    return (x > y) - (x < y);
}

static double median(double *values, size_t count)
{
    qsort(values, count, sizeof *values, compare);
    return values[count / 2];
}

int main(int argc, char **argv)
{
    const size_t rounds = argc > 1 ? strtoul(argv[1], NULL, 10) : 0;
    int split = 2;
    while (split < argc && strcmp(argv[split], "--") != 0)
        ++split;
    if (rounds == 0 || split < 3 || split + 1 >= argc)
        return 2;
    argv[split] = NULL;
    char **const commands[2] = {argv + 2, argv + split + 1};
    double *const times = calloc(3 * rounds, sizeof *times); // of both commands, then the ratios
    long peaks[2] = {0, 0};
    if (!times)
        return 1;
    for (size_t round = 0; round < rounds; ++round) {
        for (size_t c = 0; c < 2; ++c)
            times[c * rounds + round] = run(commands[c], &peaks[c]);
        times[2 * rounds + round] = times[round] / times[rounds + round];
    }
    printf("%.1f %ld ", median(times, rounds), peaks[0]);
    printf("%.1f %ld ", median(times + rounds, rounds), peaks[1]);
    printf("%.4f\n", median(times + 2 * rounds, rounds));
    free(times);
    return 0;
}
