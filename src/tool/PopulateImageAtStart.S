/* The helper's entry point: maps the program's image (code, constants, initial data) into
 * the address space, or the parts of it a run reaches, then starts the C library as usual.
 *
 * A run of the helper touches code in nearly every 64 kB stretch of its image; each first
 * touch is a page fault, and on virtual machines a fault costs several microseconds,
 * about as much as ten system calls. madvise(MADV_POPULATE_READ) maps the pages (already in
 * the page cache after the first run) in one call: a run of the owner branch went from 1.20x
 * to 1.11x the time of the static C program doing the same work (bench/helper_vs_c.sh,
 * 1,000 alternating runs). On a kernel without MADV_POPULATE_READ (before 5.14) the call
 * fails and the pages fault in as before.
 *
 * Mapping costs by the page too. With the run order linked (helper-run-order.ld), the code a
 * run executes lies together at the start of the code and the constants it reads together
 * at the end of the constants, and what lies between, which a successful run never reaches
 * (a megabyte of code, half a megabyte of constants), is left to fault in if ever needed.
 * Three calls: the run's code; the code's last page (.fini, which exit runs); the run's
 * constants through the data. A run of either branch takes 0.96 of the time it took with
 * the whole image mapped. Without the order (a linker that does not take it), the whole
 * image in one call.
 *
 * Nothing here may touch thread-local storage or the stack canary: the C library has not
 * set them up yet. %rdx holds the function the loader asks to run at exit; it is kept. */

#ifdef __CET__
#include <cet.h>  /* marks the object as ready for indirect-branch tracking, as the rest is */
#endif

        .weak   grantwright_run_text_end      /* where the run order's code ends and */
        .weak   grantwright_run_rodata_start  /* its constants begin, if it is linked */

        .text
        .globl  grantwright_populated_start
        .type   grantwright_populated_start, @function
grantwright_populated_start:
        endbr64
        mov     %rdx, %r12
        lea     __executable_start(%rip), %rdi
        lea     grantwright_run_text_end(%rip), %rsi
        test    %rsi, %rsi
        jz      2f                      /* no run order: the whole image at once */
        sub     %rdi, %rsi              /* length: through the code a run executes */
        call    populate
        lea     __etext(%rip), %rsi     /* the code's last page: .fini, which exit runs */
        lea     -1(%rsi), %rdi
        and     $-4096, %rdi
        sub     %rdi, %rsi
        call    populate
        lea     grantwright_run_rodata_start(%rip), %rdi  /* the constants a run reads, */
        and     $-4096, %rdi            /* the unwinding tables and the data */
2:      lea     _edata(%rip), %rsi
        sub     %rdi, %rsi              /* length: through the initialized data */
        call    populate
        mov     %r12, %rdx
        jmp     _start
        .size   grantwright_populated_start, .-grantwright_populated_start

/* madvise(%rdi, %rsi, MADV_POPULATE_READ); its failure changes nothing but speed. */
        .type   populate, @function
populate:
        endbr64
        mov     $22, %edx               /* MADV_POPULATE_READ */
        mov     $28, %eax               /* SYS_madvise */
        syscall
        ret
        .size   populate, .-populate

        .section .note.GNU-stack, "", @progbits
