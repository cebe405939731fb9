#include "platform/FolderItem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace grantwright {

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
