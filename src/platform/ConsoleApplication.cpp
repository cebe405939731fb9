#include "platform/ConsoleApplication.h"

#include <unistd.h>

#include <string>
#include <string_view>

namespace grantwright::ConsoleApplication {

FolderItemRef ExecutableFile() {
  std::string path(4096, '\0');
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0 || static_cast<size_t>(length) >= path.size()) return nullptr;
  path.resize(static_cast<size_t>(length));
  // The kernel marks a program whose file is gone; that name is no item.
  if (path.front() != '/' || std::string_view(path).ends_with(" (deleted)")) return nullptr;
  return std::make_shared<FolderItem>(std::move(path));
}

}  // namespace grantwright::ConsoleApplication
