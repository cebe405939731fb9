#include "platform/FolderItem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

FolderItemRef PathToFolderItem(const String& path) {
  const std::string& bytes = path.Bytes();
  if (bytes.empty() || bytes.find('\0') != std::string::npos) return nullptr;
  return std::make_shared<FolderItem>(bytes);
}

}  // namespace grantwright
