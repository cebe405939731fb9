#pragma once
// Icons of files from the desktop's icon services (the freedesktop icon theme, thumbnails,
// the images themselves), reached, like FileKinds, through a narrow interface that only a
// program with those services fills (grantwright_desktop, in `grantwright`).
//
// IconZRN chooses among four routes by number: -1 (the default) and 3, the icon a file
// manager shows for the file; 1 and 2, the generic icon of its content type; 4, a preview
// (a valid thumbnail, or an image file's own pixels), else route 3; any other number, the
// icon family: a theme raster of exactly the size asked, nil when the theme has none.

#include <cstdint>
#include <string>

#include "platform/FolderItem.h"
#include "platform/Picture.h"

namespace grantwright {

class FileIcons {
 public:
  virtual ~FileIcons() = default;
  // Each gives a picture of exactly `size` x `size` pixels, alpha kept, centred when its
  // source is not square; or nil. `path` names an existing item.
  virtual PictureRef WorkspaceIcon(const std::string& path, int size) = 0;
  virtual PictureRef TypeIcon(const std::string& path, int size) = 0;
  virtual PictureRef Preview(const std::string& path, int size) = 0;
  virtual PictureRef FamilyIcon(const std::string& path, int size) = 0;
  // Writes `picture` as a PNG file at `path`; false when it cannot.
  virtual bool WritePng(const Picture& picture, const std::string& path) = 0;
};

// Makes `icons` (not owned; null for none) the process's icon services; gives the one before.
FileIcons* InstallFileIcons(FileIcons* icons);
FileIcons* CurrentFileIcons();

// The largest icon asked for.
inline constexpr int64_t kMaxIconSize = 4096;

namespace FolderItemExtension {

// The icon of `file` at `size` x `size` by `route` (see above). nil for a missing file (no
// service is asked), a size below 1 or above kMaxIconSize, with no icon services installed,
// and when the route finds nothing. `reservedFlag` selects nothing. A nil `file` raises
// NilObjectException.
PictureRef IconZRN(const FolderItemRef& file, int64_t size, bool reservedFlag, int64_t route);

}  // namespace FolderItemExtension

}  // namespace grantwright
