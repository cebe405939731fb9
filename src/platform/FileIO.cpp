#include "platform/FileIO.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace grantwright {

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

void CloseReadDescriptor(int fd) { (void)::close(fd); }

namespace {

// Flushes the folder `path` names relative to `at`.
bool SyncFolder(int at, const char* path) {
  const int fd = ::openat(at, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool synced = ::fsync(fd) == 0;
  CloseReadDescriptor(fd);
  return synced;
}

// Writes `temporary` and renames it over `name`, both relative to `at`.
bool WriteAndRename(int at, const char* name, const char* temporary, std::string_view bytes,
                    mode_t mode) {
  const int fd =
      ::openat(at, temporary, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
  if (fd < 0) return false;
  // fchmod: the mode must not depend on the process's umask.
  bool written = ::fchmod(fd, mode) == 0 && WriteAll(fd, bytes) && ::fsync(fd) == 0;
  written = (::close(fd) == 0) && written;
  if (!written || ::renameat(at, temporary, at, name) != 0) {
    const int error = errno;
    // The write has failed already and `error` says why; a temporary that cannot be
    // removed either changes nothing about that.
    (void)::unlinkat(at, temporary, 0);
    errno = error;
    return false;
  }
  return true;
}

}  // namespace

bool ReplaceFile(const std::string& path, const std::string& temporary, std::string_view bytes,
                 mode_t mode) {
  if (!WriteAndRename(AT_FDCWD, path.c_str(), temporary.c_str(), bytes, mode)) return false;
  const size_t slash = path.rfind('/');
  const std::string folder =
      slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  return SyncFolder(AT_FDCWD, folder.c_str());
}

bool ReplaceFileAt(int folder, const std::string& name, const std::string& temporary,
                   std::string_view bytes, mode_t mode) {
  return WriteAndRename(folder, name.c_str(), temporary.c_str(), bytes, mode) &&
         SyncFolder(folder, ".");
}

int ReplaceFileBeside(const std::string& path, std::string_view bytes, mode_t mode) {
  const std::string temporary = path + ".grantwright-" + std::to_string(::getpid());
  return ReplaceFile(path, temporary, bytes, mode) ? 0 : errno;
}

std::string ErrorText(int errorNumber) { return std::strerror(errorNumber); }

int ReadOpenFile(int fd, size_t size, size_t maxBytes, std::string& content) {
  // Straight into `content`, one byte more than the length, so that the first read can
  // stop short at the length: that is the end, and no second read need say so.
  content.resize(std::min(size, maxBytes) + 1);
  size_t done = 0;
  int error = 0;
  for (;;) {
    if (done == content.size()) content.resize(std::min(2 * done, maxBytes + 1));
    const size_t asked = content.size() - done;
    const ssize_t n = ::read(fd, content.data() + done, asked);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) error = errno;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
    if (done > maxBytes) error = EFBIG;
    if (error != 0 || (done == size && static_cast<size_t>(n) < asked)) break;
  }
  content.resize(error == 0 ? done : 0);
  return error;
}

int ReadWholeFile(const std::string& path, size_t maxBytes, std::string& content) {
  content.clear();
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return errno;
  struct stat st;
  int error = 0;
  if (::fstat(fd, &st) != 0) {
    error = errno;
  } else if (!S_ISREG(st.st_mode)) {
    error = EINVAL;
  } else {
    error = ReadOpenFile(fd, static_cast<size_t>(st.st_size), maxBytes, content);
  }
  CloseReadDescriptor(fd);
  return error;
}

}  // namespace grantwright
