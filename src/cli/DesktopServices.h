#pragma once
// The desktop's services (kinds and icons of files) for the commands that need them. They
// are a library of their own, loaded on first use: every other command starts without GLib,
// GIO and gdk-pixbuf.

#include <string>

namespace grantwright::Commands {

// Loads the desktop's library and installs its services, once a process. "" when they are
// installed, else why the library could not be loaded.
std::string LoadDesktopServices();

}  // namespace grantwright::Commands
