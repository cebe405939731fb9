/* A racer for the tests: until it is killed, moves whatever stands at <folder>/<name> aside
 * (to <name>.aside-<n>), puts a symbolic link to <target> in its place, and removes the
 * link again, so that a process making and using <folder>/<name> as a folder meets the
 * link at any moment it may look.
 *   link_swapper <folder> <name> <target>
 * Failures of single steps are expected (the other process is busy there too) and ignored. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: link_swapper <folder> <name> <target>\n");
    return 2;
  }
  const int folder = open(argv[1], O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) {
    perror(argv[1]);
    return 1;
  }
  char aside[4096];
  for (unsigned long n = 0;; ++n) {
    snprintf(aside, sizeof aside, "%s.aside-%lu", argv[2], n);
    /* Each step may fail while the other process holds the name; the loop just goes on. */
    int moved = renameat(folder, argv[2], folder, aside);
    int linked = symlinkat(argv[3], folder, argv[2]);
    int removed = unlinkat(folder, argv[2], 0);
    (void)moved, (void)linked, (void)removed;
  }
}
