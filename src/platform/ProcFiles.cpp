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
  struct stat item;
  if (::fstat(fd, &item) != 0) {
    errno = ESTALE;
    return {};
  }
  return ProcPathOf(fd, item);
}

std::string ProcPathOf(int fd, const struct stat& item) {
  // Found procfs once, the folder is kept for the life of the process (the kernel closes it
  // at exit, which saves a call of every helper run): a mount over /proc later cannot change
  // what it holds. Found not to be, it is looked at again next time.
  static int proc = -1;
  if (proc < 0) {
    Descriptor opened(::open("/proc", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (opened.Get() < 0 || !IsProcfs(opened.Get())) {
      errno = EXDEV;
      return {};
    }
    proc = opened.Release();
  }
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  struct stat reached;
  if (::fstatat(proc, path.c_str() + 6, &reached, 0) != 0 ||
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
