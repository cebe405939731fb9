#pragma once
// PathWalk: finding an item by descriptor, one name at a time from "/", so that a
// privileged process goes only where the path's owners could have sent it.
//
// Each name is opened relative to the folder before it with O_PATH | O_NOFOLLOW and
// examined on the descriptor that was opened, so an item swapped for another while the
// walk runs is either the old one or the new one, never a mix. A symbolic link met on the
// way is followed only when it belongs to root or to the process's effective user (the
// rule the kernel's protected_symlinks applies in sticky folders, applied to every
// folder): any other user who can write a folder on the path could otherwise point the
// rest of the path, at any moment, into a tree of root's. Links a distribution ships
// (/lib -> usr/lib, /var/run -> /run) are root's and keep working. At most 40 links are
// followed, as the kernel does.
//
// The walk is the rule; two shortcuts give what it would give in fewer calls. A path with
// no link on it is resolved by the kernel in one call when nothing on it needs checking,
// and, when every folder must be owned, in one call followed by the owners of the folder
// found and of its ancestors, read upward from it.
//
// "." and ".." are taken as the file system has them (".." of a folder reached through a
// link is the parent of the link's target, as for the kernel). A trailing "/" reads as a
// trailing ".".

#include <sys/types.h>

#include <string>

#include "platform/Descriptor.h"

namespace grantwright {

struct PathWalkRules {
  // Every folder below "/" on the way, and every link, must belong to root or to the
  // effective user (for a process running as root: to root); otherwise only links must.
  bool foldersOwned = false;
  // A missing folder is made (mkdirat, then exactly mode 0700 through fchmod, whatever the
  // umask) and the walk goes into it.
  bool createFolders = false;
  // Whether a symbolic link at the end of the path is followed. When it is not, the link
  // is the item found: also when only ".", ".." or "/" follow it, so no spelling of the
  // path moves the end point through the link.
  bool followLastLink = false;
};

struct PathWalkResult {
  enum class Status {
    kFound,       // `item` holds the item
    kMissing,     // a name on the way does not exist (and was not made)
    kNotTrusted,  // a folder or link on the way belongs to another user: `culprit`, `owner`
    kFailed,      // `error` says why: a relative path, ENOTDIR, ELOOP, a failed call
  };
  Status status = Status::kFailed;
  int error = 0;           // the errno behind kMissing and kFailed
  Descriptor item;         // an O_PATH descriptor of the item, for kFound
  mode_t type = 0;         // the item's file type (S_IFMT bits)
  bool isRoot = false;     // the item is "/" itself
  dev_t device = 0;        // the item's device and inode, as the walk checked it
  ino_t inode = 0;
  std::string culprit;     // for kNotTrusted: the path, as walked, of the item refused
  uid_t owner = 0;         // its owner
};

// Walks the absolute `path` by `rules`. A path that is not absolute fails (EINVAL). However
// it ends, no descriptor the walk opened is left open but `item`, and none it did not
// open is closed.
PathWalkResult WalkPath(const std::string& path, const PathWalkRules& rules);

}  // namespace grantwright
