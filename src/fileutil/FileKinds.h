#pragma once
// The kind of a file as people read it ("plain text document", "folder", "PNG image"),
// from the desktop's content-type database. That database (GIO over shared-mime-info) is
// a set of shared libraries the static helper must never load, so the file helpers reach
// it through this narrow interface: a program that has the desktop's services installs
// them (grantwright_desktop, in `grantwright`), and a program that has not never asks.

#include <string>

#include "platform/FolderItem.h"
#include "platform/String.h"

namespace grantwright {

class FileKinds {
 public:
  virtual ~FileKinds() = default;
  // The content type of the item at `path` ("text/plain", "inode/directory"); for a missing
  // item, the type its name suggests. "" when there is none.
  virtual std::string ContentType(const std::string& path) = 0;
  // What people call `contentType` ("plain text document"); "" when the database has no
  // word for it.
  virtual std::string Description(const std::string& contentType) = 0;
};

// Makes `kinds` (not owned; null for none) the process's source of kinds; gives the one
// before.
FileKinds* InstallFileKinds(FileKinds* kinds);
FileKinds* CurrentFileKinds();

// The kind of `file` as people read it, valid UTF-8; "unknown" for nil, with no source of
// kinds installed, and when the database knows no kind for it.
String KindMBS(const FolderItemRef& file);

}  // namespace grantwright
