/* What loading a library costs: the time of dlopen with all symbols bound, and the private memory that it adds.
 *
 *   lumipmi-load FILE      prints {"dlopen_us": ..., "private_kib": ...}
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

static double microseconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec * 1e6 + (double)now.tv_nsec / 1e3;
}

/* Memory without a file behind it: written data, and pages that relocation has touched. */
static long private_kib(void) {
  char line[256];
  long sum = 0, value;
  FILE* rollup = fopen("/proc/self/smaps_rollup", "r");
  if (rollup == NULL) return 0;
  while (fgets(line, sizeof line, rollup) != NULL)
    if (sscanf(line, "Anonymous: %ld", &value) == 1) sum += value;
  fclose(rollup);
  return sum;
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  (void)private_kib(); /* its buffers are there before the first count */
  const long before = private_kib();
  const double start = microseconds();
  const void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  const double end = microseconds();
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  printf("{\"dlopen_us\": %.1f, \"private_kib\": %ld}\n", end - start, private_kib() - before);
  return 0;
}
