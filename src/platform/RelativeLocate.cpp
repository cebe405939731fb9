// FolderItem::GetSaveInfo and FolderItem::GetRelative: making relative data for an item
// and finding the item again from it (the order is told in RelativeData.h).

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/FileHandles.h"
#include "platform/FolderItem.h"
#include "platform/RelativeData.h"

namespace grantwright {

namespace {

// Closes a descriptor when it goes out of scope.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  bool ok() const { return fd_ >= 0; }

 private:
  int fd_;
};

std::pair<std::string_view, std::string_view> SplitLast(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return {{}, path};
  return {slash == 0 ? std::string_view("/") : path.substr(0, slash), path.substr(slash + 1)};
}

std::string RealPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
  return real ? std::string(real.get()) : std::string();
}

std::string JoinName(const std::string& folder, std::string_view name) {
  std::string path = folder;
  if (path.empty() || path.back() != '/') path += '/';
  path += name;
  return path;
}

// The path with its folders' symbolic links resolved, so that it agrees with the
// program's own path; the path as it is when its folder cannot be resolved.
std::string CanonicalPath(const std::string& path) {
  const auto [folder, name] = SplitLast(path);
  if (folder.empty() || name.empty()) return path;
  const std::string real = RealPath(std::string(folder));
  return real.empty() ? path : JoinName(real, name);
}

// The folder relative paths start from: the item itself when it is a folder, else the
// folder that holds it; resolved, or empty when it cannot be.
std::string BaseFolderOf(const std::string& path) {
  struct stat st;
  if (::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return RealPath(path);
  const std::string folder(SplitLast(path).first);
  return folder.empty() ? std::string() : RealPath(folder);
}

std::vector<std::string_view> Components(std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const size_t slash = path.find('/');
    const std::string_view part = path.substr(0, slash);
    if (!part.empty() && part != ".") parts.push_back(part);
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return parts;
}

std::string RelativePathBetween(const std::string& base, const std::string& target) {
  const auto from = Components(base);
  const auto to = Components(target);
  size_t common = 0;
  while (common < from.size() && common < to.size() && from[common] == to[common]) ++common;
  std::string relative;
  for (size_t i = common; i < from.size(); ++i) relative += "../";
  for (size_t i = common; i < to.size(); ++i) {
    relative += to[i];
    if (i + 1 < to.size()) relative += '/';
  }
  return relative;
}

// `relative` taken against `base`; ".." stops at the root.
std::string Resolve(const std::string& base, std::string_view relative) {
  std::vector<std::string_view> parts = Components(base);
  for (const std::string_view part : Components(relative)) {
    if (part != "..") {
      parts.push_back(part);
    } else if (!parts.empty()) {
      parts.pop_back();
    }
  }
  std::string path;
  for (const std::string_view part : parts) (path += '/') += part;
  return path.empty() ? "/" : path;
}

bool PathExists(const std::string& path) {
  struct stat st;
  return !path.empty() && ::stat(path.c_str(), &st) == 0;
}

// Whether `path` names the very item the data describes: the same handle on the same file
// system.
bool IsTheItem(const std::string& path, const RelativeData& data) {
  const Descriptor item(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!item.ok()) return false;
  if (data.fileSystemId && FileSystemIdOf(item.get()) != data.fileSystemId) return false;
  return HandleOf(item.get(), "") == data.itemHandle;
}

// The entry of `folder` with the data's inode number that IsTheItem confirms; empty when
// none of the first kMaxScannedEntries entries is.
std::string ScanFolder(const std::string& folder, const RelativeData& data) {
  if (folder.empty() || !data.inode || !data.itemHandle) return {};
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return {};
  DIR* dir = ::fdopendir(fd);
  if (dir == nullptr) {
    ::close(fd);
    return {};
  }
  std::string found;
  size_t read = 0;
  while (const struct dirent* entry = ::readdir(dir)) {
    if (++read > kMaxScannedEntries) break;
    if (entry->d_ino != *data.inode) continue;
    const std::string candidate = JoinName(folder, entry->d_name);
    if (IsTheItem(candidate, data)) {
      found = candidate;
      break;
    }
  }
  ::closedir(dir);
  return found;
}

std::string DescriptorTarget(int fd) {
  std::string target(4096, '\0');
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  if (length <= 0 || static_cast<size_t>(length) >= target.size()) return {};
  target.resize(static_cast<size_t>(length));
  return target;
}

// A descriptor of the nearest existing folder above `path` that lies on the data's file
// system, or -1. open_by_handle_at takes no O_PATH descriptor for the file system, so the
// folder is opened for reading (only to name the file system: nothing is read).
int MountItemNear(const std::string& path, const RelativeData& data) {
  std::string_view folder = path;
  while (!folder.empty()) {
    folder = SplitLast(folder).first;
    if (folder.empty()) break;
    const int fd = ::open(std::string(folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
      if (FileSystemIdOf(fd) == data.fileSystemId) return fd;
      ::close(fd);
      return -1;
    }
    if (errno != ENOENT || folder == "/") break;
  }
  return -1;
}

enum class HandleOutcome { kFound, kGone, kUnavailable };

// Step 3: the item through its handle.
HandleOutcome FindThroughHandle(const RelativeData& data, const std::vector<std::string>& near,
                                std::string& found) {
  if (!data.itemHandle || !data.fileSystemId) return HandleOutcome::kUnavailable;
  int mountFd = -1;
  for (const std::string& path : near) {
    if (!path.empty() && (mountFd = MountItemNear(path, data)) >= 0) break;
  }
  const Descriptor mount(mountFd);
  if (!mount.ok()) return HandleOutcome::kUnavailable;
  std::string path;
  {
    const int fd = OpenByHandle(mount.get(), *data.itemHandle);
    if (fd == -ESTALE) return HandleOutcome::kGone;
    if (fd < 0) return HandleOutcome::kUnavailable;
    const Descriptor item(fd);
    path = DescriptorTarget(item.get());
  }
  if (!path.empty() && path.front() == '/' && IsTheItem(path, data)) {
    found = path;
    return HandleOutcome::kFound;
  }
  if (data.folderHandle) {
    const int fd = OpenByHandle(mount.get(), *data.folderHandle);
    if (fd >= 0) {
      const Descriptor folder(fd);
      found = ScanFolder(DescriptorTarget(folder.get()), data);
      if (!found.empty()) return HandleOutcome::kFound;
    }
  }
  return HandleOutcome::kUnavailable;
}

}  // namespace

String FolderItem::GetSaveInfo(const std::shared_ptr<FolderItem>& relativeTo, int /*mode*/) const {
  RelativeData data;
  data.absolutePath = CanonicalPath(path_);
  if (relativeTo) {
    const std::string base = BaseFolderOf(relativeTo->NativePath());
    if (!base.empty()) data.relativePath = RelativePathBetween(base, data.absolutePath);
  }
  const Descriptor item(::open(path_.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat st;
  if (item.ok() && ::fstat(item.get(), &st) == 0) {
    data.inode = st.st_ino;
    data.fileSystemId = FileSystemIdOf(item.get());
    data.itemHandle = HandleOf(item.get(), "");
    const std::string folder(SplitLast(data.absolutePath).first);
    if (!folder.empty()) data.folderHandle = HandleOf(AT_FDCWD, folder);
  }
  return String(EncodeRelativeData(data), nullptr);
}

std::shared_ptr<FolderItem> FolderItem::GetRelative(const String& bytes) const {
  const std::optional<RelativeData> data = DecodeRelativeData(bytes.Bytes());
  if (!data) return nullptr;
  std::string relative;
  if (!data->relativePath.empty()) {
    const std::string base = BaseFolderOf(path_);
    if (!base.empty()) relative = Resolve(base, data->relativePath);
  }
  const std::string absolute = data->absolutePath.starts_with('/') ? data->absolutePath : std::string();
  if (PathExists(relative)) return std::make_shared<FolderItem>(relative);
  if (PathExists(absolute)) return std::make_shared<FolderItem>(absolute);
  std::string found;
  const HandleOutcome outcome = FindThroughHandle(*data, {relative, absolute, BaseFolderOf(path_)}, found);
  if (outcome == HandleOutcome::kUnavailable) {
    const std::string first(SplitLast(relative).first);
    const std::string second(SplitLast(absolute).first);
    found = ScanFolder(first, *data);
    if (found.empty() && second != first) found = ScanFolder(second, *data);
  }
  if (!found.empty()) return std::make_shared<FolderItem>(found);
  if (!relative.empty()) return std::make_shared<FolderItem>(relative);
  if (!absolute.empty()) return std::make_shared<FolderItem>(absolute);
  return nullptr;
}

}  // namespace grantwright
