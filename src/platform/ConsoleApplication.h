#pragma once
// What the running program knows about itself.

#include "platform/FolderItem.h"

namespace grantwright::ConsoleApplication {

// The running program's file, as the kernel names it (/proc/self/exe: an absolute path
// with symbolic links resolved). nil when /proc is not mounted or the file was deleted.
FolderItemRef ExecutableFile();

}  // namespace grantwright::ConsoleApplication
