#pragma once
// Items from the written forms of a path, and the volumes.

#include "platform/FolderItem.h"
#include "platform/String.h"

namespace grantwright {

// How GetFolderItem reads its text.
inline constexpr int kPathTypeShell = 1;
inline constexpr int kPathTypeURL = 2;
inline constexpr int kPathTypeNative = 3;

// The item `path` names, read as a shell form (PathFromShell), a file URL (PathFromURL:
// nil for another scheme or host, or a segment decoding to NUL or "/") or a native path
// (PathToFolderItem: a relative path is taken against the current folder). nil for empty
// text, a NUL byte, a mode other than those three, and a form that names no absolute or
// relative path. The item need not exist. Never raises.
FolderItemRef GetFolderItem(const String& path, int mode);

// Volume 0 is the root of the file system, "/"; there is no other (nil).
FolderItemRef Volume(int index);

}  // namespace grantwright
