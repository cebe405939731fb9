// keep-rights: runs a command, then puts a file's access rights back as they were before
// it. It is what a parent program does with Grantwright: capture the file's permission
// record, write it as a typed configuration, and start the installed helper on it (with -a
// as well when the file has an access control list).
//
//   keep-rights <file> <command> [argument ...]
//
// Exit status: 0 when the rights are back; the helper's status when it failed (its one line
// is on standard output); 1 when the configuration could not be written or a program not
// started; 2 for a bad command line. The command's own status is only reported.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <grantwright/permissions/TraditionalPermissionsZRN.h>
#include <grantwright/platform/FolderItem.h>
#include <grantwright/xml/XMLExtension.h>

extern char** environ;

namespace {

// Runs `argv` and gives its exit status, or -1 when it could not start or was killed.
int RunProgram(std::vector<std::string> argv) {
  std::vector<char*> args;
  for (std::string& arg : argv) args.push_back(arg.data());
  args.push_back(nullptr);
  pid_t pid;
  if (posix_spawnp(&pid, args[0], nullptr, nullptr, args.data(), environ) != 0) return -1;
  int status = 0;
  if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

// Writes `bytes` into a new private file and gives its path, or "".
std::string WriteConfiguration(const std::string& bytes) {
  const char* folder = std::getenv("TMPDIR");
  std::string path = std::string(folder && *folder ? folder : "/tmp") + "/keep-rights-XXXXXX";
  const int fd = mkstemp(path.data());  // mode 0600: the configuration names the file
  if (fd < 0) return "";
  const bool written = write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  if (close(fd) != 0 || !written) {
    unlink(path.c_str());
    return "";
  }
  return path;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: keep-rights <file> <command> [argument ...]\n");
    return 2;
  }
  const grantwright::TraditionalPermissionsZRN record(grantwright::PathToFolderItem(argv[1]));
  const grantwright::String xml =
      grantwright::XMLExtension::AsXMLStringFromDictionaryZRN(record.GetDictionary(), "config");
  const std::string config = WriteConfiguration(xml.Bytes());
  if (config.empty()) {
    std::perror("keep-rights: cannot write the configuration");
    return 1;
  }

  const int commandStatus = RunProgram(std::vector<std::string>(argv + 2, argv + argc));
  std::fprintf(stderr, "keep-rights: %s ended with status %d\n", argv[2], commandStatus);

  int status = RunProgram({GRANTWRIGHT_HELPER, "-f", config});
  if (status == 0 && record.ACLRights) status = RunProgram({GRANTWRIGHT_HELPER, "-a", "-f", config});
  unlink(config.c_str());
  if (status < 0) {
    std::fprintf(stderr, "keep-rights: cannot start %s\n", GRANTWRIGHT_HELPER);
    return 1;
  }
  return status;
}
