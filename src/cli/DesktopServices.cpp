#include "cli/DesktopServices.h"

#include <dlfcn.h>

#include "desktop/GioFileKinds.h"

namespace grantwright::Commands {

std::string LoadDesktopServices() {
  static const std::string outcome = [] {
    // Never closed: the services it installs live as long as the process.
    void* library = ::dlopen(kDesktopLibrary, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return std::string(::dlerror());
    const auto install = reinterpret_cast<void (*)()>(::dlsym(library, kInstallDesktopServices));
    if (install == nullptr) return std::string(::dlerror());
    install();
    return std::string();
  }();
  return outcome;
}

}  // namespace grantwright::Commands
