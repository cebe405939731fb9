/* A program that only starts and exits: the floor under every whole-process figure. Timed
 * against the helper refusing an empty command line, it gives the cost of the helper's
 * image alone (mapping it, the C and C++ libraries' start-up, exit).
 *   baseline_start_and_exit */
int main(void) { return 0; }
