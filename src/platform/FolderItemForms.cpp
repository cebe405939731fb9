#include <utility>

#include "platform/FolderItem.h"
#include "platform/GetFolderItem.h"
#include "platform/PathForms.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"

namespace grantwright {

String FolderItem::Name() const {
  std::string name = DisplayName().Bytes();
  const bool text = utf8::IsValid(name);
  return String(std::move(name), text ? Encodings::UTF8() : nullptr);
}

String FolderItem::URLPath() const { return String(URLPathOf(path_, Directory())); }

String FolderItem::ShellPath() const {
  std::string shell = ShellPathOf(path_);
  const bool text = utf8::IsValid(shell);
  return String(std::move(shell), text ? Encodings::UTF8() : nullptr);
}

FolderItemRef GetFolderItem(const String& path, int mode) {
  const std::string& text = path.Bytes();
  if (text.empty() || text.find('\0') != std::string::npos) return nullptr;
  switch (mode) {
    case kPathTypeShell:
      return PathToFolderItem(String(PathFromShell(text), nullptr));
    case kPathTypeURL: {
      std::optional<std::string> native = PathFromURL(text);
      if (!native) return nullptr;
      // A folder's URL ends in "/"; the item's path does not.
      if (native->size() > 1 && native->back() == '/') native->pop_back();
      return PathToFolderItem(String(std::move(*native), nullptr));
    }
    case kPathTypeNative:
      return PathToFolderItem(path);
    default:
      return nullptr;
  }
}

FolderItemRef Volume(int index) {
  return index == 0 ? std::make_shared<FolderItem>(std::string("/")) : nullptr;
}

}  // namespace grantwright
