#include "platform/ProcFiles.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/Descriptor.h"

namespace grantwright {

namespace {

bool IsProcfs(int fd) {
  struct statfs fs;
  return ::fstatfs(fd, &fs) == 0 && fs.f_type == PROC_SUPER_MAGIC;
}

}  // namespace

std::string ProcPathOf(int fd) {
  // Found procfs once, the folder is kept for the process: a mount over /proc later cannot
  // change what it holds. Found not to be, it is looked at again next time.
  static Descriptor proc;
  if (proc.Get() < 0) {
    Descriptor opened(::open("/proc", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (opened.Get() < 0 || !IsProcfs(opened.Get())) {
      errno = EXDEV;
      return {};
    }
    proc = std::move(opened);
  }
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  struct stat item;
  struct stat reached;
  if (::fstat(fd, &item) != 0 || ::fstatat(proc.Get(), path.c_str() + 6, &reached, 0) != 0 ||
      item.st_dev != reached.st_dev || item.st_ino != reached.st_ino) {
    errno = ESTALE;
    return {};
  }
  return path;
}

std::optional<long> KernelSetting(const std::string& name) {
  const Descriptor file(::open(("/proc/sys/" + name).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (file.Get() < 0 || !IsProcfs(file.Get())) return std::nullopt;
  char buffer[32];
  const ssize_t n = ::read(file.Get(), buffer, sizeof buffer - 1);
  if (n <= 0) return std::nullopt;
  buffer[n] = '\0';
  char* end = nullptr;
  const long value = std::strtol(buffer, &end, 10);
  if (end == buffer) return std::nullopt;
  return value;
}

}  // namespace grantwright
