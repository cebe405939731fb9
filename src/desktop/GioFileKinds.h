#pragma once
// Kinds of files from GIO's content-type database (shared-mime-info): the type is GIO's
// for the file (its content and name, as a file manager shows it), a missing file's is
// guessed from its name, and the description is the database's for the type, in the
// language of the process's locale. This library is linked only into `grantwright` and
// its tests, never into the helper.

#include "fileutil/FileKinds.h"

namespace grantwright {

class GioFileKinds final : public FileKinds {
 public:
  std::string ContentType(const std::string& path) override;
  std::string Description(const std::string& contentType) override;
};

// Installs one GioFileKinds and one GioFileIcons for the rest of the process.
void InstallDesktopServices();

}  // namespace grantwright
