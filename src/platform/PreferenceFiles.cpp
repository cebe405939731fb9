#include "platform/PreferenceFiles.h"


#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "platform/FileIO.h"

namespace grantwright::PreferenceFiles {

namespace {

constexpr const char* kSubfolder = "/grantwright/preferences";
// A preference file is small; anything beyond this is no preference file.
constexpr size_t kMaxFileSize = 64u << 20;

std::string_view AbsoluteVariable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || value[0] != '/') return {};
  return value;
}

std::string AccountHome() {
  struct passwd entry;
  struct passwd* found = nullptr;
  std::vector<char> buffer(4096);
  while (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE &&
         buffer.size() < (1u << 20)) {
    buffer.resize(buffer.size() * 2);
  }
  if (found == nullptr || found->pw_dir == nullptr || found->pw_dir[0] != '/') return {};
  return found->pw_dir;
}

std::string UserConfigFolder() {
  if (const std::string_view config = AbsoluteVariable("XDG_CONFIG_HOME"); !config.empty()) {
    return std::string(config);
  }
  if (const std::string_view home = AbsoluteVariable("HOME"); !home.empty()) {
    return std::string(home) + "/.config";
  }
  const std::string home = AccountHome();
  return home.empty() ? home : home + "/.config";
}

std::string SystemConfigFolder() {
  const std::string_view dirs = AbsoluteVariable("XDG_CONFIG_DIRS");
  const std::string_view first = dirs.substr(0, dirs.find(':'));
  return first.empty() ? std::string("/etc/xdg") : std::string(first);
}

std::string HostName() {
  char name[256] = {};
  if (::gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') return "localhost";
  std::string host(name);
  for (char& c : host) {
    if (c == '/') c = '_';
  }
  return host;
}

bool IsDirectory(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool MakeFolder(const std::string& folder) {
  if (::mkdir(folder.c_str(), 0700) != 0) return false;
  // The mode must not depend on the umask: preferences are the user's alone.
  ::chmod(folder.c_str(), 0700);
  return true;
}

}  // namespace

bool Locate(std::string_view domain, bool anyUser, bool currentHost, Location& out) {
  if (domain.empty() || domain == "." || domain == ".." ||
      domain.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos) {
    return false;
  }
  const std::string base = anyUser ? SystemConfigFolder() : UserConfigFolder();
  if (base.empty()) return false;
  out.folder = base + kSubfolder;
  if (currentHost) {
    out.folder += "/ByHost";
    out.path = out.folder + "/" + std::string(domain) + "." + HostName() + ".plist";
  } else {
    out.path = out.folder + "/" + std::string(domain) + ".plist";
  }
  return true;
}

bool EnsureFolder(const std::string& folder) {
  if (MakeFolder(folder)) return true;
  if (errno == EEXIST) return IsDirectory(folder);
  if (errno != ENOENT) return false;
  const size_t slash = folder.find_last_of('/');
  if (slash == std::string::npos || slash == 0) return false;
  if (!EnsureFolder(folder.substr(0, slash))) return false;
  return MakeFolder(folder) || (errno == EEXIST && IsDirectory(folder));
}

bool FolderIsWritable(const std::string& folder) {
  if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0) return true;
  return errno == ENOENT && EnsureFolder(folder);
}

ReadResult ReadWhole(const std::string& path, std::string& bytes) {
  bytes.clear();
  // Non-blocking, so a FIFO put in the file's place cannot stall the open.
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return errno == ENOENT ? ReadResult::kMissing : ReadResult::kFailed;
  struct stat st;
  if (::fstat(fd, &st) != 0) {
    ::close(fd);
    return ReadResult::kFailed;
  }
  if (!S_ISREG(st.st_mode) || static_cast<size_t>(st.st_size) > kMaxFileSize) {
    ::close(fd);
    return ReadResult::kRead;
  }
  bytes.resize(static_cast<size_t>(st.st_size) + 1);
  size_t done = 0;
  for (;;) {
    if (done == bytes.size()) bytes.resize(bytes.size() * 2);
    const ssize_t n = ::read(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      ::close(fd);
      bytes.clear();
      return ReadResult::kFailed;
    }
    if (n == 0) break;
    done += static_cast<size_t>(n);
    if (done > kMaxFileSize) {
      done = 0;
      break;
    }
  }
  ::close(fd);
  bytes.resize(done);
  return ReadResult::kRead;
}

WriteLock::WriteLock(const Location& location) {
  const std::string lockPath = location.path + ".lock";
  const auto open = [&] {
    return ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  };
  // The folder is made only when the lock shows it missing: a steady run costs no mkdir.
  fd_ = open();
  if (fd_ < 0 && errno == ENOENT && EnsureFolder(location.folder)) fd_ = open();
  // A lock file that exists in a folder we may not write still serves, read only.
  if (fd_ < 0) fd_ = ::open(lockPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd_ < 0) return;
  while (::flock(fd_, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    ::close(fd_);
    fd_ = -1;
    return;
  }
}

WriteLock::~WriteLock() {
  if (fd_ >= 0) ::close(fd_);  // closing the last descriptor releases the lock
}

bool Replace(const Location& location, std::string_view bytes) {
  // One fixed name is safe under the lock, and a writer killed half way leaves at most
  // this one file behind, which the next writer replaces.
  const std::string temporary = location.path + ".tmp";
  if (::unlink(temporary.c_str()) != 0 && errno != ENOENT) return false;
  return ReplaceFile(location.path, temporary, bytes, 0600);
}

}  // namespace grantwright::PreferenceFiles
