#pragma once
// Kinds of files from GIO's content-type database (shared-mime-info): the type is GIO's
// for the file (its content and name, as a file manager shows it), a missing file's is
// guessed from its name, and the description is the database's for the type, in the
// language of the process's locale. This library is loaded only by `grantwright` (for the
// commands that need it) and its tests, never by the helper.

#include "fileutil/FileKinds.h"

namespace grantwright {

class GioFileKinds final : public FileKinds {
 public:
  std::string ContentType(const std::string& path) override;
  std::string Description(const std::string& contentType) override;
};

}  // namespace grantwright

// Installs one GioFileKinds and one GioFileIcons for the rest of the process. This library
// is loaded at run time by the program that needs it, which finds this function by its C
// name, kInstallDesktopServices.
extern "C" void grantwright_install_desktop_services();
inline constexpr char kInstallDesktopServices[] = "grantwright_install_desktop_services";
// The library's file, found through the loading program's run path.
inline constexpr char kDesktopLibrary[] = "libgrantwright-desktop.so";
