#include "platform/FolderItem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "platform/Accounts.h"
#include "platform/Exceptions.h"
#include "platform/FileChanges.h"
#include "platform/PathWalk.h"
#include "platform/ProcFiles.h"
#include "platform/OutOfMemory.h"

namespace grantwright {

FolderItem::~FolderItem() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

String FolderItem::DisplayName() const {
  std::string_view p = path_;
  while (p.size() > 1 && p.back() == '/') p.remove_suffix(1);
  const size_t slash = p.rfind('/');
  if (slash != std::string_view::npos && p.size() > 1) p.remove_prefix(slash + 1);
  if (p == "/") p = {};
  return String(std::string(p));
}

bool FolderItem::Exists() const {
  struct stat st;
  return ::stat(path_.c_str(), &st) == 0;
}

bool FolderItem::IsReadable() const {
  return ::faccessat(AT_FDCWD, path_.c_str(), R_OK, AT_EACCESS) == 0;
}

bool FolderItem::Directory() const {
  struct stat st;
  return ::stat(path_.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::shared_ptr<FolderItem> FolderItem::Parent() const {
  std::string_view p = path_;
  while (p.size() > 1 && p.back() == '/') p.remove_suffix(1);
  if (p.empty() || p == "/") return nullptr;
  const size_t slash = p.rfind('/');
  if (slash == std::string_view::npos) return nullptr;
  return std::make_shared<FolderItem>(std::string(slash == 0 ? "/" : p.substr(0, slash)));
}

std::shared_ptr<FolderItem> FolderItem::Child(const String& name) const {
  const std::string& n = name.Bytes();
  if (path_.empty() || n.empty() || n == "." || n == ".." ||
      n.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
    return nullptr;
  }
  return std::make_shared<FolderItem>(path_.back() == '/' ? path_ + n : path_ + "/" + n);
}

bool FolderItem::Examine(struct stat& st) {
  SetLastErrorCode(::stat(path_.c_str(), &st) == 0 ? 0 : errno);
  return LastErrorCode() == 0;
}

String FolderItem::Owner() {
  struct stat st;
  return Examine(st) ? UserName(st.st_uid) : String();
}

String FolderItem::Group() {
  struct stat st;
  return Examine(st) ? GroupName(st.st_gid) : String();
}

uint32_t FolderItem::PermissionsMode() {
  struct stat st;
  return Examine(st) ? (st.st_mode & 07777) : 0;
}

uint64_t FolderItem::Length() {
  struct stat st;
  return Examine(st) ? static_cast<uint64_t>(st.st_size) : 0;
}

namespace {

// The items `path` reaches: the last component as it stands and, for a symbolic link, as
// it resolves. Each as device and inode; {0, 0} where there is none.
std::pair<std::pair<dev_t, ino_t>, std::pair<dev_t, ino_t>> Identities(const std::string& path) {
  struct stat st;
  std::pair<dev_t, ino_t> itself{0, 0};
  std::pair<dev_t, ino_t> resolved{0, 0};
  if (::lstat(path.c_str(), &st) == 0) itself = {st.st_dev, st.st_ino};
  if (::stat(path.c_str(), &st) == 0) resolved = {st.st_dev, st.st_ino};
  return {itself, resolved};
}

}  // namespace

bool FolderItem::IsSameItem(const FolderItem& other) const {
  const auto [mine, mineResolved] = Identities(path_);
  const auto [theirs, theirsResolved] = Identities(other.path_);
  const std::pair<dev_t, ino_t> none{0, 0};
  for (const auto& a : {mine, mineResolved}) {
    for (const auto& b : {theirs, theirsResolved}) {
      if (a != none && a == b) return true;
    }
  }
  return false;
}

bool FolderItem::Locate() {
  located_ = true;
  refusal_ = 0;
  if (descriptor_ >= 0) {
    ::close(descriptor_);
    descriptor_ = -1;
  }
  PathWalkResult walk = WalkPath(path_, {});
  if (walk.status == PathWalkResult::Status::kNotTrusted) {
    // Found only through a link nobody trusts: every change is refused, and whether the
    // item is there is told as for any path.
    refusal_ = walk.error;
    lastErrorCode_ = 0;
    return Exists();
  }
  if (walk.status != PathWalkResult::Status::kFound) {
    lastErrorCode_ = walk.error;
    return false;
  }
  descriptor_ = walk.item.Release();
  lastErrorCode_ = 0;
  return walk.type == S_IFLNK ? Exists() : true;
}

int FolderItem::ChangeDescriptor(struct stat* examined) {
  if (!located_) Locate();
  if (refusal_ != 0) {
    lastErrorCode_ = refusal_;
    return -1;
  }
  if (descriptor_ < 0) return -1;
  struct stat st;
  if (::fstat(descriptor_, &st) != 0) {
    lastErrorCode_ = errno;
    return -1;
  }
  if (S_ISLNK(st.st_mode)) {
    lastErrorCode_ = ELOOP;
    return -1;
  }
  if (S_ISREG(st.st_mode) && st.st_nlink > 1 && KernelSetting("fs/protected_hardlinks") != 1) {
    lastErrorCode_ = EPERM;
    return -1;
  }
  if (examined != nullptr) *examined = st;
  return descriptor_;
}

void FolderItem::SetOwner(const String& name) {
  uid_t uid = 0;
  if (const int error = LookUpUserId(name, uid)) {
    lastErrorCode_ = error;
    return;
  }
  const int fd = ChangeDescriptor();
  if (fd < 0) return;
  lastErrorCode_ = CurrentFileChanges().ChangeOwner(fd, uid, static_cast<gid_t>(-1));
}

void FolderItem::SetGroup(const String& name) {
  gid_t gid = 0;
  if (const int error = LookUpGroupId(name, gid)) {
    lastErrorCode_ = error;
    return;
  }
  const int fd = ChangeDescriptor();
  if (fd < 0) return;
  lastErrorCode_ = CurrentFileChanges().ChangeOwner(fd, static_cast<uid_t>(-1), gid);
}

void FolderItem::SetPermissions(const PermissionsRef& permissions) {
  const mode_t mode = NonNil(permissions)->Mode();
  const int fd = ChangeDescriptor();
  if (fd < 0) return;
  lastErrorCode_ = CurrentFileChanges().ChangeMode(fd, mode);
}

FolderItemRef PathToFolderItem(const String& path) {
  const std::string& bytes = path.Bytes();
  if (bytes.empty() || bytes.find('\0') != std::string::npos) return nullptr;
  if (bytes[0] == '/') return std::make_shared<FolderItem>(bytes);
  char* cwd = ::getcwd(nullptr, 0);
  if (cwd == nullptr) {
    ThrowIfOutOfMemory(errno);
    return nullptr;
  }
  std::string absolute(cwd);
  std::free(cwd);
  absolute += absolute.back() == '/' ? "" : "/";
  return std::make_shared<FolderItem>(absolute + bytes);
}

}  // namespace grantwright
