#include "platform/PathWalk.h"

#include <fcntl.h>
#include <limits.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

namespace grantwright {

namespace {

// As many as the kernel's own path walk follows.
constexpr int kMaxLinks = 40;

using Status = PathWalkResult::Status;

// Puts the names of `path` on the stack `names`, the first name on top. Empty names (from
// "//") are dropped; a trailing "/" after a name stands as a last ".". `path` is not empty.
void PushNames(std::string_view path, std::vector<std::string>& names) {
  if (path.back() == '/' && path.find_first_not_of('/') != std::string_view::npos) names.emplace_back(".");
  size_t end = path.size();
  while (end > 0) {
    const size_t slash = path.rfind('/', end - 1);
    const size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    if (end > start) names.emplace_back(path.substr(start, end - start));
    if (slash == std::string_view::npos) break;
    end = slash;
  }
}

bool IsDotOrDotDot(const std::string& name) { return name == "." || name == ".."; }

// Whether nothing but "." and ".." is left, so the item just opened is the path's end.
bool OnlyDotsLeft(const std::vector<std::string>& names) {
  return std::all_of(names.begin(), names.end(), IsDotOrDotDot);
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
  const Descriptor open(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return open.Get() >= 0 && ::fchmod(open.Get(), 0700) == 0;
}

// Every descriptor a walk opens, held from the moment it is opened till the walk ends,
// whichever way it ends, and then closed together but for the one handed out. A folder is
// left open when the walk steps into the next one: closing each as the walk went cost a
// call a name, where the end costs one for them all.
class WalkDescriptors {
 public:
  WalkDescriptors() = default;
  WalkDescriptors(const WalkDescriptors&) = delete;
  WalkDescriptors& operator=(const WalkDescriptors&) = delete;
  ~WalkDescriptors() { CloseAll(); }

  // Holds `fd` when it is a descriptor, and gives it back.
  int Hold(int fd) {
    if (fd >= 0) held_.push_back(fd);
    return fd;
  }
  // The held `fd`, to be handed out: no longer closed here.
  Descriptor HandOut(int fd) {
    Drop(fd);
    return Descriptor(fd);
  }
  // Once kMaxHeld are held, closes all but `folder`, the one the walk goes on from, so that
  // a path of a thousand names or links never holds more than a few at a time.
  void Trim(int folder) {
    if (held_.size() < kMaxHeld) return;
    Drop(folder);
    CloseAll();
    Hold(folder);
  }

 private:
  // Deeper than the paths a store or a job names.
  static constexpr size_t kMaxHeld = 16;

  void Drop(int fd) {
    if (const auto it = std::find(held_.begin(), held_.end(), fd); it != held_.end()) held_.erase(it);
  }
  void CloseAll();

  std::vector<int> held_;
};

// Held numbers as many as the span from the lowest to the highest fill it (no two open
// descriptors share a number), so close_range closes ours and nothing else. They do in a
// single-threaded process, which is given the lowest free number each time. Otherwise,
// and on a kernel without close_range, each is closed on its own.
void WalkDescriptors::CloseAll() {
  if (held_.empty()) return;
  const auto [low, high] = std::minmax_element(held_.begin(), held_.end());
  if (static_cast<size_t>(*high - *low) + 1 != held_.size() ||
      ::close_range(static_cast<unsigned>(*low), static_cast<unsigned>(*high), 0) != 0) {
    for (const int fd : held_) ::close(fd);
  }
  held_.clear();
}

PathWalkResult Failed(Status status, int error) {
  PathWalkResult result;
  result.status = status;
  result.error = error;
  return result;
}

PathWalkResult Found(Descriptor item, const struct stat& st, bool isRoot) {
  PathWalkResult result;
  result.status = Status::kFound;
  result.item = std::move(item);
  result.type = st.st_mode & S_IFMT;
  result.isRoot = isRoot;
  result.device = st.st_dev;
  result.inode = st.st_ino;
  return result;
}

// The item at `path`, opened by the kernel in one call that refuses every symbolic link
// but the last, which O_NOFOLLOW gives as itself.
Descriptor OpenWithoutLinks(const std::string& path) {
  open_how how{};
  how.flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  return Descriptor(static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
}

// A path with no symbolic link anywhere needs no walk: the kernel resolves it in one call
// and refuses any link but the last, which O_NOFOLLOW gives as itself. True when that
// settled the walk; false when a link stands on the way (or openat2 is not available), so
// the walk has to look at it.
bool ResolveWithoutLinks(const std::string& path, PathWalkResult& result) {
  Descriptor item = OpenWithoutLinks(path);
  if (item.Get() < 0) {
    const int error = errno;
    if (error == ELOOP || error == ENOSYS || error == EPERM || error == E2BIG || error == EXDEV) {
      return false;
    }
    result = Failed(error == ENOENT ? Status::kMissing : Status::kFailed, error);
    return true;
  }
  struct stat st;
  if (::fstat(item.Get(), &st) != 0) {
    result = Failed(Status::kFailed, errno);
    return true;
  }
  result = Found(std::move(item), st, false);
  return true;
}

// A path of plain names with no symbolic link on it, whose folders all belong to root or
// to the effective user, needs no walk either: the kernel resolves it in one call, and the
// owners are read upward from the folder it found, each by its "..", "../..", ..., as the
// file system has them then: the folder's ancestry as it is, not as its path names it.
// Whoever could have moved a folder onto that ancestry owns, or can write, a folder in it
// (a sticky folder lets others move only their own entries), which a walk by names would
// have met as well. Six system calls for the store's five names, where the walk takes
// eleven. True when that found the folder; false leaves the path to the walk, which then
// says why it fails (a link, a missing or untrusted folder, "." or ".." among the names).
bool ResolveOwnedWithoutLinks(const std::string& path, PathWalkResult& result) {
  size_t names = 0;
  for (size_t start = 1; start < path.size();) {
    const size_t end = std::min(path.find('/', start), path.size());
    const std::string_view name(path.data() + start, end - start);
    if (name.empty() || name == "." || name == "..") return false;
    ++names;
    start = end + 1;
  }
  if (names == 0 || path.back() == '/') return false;
  Descriptor folder = OpenWithoutLinks(path);
  struct stat st;
  if (folder.Get() < 0 || ::fstat(folder.Get(), &st) != 0 || !S_ISDIR(st.st_mode) || !IsOwned(st)) {
    return false;
  }
  // "/" is not checked, as by the walk: the names' count says how far up to go.
  std::string up;
  for (size_t above = names - 1; above > 0; --above) {
    up += up.empty() ? ".." : "/..";
    struct stat ancestor;
    if (::fstatat(folder.Get(), up.c_str(), &ancestor, 0) != 0 || !IsOwned(ancestor)) return false;
  }
  result = Found(std::move(folder), st, false);
  return true;
}

}  // namespace

PathWalkResult WalkPath(const std::string& path, const PathWalkRules& rules) {
  if (path.empty() || path.front() != '/') return Failed(Status::kFailed, EINVAL);
  const bool plain = !rules.foldersOwned && !rules.createFolders && !rules.followLastLink;
  if (PathWalkResult result; plain && ResolveWithoutLinks(path, result)) return result;
  if (PathWalkResult result; rules.foldersOwned && ResolveOwnedWithoutLinks(path, result)) return result;

  std::vector<std::string> names;
  PushNames(path, names);
  WalkDescriptors opened;
  // "/" is root's on any system this runs on, so it is not checked: that saves two system
  // calls of every walk. Names are looked up in it by their absolute path.
  int folder = AT_FDCWD;
  struct stat folderStat {};
  std::string walked;
  int links = 0;
  while (!names.empty()) {
    const bool atRoot = folder == AT_FDCWD;
    const std::string name = std::move(names.back());
    names.pop_back();
    const std::string lookup = atRoot ? "/" + name : name;
    int next = opened.Hold(::openat(folder, lookup.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    bool made = false;
    if (next < 0 && errno == ENOENT && rules.createFolders) {
      made = ::mkdirat(folder, lookup.c_str(), 0700) == 0;
      if (!made && errno != EEXIST) return Failed(Status::kFailed, errno);
      next = opened.Hold(::openat(folder, lookup.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    }
    if (next < 0) return Failed(errno == ENOENT ? Status::kMissing : Status::kFailed, errno);
    struct stat st;
    if (::fstat(next, &st) != 0) return Failed(Status::kFailed, errno);
    const std::string here = walked.empty() ? "/" + name : walked + "/" + name;
    const bool link = S_ISLNK(st.st_mode);
    if (link && !rules.followLastLink && OnlyDotsLeft(names)) {
      return Found(opened.HandOut(next), st, false);  // the link itself is the item
    }
    if ((link || rules.foldersOwned) && !IsOwned(st)) {
      PathWalkResult result = Failed(Status::kNotTrusted, EACCES);
      result.culprit = here;
      result.owner = st.st_uid;
      return result;
    }
    if (link) {
      std::string target;
      if (++links > kMaxLinks) return Failed(Status::kFailed, ELOOP);
      if (!ReadLink(next, target)) return Failed(Status::kFailed, errno ? errno : ENAMETOOLONG);
      if (target.front() == '/') {
        folder = AT_FDCWD;
        walked.clear();
      }
      PushNames(target, names);
      opened.Trim(folder);
      continue;
    }
    if (names.empty() && !rules.foldersOwned) return Found(opened.HandOut(next), st, false);
    if (!S_ISDIR(st.st_mode)) return Failed(Status::kFailed, ENOTDIR);
    if (made && !MakePrivate(next)) return Failed(Status::kFailed, errno);
    folder = next;
    opened.Trim(folder);
    folderStat = st;
    walked = here;
  }
  if (folder == AT_FDCWD) {
    // The path ends at "/" itself.
    Descriptor root(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat st;
    if (root.Get() < 0 || ::fstat(root.Get(), &st) != 0) return Failed(Status::kFailed, errno);
    return Found(std::move(root), st, true);
  }
  return Found(opened.HandOut(folder), folderStat, false);
}

}  // namespace grantwright
