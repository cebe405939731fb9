#include "fileutil/FileIcons.h"

#include "platform/Exceptions.h"

namespace grantwright {

namespace {
FileIcons* installed = nullptr;
}  // namespace

FileIcons* InstallFileIcons(FileIcons* icons) {
  FileIcons* before = installed;
  installed = icons;
  return before;
}

FileIcons* CurrentFileIcons() { return installed; }

namespace FolderItemExtension {

PictureRef IconZRN(const FolderItemRef& file, int64_t size, bool reservedFlag, int64_t route) {
  NonNil(file);
  if (!file->Exists() || size < 1 || size > kMaxIconSize || !installed) return nullptr;
  if (route == -1) route = 3;
  if (route == 1) route = 2;
  const std::string path = file->NativePath();
  const int pixels = static_cast<int>(size);
  switch (route) {
    case 2: return installed->TypeIcon(path, pixels);
    case 3: return installed->WorkspaceIcon(path, pixels);
    case 4:
      if (PictureRef preview = installed->Preview(path, pixels)) return preview;
      return IconZRN(file, size, reservedFlag, 3);
    default: return installed->FamilyIcon(path, pixels);
  }
}

}  // namespace FolderItemExtension

}  // namespace grantwright
