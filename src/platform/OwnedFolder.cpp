#include "platform/OwnedFolder.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

namespace grantwright {

namespace {

// As many as the kernel's own path walk follows.
constexpr int kMaxLinks = 40;

// A descriptor closed when it goes out of scope.
class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() { Reset(-1); }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  Fd& operator=(Fd&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  int Get() const { return fd_; }
  int Release() { return std::exchange(fd_, -1); }
  void Reset(int fd) {
    if (fd_ >= 0) ::close(fd_);  // AT_FDCWD, which stands for "/", is negative
    fd_ = fd;
  }

 private:
  int fd_;
};

// Puts the names of `path` on the stack `names`, the first name on top.
void PushNames(std::string_view path, std::vector<std::string>& names) {
  size_t end = path.size();
  while (end > 0) {
    const size_t slash = path.rfind('/', end - 1);
    const size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    const std::string_view name = path.substr(start, end - start);
    if (!name.empty() && name != ".") names.emplace_back(name);
    if (slash == std::string_view::npos) break;
    end = slash;
  }
}

int OpenName(int folder, const std::string& name) {
  return ::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
}

bool IsOwned(const struct stat& st) { return st.st_uid == 0 || st.st_uid == ::geteuid(); }

// The target of the link that `link` (an O_PATH descriptor of the link itself) holds.
bool ReadLink(int link, std::string& target) {
  char buffer[PATH_MAX];
  const ssize_t n = ::readlinkat(link, "", buffer, sizeof buffer);
  if (n <= 0 || static_cast<size_t>(n) >= sizeof buffer) return false;
  target.assign(buffer, static_cast<size_t>(n));
  return true;
}

// A folder this process made gets exactly 0700, whatever the umask took away.
bool MakePrivate(int folder) {
  const Fd open(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return open.Get() >= 0 && ::fchmod(open.Get(), 0700) == 0;
}

}  // namespace

OwnedFolder::OwnedFolder(const std::string& path, bool create) {
  status_ = Walk(path, create);
}

OwnedFolder::OwnedFolder(OwnedFolder&& other) noexcept
    : status_(std::exchange(other.status_, Status::kFailed)),
      fd_(std::exchange(other.fd_, -1)),
      culprit_(std::move(other.culprit_)),
      ownerId_(other.ownerId_) {}

OwnedFolder::~OwnedFolder() {
  if (fd_ >= 0) ::close(fd_);
}

OwnedFolder::Status OwnedFolder::Walk(const std::string& path, bool create) {
  if (path.empty() || path.front() != '/') return Status::kFailed;
  std::vector<std::string> names;
  PushNames(path, names);
  // "/" is root's on any system this runs on, so it is not checked: that saves three
  // system calls of every walk. Names are looked up in it by their absolute path.
  Fd folder(AT_FDCWD);
  std::string walked;
  int links = 0;
  while (!names.empty()) {
    const std::string name = walked.empty() ? "/" + names.back() : std::move(names.back());
    names.pop_back();
    Fd next(OpenName(folder.Get(), name));
    bool made = false;
    if (next.Get() < 0 && errno == ENOENT && create) {
      made = ::mkdirat(folder.Get(), name.c_str(), 0700) == 0;
      if (!made && errno != EEXIST) return Status::kFailed;
      next.Reset(OpenName(folder.Get(), name));
    }
    if (next.Get() < 0) return errno == ENOENT ? Status::kMissing : Status::kFailed;
    struct stat st;
    if (::fstat(next.Get(), &st) != 0) return Status::kFailed;
    const std::string here = walked.empty() ? name : walked + "/" + name;
    if (!IsOwned(st)) {
      culprit_ = here;
      ownerId_ = st.st_uid;
      return Status::kNotOwned;
    }
    if (S_ISLNK(st.st_mode)) {
      std::string target;
      if (++links > kMaxLinks || !ReadLink(next.Get(), target)) return Status::kFailed;
      if (target.front() == '/') {
        folder.Reset(AT_FDCWD);
        walked.clear();
      }
      PushNames(target, names);
      continue;
    }
    if (!S_ISDIR(st.st_mode)) return Status::kFailed;
    if (made && !MakePrivate(next.Get())) return Status::kFailed;
    folder = std::move(next);
    walked = here;
  }
  if (walked.empty()) return Status::kFailed;  // "/" itself is no store's folder
  fd_ = folder.Release();
  return Status::kOpen;
}

bool OwnedFolder::IsWritable() const {
  return fd_ >= 0 && ::faccessat(fd_, ".", W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace grantwright
