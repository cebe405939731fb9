#pragma once
// Kernel file handles: a name for an item that stays the same while the item lives,
// whatever its path, and is never given to another item of the same file system.

#include <optional>
#include <string>

#include "platform/RelativeData.h"

namespace grantwright {

// The handle of the item `name` names, relative to the folder descriptor `folder`
// (AT_FDCWD for the current folder; an empty name is the item of the descriptor itself);
// a final symbolic link is the item itself. Nothing
// when the item is missing or its file system gives no handles.
std::optional<FileHandle> HandleOf(int folder, const std::string& name);

// The item of `handle`, opened with O_PATH on the file system that holds the item of the
// descriptor `mountItem`: a descriptor, or -errno (EPERM without CAP_DAC_READ_SEARCH,
// ESTALE for an item that is gone).
int OpenByHandle(int mountItem, const FileHandle& handle);

// The file system id (statfs f_fsid) of the item of descriptor `item`; nothing on failure.
std::optional<uint64_t> FileSystemIdOf(int item);

}  // namespace grantwright
