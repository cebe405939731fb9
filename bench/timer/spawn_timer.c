/* Times two commands as whole processes, run alternately so that both see the same
 * machine state, and prints the median wall time of each, their ratio, and the median
 * page faults of each.
 *   spawn_timer <runs> <command A...> -- <command B...>
 * Every run of a command must end as its first run did (the helper refusing a command line
 * ends with 255 every time); the first one that does not stops the measurement.
 * Standard output and error of the commands go to /dev/null. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char** environ;

struct sample {
  double micros;
  long faults;
};

/* Runs `argv` once; its exit status, or -1 when it could not run or was killed. */
static int run_once(char** argv, const posix_spawn_file_actions_t* actions, struct sample* out) {
  struct timespec start, end;
  clock_gettime(CLOCK_MONOTONIC, &start);
  pid_t pid;
  if (posix_spawn(&pid, argv[0], actions, NULL, argv, environ) != 0) return -1;
  int status = 0;
  struct rusage usage;
  if (wait4(pid, &status, 0, &usage) != pid) return -1;
  clock_gettime(CLOCK_MONOTONIC, &end);
  out->micros = (double)(end.tv_sec - start.tv_sec) * 1e6 + (double)(end.tv_nsec - start.tv_nsec) / 1e3;
  out->faults = usage.ru_minflt + usage.ru_majflt;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

static int by_double(const void* a, const void* b) {
  const double x = *(const double*)a, y = *(const double*)b;
  return (x > y) - (x < y);
}

static int by_long(const void* a, const void* b) {
  const long x = *(const long*)a, y = *(const long*)b;
  return (x > y) - (x < y);
}

static double median_time(struct sample* s, int n) {
  double* v = malloc(sizeof *v * (size_t)n);
  for (int i = 0; i < n; ++i) v[i] = s[i].micros;
  qsort(v, (size_t)n, sizeof *v, by_double);
  const double m = n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
  free(v);
  return m;
}

static long median_faults(struct sample* s, int n) {
  long* v = malloc(sizeof *v * (size_t)n);
  for (int i = 0; i < n; ++i) v[i] = s[i].faults;
  qsort(v, (size_t)n, sizeof *v, by_long);
  const long m = v[n / 2];
  free(v);
  return m;
}

int main(int argc, char** argv) {
  if (argc < 5) {
    fprintf(stderr, "usage: spawn_timer <runs> <command A...> -- <command B...>\n");
    return 2;
  }
  const int runs = atoi(argv[1]);
  char** a = argv + 2;
  char** b = NULL;
  for (int i = 2; i < argc; ++i) {
    if (strcmp(argv[i], "--") == 0) {
      argv[i] = NULL;
      b = argv + i + 1;
      break;
    }
  }
  if (runs < 1 || b == NULL || b[0] == NULL) {
    fprintf(stderr, "spawn_timer: need a run count and two commands\n");
    return 2;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);

  struct sample* sa = calloc((size_t)runs, sizeof *sa);
  struct sample* sb = calloc((size_t)runs, sizeof *sb);
  struct sample warm;
  const int status_a = run_once(a, &actions, &warm), status_b = run_once(b, &actions, &warm);
  for (int i = 0; i < runs + 20; ++i) {
    /* 20 runs to warm up, then alternate which goes first, so neither always follows the
     * other. */
    const int k = i - 20;
    char** first = i % 2 ? b : a;
    char** second = i % 2 ? a : b;
    struct sample* s1 = k < 0 ? &warm : i % 2 ? &sb[k] : &sa[k];
    struct sample* s2 = k < 0 ? &warm : i % 2 ? &sa[k] : &sb[k];
    if (status_a < 0 || status_b < 0 || run_once(first, &actions, s1) != (i % 2 ? status_b : status_a) ||
        run_once(second, &actions, s2) != (i % 2 ? status_a : status_b)) {
      fprintf(stderr, "spawn_timer: a command failed or ended otherwise than at first\n");
      return 1;
    }
  }
  const double ma = median_time(sa, runs), mb = median_time(sb, runs);
  printf("A: median %.1f us, %ld page faults  (%s)\n", ma, median_faults(sa, runs), a[0]);
  printf("B: median %.1f us, %ld page faults  (%s)\n", mb, median_faults(sb, runs), b[0]);
  printf("ratio A/B of medians: %.3f\n", ma / mb);
  return 0;
}
