/* The helper's -a job done by hand in plain C: read the configuration file whole, turn the
 * list's text into a list (libacl, which looks up the names it holds), set it on the file.
 *   baseline_helper_acl_job <config> <file> <list text>
 * Exit status 0 when every step succeeded, 254 otherwise. */
#include <fcntl.h>
#include <sys/acl.h>
#include <unistd.h>

#include "read_whole.h"

int main(int argc, char** argv) {
  if (argc != 4) return 255;
  if (read_whole(argv[1]) != 0) return 254;
  const acl_t acl = acl_from_text(argv[3]);
  if (acl == NULL) return 254;
  const int failed = acl_set_file(argv[2], ACL_TYPE_ACCESS, acl);
  acl_free(acl);
  return failed ? 254 : 0;
}
