#include "platform/PreferenceFiles.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <tuple>
#include <vector>

#include "platform/Accounts.h"
#include "platform/FileIO.h"
#include "platform/Log.h"
#include "platform/PreferenceFolderReuse.h"

namespace grantwright::PreferenceFiles {

namespace {

constexpr const char* kSubfolder = "/grantwright/preferences";

std::string_view AbsoluteVariable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || value[0] != '/') return {};
  return value;
}

std::string AccountHome() {
  struct passwd entry;
  struct passwd* found = nullptr;
  std::vector<char> buffer(4096);
  ConfineAccountLookupsWhenStatic();
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

void Log(std::string_view what, const Location& location) {
  System::DebugLog(String(std::string(what) + location.path));
}

// Every access to the store walks its path anew, and a helper run makes several: the
// refusal is said once, where it first happens.
void ReportNotOwned(const OwnedFolder& folder) {
  static std::vector<std::string> reported;
  if (std::find(reported.begin(), reported.end(), folder.Culprit()) != reported.end()) return;
  reported.push_back(folder.Culprit());
  System::DebugLog(String("Preference store not used: " + folder.Culprit() +
                          " is owned by user " + std::to_string(folder.OwnerId())));
}

// Reads the open file whole into `bytes`, up to kMaxFileSize.
ReadResult ReadBounded(int fd, size_t size, const Location& location, std::string& bytes) {
  const int error = ReadOpenFile(fd, size, kMaxFileSize, bytes);
  if (error == EFBIG) {
    Log("Preference file is larger than " + std::to_string(kMaxFileSize) + " bytes, left alone: ",
        location);
  }
  return error == 0 ? ReadResult::kRead : ReadResult::kFailed;
}

void Pause(std::chrono::microseconds length) {
  struct timespec rest = {0, static_cast<long>(std::chrono::nanoseconds(length).count())};
  while (::nanosleep(&rest, &rest) != 0 && errno == EINTR) {
  }
}

// What tells one version of the file from the next: every replacement is a new file.
std::tuple<ino_t, time_t, long> VersionOf(const OwnedFolder& folder, const Location& location) {
  struct stat st {};
  if (::fstatat(folder.Descriptor(), location.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
    return {};
  }
  return {st.st_ino, st.st_ctim.tv_sec, st.st_ctim.tv_nsec};
}

// Takes the lock on `fd`, waiting as kLockWait says. flock itself waits without limit, so
// the lock is tried again and again; the pauses stay short, so that a writer that waits
// gets its turn among others that take the lock again and again.
bool Lock(int fd, const OwnedFolder& folder, const Location& location) {
  const auto start = std::chrono::steady_clock::now();
  auto deadline = start + kLockWait;
  auto version = VersionOf(folder, location);
  std::chrono::microseconds pause{50};
  for (;;) {
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return false;
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline) {
      const auto latest = VersionOf(folder, location);
      if (latest == version || now >= start + kLockWaitInAll) {
        Log("Preference file is locked by another process, change not written: ", location);
        return false;
      }
      version = latest;
      deadline = now + kLockWait;
    }
    Pause(pause);
    pause = std::min(pause * 2, std::chrono::microseconds{1000});
  }
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
  out.name = std::string(domain);
  if (currentHost) {
    out.folder += "/ByHost";
    out.name += '.';
    out.name += HostName();
  }
  out.name += ".plist";
  out.path = out.folder + "/" + out.name;
  return true;
}

OwnedFolder OpenFolder(const Location& location, bool create) {
  if (OwnedFolder again = ReopenFolder(location.folder); again.IsOpen()) return again;
  OwnedFolder folder(location.folder, create);
  if (folder.Result() == OwnedFolder::Status::kNotOwned) ReportNotOwned(folder);
  if (folder.IsOpen()) KeepFolder(location.folder, folder);
  return folder;
}

ReadResult Read(const OwnedFolder& folder, const Location& location, std::string& bytes) {
  bytes.clear();
  // Non-blocking, so that a FIFO in the file's place cannot stall the open.
  const int fd = ::openat(folder.Descriptor(), location.name.c_str(),
                          O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0 && errno == ENOENT) return ReadResult::kMissing;
  struct stat st;
  const bool opened = fd >= 0 && ::fstat(fd, &st) == 0;
  if ((fd < 0 && errno == ELOOP) || (opened && !S_ISREG(st.st_mode))) {
    Log("Preference file is no regular file, left alone: ", location);
  }
  const ReadResult result = opened && S_ISREG(st.st_mode)
                                ? ReadBounded(fd, static_cast<size_t>(st.st_size), location, bytes)
                                : ReadResult::kFailed;
  if (fd >= 0) ::close(fd);
  return result;
}

WriteLock::WriteLock(const OwnedFolder& folder, const Location& location) {
  const std::string name = location.name + ".lock";
  // flock needs no write access, so a lock file the umask made read-only still serves.
  fd_ = ::openat(folder.Descriptor(), name.c_str(),
                 O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
  if (fd_ < 0) return;
  struct stat st;
  if (::fstat(fd_, &st) == 0 && S_ISREG(st.st_mode) && Lock(fd_, folder, location)) return;
  ::close(fd_);
  fd_ = -1;
}

WriteLock::~WriteLock() {
  if (fd_ >= 0) ::close(fd_);  // closing the last descriptor releases the lock
}

bool Replace(const OwnedFolder& folder, const Location& location, std::string_view bytes) {
  // One fixed name is safe under the lock, and a writer killed half way leaves at most
  // this one file behind, which the next writer replaces.
  const std::string temporary = location.name + ".tmp";
  if (::unlinkat(folder.Descriptor(), temporary.c_str(), 0) != 0 && errno != ENOENT) {
    return false;
  }
  return ReplaceFileAt(folder.Descriptor(), location.name, temporary, bytes, 0600);
}

}  // namespace grantwright::PreferenceFiles
