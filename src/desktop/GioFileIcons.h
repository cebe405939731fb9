#pragma once
// Icons of files over GIO, the freedesktop icon theme and gdk-pixbuf.
//
// Icon names come from GIO: the file's own icon (what a file manager shows) or the generic
// icon of its content type. A name is looked up as freedesktop icon themes are read, in
// the theme "Adwaita" and then in "hicolor", under $XDG_DATA_HOME/icons and each
// $XDG_DATA_DIRS/icons: in the first theme that has the name, the directory whose size
// matches, else the nearest; the next name only when no theme has this one. PNG and SVG
// files are read (SVG through librsvg's loader). A preview is the freedesktop thumbnail of
// the file ($XDG_CACHE_HOME/thumbnails) whose Thumb::MTime is the file's modification time,
// or, for an image, the image itself. An image larger than kMaxPicturePixels is refused
// before it is decoded.

#include <string>

#include "desktop/GioFileKinds.h"
#include "fileutil/FileIcons.h"

namespace grantwright {

class GioFileIcons final : public FileIcons {
 public:
  PictureRef WorkspaceIcon(const std::string& path, int size) override;
  PictureRef TypeIcon(const std::string& path, int size) override;
  PictureRef Preview(const std::string& path, int size) override;
  PictureRef FamilyIcon(const std::string& path, int size) override;
  bool WritePng(const Picture& picture, const std::string& path) override;

 private:
  GioFileKinds kinds_;
};

// Writes `picture` as a PNG file at `path`; false when it cannot.
bool SavePng(const Picture& picture, const std::string& path);

}  // namespace grantwright
