#include "platform/FolderItem.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "platform/Exceptions.h"

namespace grantwright {

namespace {

// A chown id of all bits set means "leave as it is", so it can never name an account.
constexpr uint64_t kNoId = static_cast<uint32_t>(-1);

// The id that a text of decimal digits stands for, or kNoId.
uint64_t DecimalId(const std::string& text) {
  if (text.empty() || text.size() > 10) return kNoId;
  uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return kNoId;
    value = value * 10 + static_cast<uint64_t>(c - '0');
  }
  return value < kNoId ? value : kNoId;
}

// Looks `name` up with a getpwnam_r-style function. Gives 0 and the id, or an errno.
template <class Entry, class Id, class Lookup>
int ResolveName(const String& name, Lookup lookup, Id Entry::*idField, Id& id) {
  const std::string text = name.Utf8();
  if (text.empty() || text.find('\0') != std::string::npos) return EINVAL;
  const long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 1024);
  Entry entry;
  Entry* found = nullptr;
  int error;
  while ((error = lookup(text.c_str(), &entry, buffer.data(), buffer.size(), &found)) == ERANGE &&
         buffer.size() < (size_t{1} << 20)) {
    buffer.resize(buffer.size() * 2);
  }
  if (found != nullptr) {
    id = entry.*idField;
    return 0;
  }
  // "Not found" comes back as 0 or as one of these, depending on the database module.
  if (error != 0 && error != ENOENT && error != ESRCH && error != EBADF && error != EPERM) {
    return error;
  }
  const uint64_t numeric = DecimalId(text);
  if (numeric == kNoId) return EINVAL;
  id = static_cast<Id>(numeric);
  return 0;
}

}  // namespace

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

bool FolderItem::Locate() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
    descriptor_ = -1;
  }
  // O_PATH opens without reading or searching the item, so any item the process can reach
  // is found; O_NOFOLLOW makes a final symbolic link the item itself, never its target.
  descriptor_ = ::open(path_.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor_ < 0) {
    lastErrorCode_ = errno;
    return false;
  }
  struct stat st;
  if (::fstat(descriptor_, &st) != 0) {
    lastErrorCode_ = errno;
    return false;
  }
  lastErrorCode_ = 0;
  return S_ISLNK(st.st_mode) ? Exists() : true;
}

int FolderItem::ChangeDescriptor() {
  if (descriptor_ < 0 && !Locate() && descriptor_ < 0) return -1;
  struct stat st;
  if (::fstat(descriptor_, &st) != 0) {
    lastErrorCode_ = errno;
    return -1;
  }
  if (S_ISLNK(st.st_mode)) {
    lastErrorCode_ = ELOOP;
    return -1;
  }
  return descriptor_;
}

std::string FolderItem::DescriptorPath(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

void FolderItem::SetOwner(const String& name) {
  uid_t uid = 0;
  if (const int error = ResolveName<passwd>(name, ::getpwnam_r, &passwd::pw_uid, uid)) {
    lastErrorCode_ = error;
    return;
  }
  const int fd = ChangeDescriptor();
  if (fd < 0) return;
  lastErrorCode_ = ::fchownat(fd, "", uid, static_cast<gid_t>(-1), AT_EMPTY_PATH) == 0 ? 0 : errno;
}

void FolderItem::SetGroup(const String& name) {
  gid_t gid = 0;
  if (const int error = ResolveName<group>(name, ::getgrnam_r, &group::gr_gid, gid)) {
    lastErrorCode_ = error;
    return;
  }
  const int fd = ChangeDescriptor();
  if (fd < 0) return;
  lastErrorCode_ = ::fchownat(fd, "", static_cast<uid_t>(-1), gid, AT_EMPTY_PATH) == 0 ? 0 : errno;
}

void FolderItem::SetPermissions(const PermissionsRef& permissions) {
  const mode_t mode = NonNil(permissions)->Mode();
  const int fd = ChangeDescriptor();
  if (fd < 0) return;
  // An O_PATH descriptor takes no fchmod; its /proc name reaches the very same inode.
  lastErrorCode_ = ::chmod(DescriptorPath(fd).c_str(), mode) == 0 ? 0 : errno;
}

FolderItemRef PathToFolderItem(const String& path) {
  const std::string& bytes = path.Bytes();
  if (bytes.empty() || bytes.find('\0') != std::string::npos) return nullptr;
  if (bytes[0] == '/') return std::make_shared<FolderItem>(bytes);
  char* cwd = ::getcwd(nullptr, 0);
  if (cwd == nullptr) return nullptr;
  std::string absolute(cwd);
  std::free(cwd);
  absolute += absolute.back() == '/' ? "" : "/";
  return std::make_shared<FolderItem>(absolute + bytes);
}

}  // namespace grantwright
