/* step_trace: runs a program one instruction at a time under ptrace and prints the address
 * of each instruction the first time the program executes it, in that order, one per line
 * ("I <hex address>") on the file named first.
 *
 * It is what scripts/order-helper-text reads to learn which code a helper run executes. A
 * run on the processor itself, rather than in an emulator, sees the string functions the
 * C library picks for this processor at start (an emulator's processor gets others).
 *   step_trace <output file> <program> [arguments...]
 * Exit status: the program's, or 2 when the trace could not be taken. */

#define _GNU_SOURCE
#include <errno.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

/* Addresses seen, open addressing; a helper run executes some tens of thousands. */
#define SLOTS (1u << 22)
static uint64_t* seen;

static int FirstTime(uint64_t address) {
  uint64_t h = address * 0x9E3779B97F4A7C15ull;
  for (uint32_t i = (uint32_t)(h >> 42);; i = (i + 1) & (SLOTS - 1)) {
    if (seen[i] == address) return 0;
    if (seen[i] == 0) {
      seen[i] = address;
      return 1;
    }
  }
}

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: step_trace <output file> <program> [arguments...]\n");
    return 2;
  }
  FILE* out = fopen(argv[1], "w");
  seen = calloc(SLOTS, sizeof *seen);
  if (!out || !seen) {
    perror("step_trace");
    return 2;
  }
  const pid_t child = fork();
  if (child < 0) {
    perror("step_trace: fork");
    return 2;
  }
  if (child == 0) {
    ptrace(PTRACE_TRACEME, 0, NULL, NULL);
    execv(argv[2], argv + 2);
    perror("step_trace: exec");
    _exit(127);
  }
  int status;
  /* The child stops with SIGTRAP as the exec completes; from there every step is traced. */
  if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) {
    fprintf(stderr, "step_trace: the program did not start\n");
    return 2;
  }
  unsigned long count = 0, distinct = 0;
  int pass = 0; /* a signal the program got, handed on with the next step */
  for (;;) {
    struct user_regs_struct regs;
    if (ptrace(PTRACE_GETREGS, child, NULL, &regs) != 0) {
      perror("step_trace: registers");
      kill(child, SIGKILL);
      return 2;
    }
    ++count;
    if (FirstTime(regs.rip)) {
      ++distinct;
      fprintf(out, "I %llx\n", (unsigned long long)regs.rip);
    }
    if (ptrace(PTRACE_SINGLESTEP, child, NULL, (void*)(intptr_t)pass) != 0) {
      perror("step_trace: step");
      kill(child, SIGKILL);
      return 2;
    }
    if (waitpid(child, &status, 0) != child) {
      perror("step_trace: wait");
      return 2;
    }
    if (WIFEXITED(status) || WIFSIGNALED(status)) break;
    pass = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
  }
  if (fclose(out) != 0) {
    perror("step_trace: output");
    return 2;
  }
  fprintf(stderr, "step_trace: %lu instructions, %lu distinct\n", count, distinct);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
