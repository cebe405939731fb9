/* The helper's job done by hand in plain C, the yardstick for the helper's start-up and run:
 * read the configuration file whole, look up the owner and group, chown, chmod.
 *   baseline_helper_job <config> <file> <owner> <group> <octal mode>
 * Exit status 0 when every step succeeded, 254 otherwise. */
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "read_whole.h"

int main(int argc, char** argv) {
  if (argc != 6) return 255;
  if (read_whole(argv[1]) != 0) return 254;
  const struct passwd* owner = getpwnam(argv[3]);
  if (owner == NULL) return 254;
  const uid_t uid = owner->pw_uid;
  const struct group* group = getgrnam(argv[4]);
  if (group == NULL) return 254;
  if (chown(argv[2], uid, group->gr_gid) != 0) return 254;
  if (chmod(argv[2], (mode_t)strtoul(argv[5], NULL, 8)) != 0) return 254;
  return 0;
}
