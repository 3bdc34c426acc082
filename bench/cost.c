/* What a command costs: its processor time, peak memory and time. A small program, because a process inherits the peak
 * memory of the one that starts it.
 *
 *   lumipmi-cost COMMAND [ARGUMENT...]      prints {"status": ..., "cpu_ms": ..., "wall_ms": ..., "memory_kib": ...}
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static double milliseconds(struct timeval time) {
  return (double)time.tv_sec * 1e3 + (double)time.tv_usec / 1e3;
}

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  struct timespec start, end;
  clock_gettime(CLOCK_MONOTONIC, &start);
  const pid_t child = fork();
  if (child < 0) return 1;
  if (child == 0) {
    const int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd < 3; ++fd) dup2(null, fd);
    execvp(argv[1], argv + 1);
    _exit(127);
  }
  int status;
  struct rusage usage;
  if (wait4(child, &status, 0, &usage) != child) return 1;
  clock_gettime(CLOCK_MONOTONIC, &end);
  printf("{\"status\": %d, \"cpu_ms\": %.2f, \"wall_ms\": %.2f, \"memory_kib\": %ld}\n",
         WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
         milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime),
         (double)(end.tv_sec - start.tv_sec) * 1e3 + (double)(end.tv_nsec - start.tv_nsec) / 1e6, usage.ru_maxrss);
  return 0;
}
