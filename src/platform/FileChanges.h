#pragma once
// FileChanges: the one road by which the system changes a file: its owner and group, its
// mode, and its access control lists. Each change takes the O_PATH descriptor of an item
// already found (FolderItem), so it lands on that item and nowhere else.
//
// The process uses the real changes unless another set is installed: tests install one
// that records every call and fails on demand, so the helper's outcome for every failure
// can be checked in process and without root.

#include <sys/acl.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace grantwright {

class FileChanges {
 public:
  virtual ~FileChanges() = default;

  // Each gives 0, or the errno of the refusal; a refused change leaves the item as it was.

  // Sets the owner and the group; an id of -1 leaves that one as it is.
  virtual int ChangeOwner(int item, uid_t owner, gid_t group) = 0;
  // Sets the twelve mode bits.
  virtual int ChangeMode(int item, mode_t mode) = 0;
  // Replaces the access list by `access` and, for a folder, the default list by
  // `defaults` (removed when null). Both are written or neither: when the default list
  // does not fit, the access list is put back as it was. `examined` is the item's fstat,
  // taken by the caller just before.
  virtual int ChangeLists(int item, const struct stat& examined, acl_t access, acl_t defaults) = 0;
};

// The changes in use.
FileChanges& CurrentFileChanges();
// Puts `changes` in use (nullptr: the real ones) and gives back the set used before.
FileChanges* InstallFileChanges(FileChanges* changes);

}  // namespace grantwright
