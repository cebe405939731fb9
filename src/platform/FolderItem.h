#pragma once
// FolderItem: an object that stands for one path, whether or not an item is there.
//
// The native path is an absolute POSIX path: a relative path is taken against the current
// folder when the item is made. Queries look at the file system each time they are
// called; nothing is cached.
//
// Changes (SetOwner, SetGroup, SetPermissions, and Acl::SetFile) all reach the item
// through one descriptor, opened when the item is located (Locate, or else the first
// change) and kept for the object's life, and they go through FileChanges. So every change
// lands on the item that was found, even if the path is renamed or replaced meanwhile.
//
// The item is found as PathWalk finds it, from "/" one name at a time, because the
// process making the changes may be root while other users own folders on the path:
// - A symbolic link at the end of the path is the item itself, however the path is
//   written ("dl", "dl/", "dl/.", "dl//", "dl/.."): every change refuses it (LastErrorCode
//   ELOOP), and neither the link nor what it points to is changed.
// - A symbolic link earlier in the path is followed only when it belongs to root or to the
//   process's effective user. Anyone who can write a folder on the path could otherwise
//   swap a name for a link into root's files at any moment. Through another user's link
//   every change is refused (EACCES), whether or not the item is there.
// - A regular file with more than one name is refused (EPERM) while the kernel's
//   fs.protected_hardlinks is off (or cannot be read): any user could then have linked a
//   file of root's into a folder of theirs.
// The path is used as the bytes it is: no text conversion happens on the way.

#include <memory>
#include <string>

#include "platform/Object.h"
#include "platform/Permissions.h"
#include "platform/String.h"

struct stat;

namespace grantwright {

class FolderItem : public Object {
 public:
  explicit FolderItem(std::string path) : path_(std::move(path)) {}
  ~FolderItem() override;
  FolderItem(const FolderItem&) = delete;
  FolderItem& operator=(const FolderItem&) = delete;
  const char* ClassName() const override { return "FolderItem"; }

  const std::string& NativePath() const { return path_; }
  // The last path component ("" for "/").
  String DisplayName() const;

  // Whether an item is there (a symbolic link counts by what it points to).
  bool Exists() const;
  // Whether this process may read the item (checked with the effective ids).
  bool IsReadable() const;
  bool Directory() const;

  // The folder that holds this item; nil for "/" (and for an item without a path).
  std::shared_ptr<FolderItem> Parent() const;
  // The item called `name` inside this one, whether or not it exists; nil when no item can
  // have that name (empty, ".", "..", or holding "/" or a NUL byte).
  std::shared_ptr<FolderItem> Child(const String& name) const;

  // The item's owner and group as names (the decimal id when the account database has no
  // name), and its twelve mode bits; a symbolic link counts by what it points to. An item
  // that cannot be examined gives "", "" and 0, with LastErrorCode the errno.
  String Owner();
  String Group();
  uint32_t PermissionsMode();
  // The item's size in bytes (a symbolic link counts by what it points to); 0 for an item
  // that cannot be examined, with LastErrorCode the errno.
  uint64_t Length();

  // Whether this path and `other`'s reach one item, the same inode of the same file
  // system: by any spelling, through a hard link, and with a symbolic link in the last
  // component counted both as itself and as what it points to. False when either path
  // names no item.
  bool IsSameItem(const FolderItem& other) const;

  // Finds the item that the path names now as the one later changes go to, and gives
  // whether it is there, as Exists does: a symbolic link counts by what it points to (and
  // is then refused by the changes), so does an item behind an untrusted link.
  // LastErrorCode: 0, or the errno of the failed lookup.
  // Calling it again finds the item anew.
  bool Locate();

  // Sets the owner to the account `name`, found as LookUpUserId finds it (a name of
  // decimal digits that no account has is the id). LastErrorCode: 0 on success; the
  // lookup's error (EINVAL for an empty or unknown name); ELOOP for a symbolic link; else
  // the errno of the change. Nothing is changed on failure.
  void SetOwner(const String& name);
  // Sets the group to the group `name` (LookUpGroupId), by the same rules as SetOwner.
  void SetGroup(const String& name);
  // Sets the twelve mode bits to those of `permissions` (a nil object raises
  // NilObjectException). LastErrorCode as above.
  void SetPermissions(const PermissionsRef& permissions);

  // The written forms of the path (PathForms.h), defined in FolderItemForms.cpp.
  // Name: the last path component as its bytes ("" for "/"), tagged UTF-8 when they are
  // valid UTF-8 and untagged otherwise. URLPath: the URL form, ending in "/" for an item
  // that is a folder now. ShellPath: the shell form. None of them fails.
  String Name() const;
  String URLPath() const;
  String ShellPath() const;

  // Relative data (RelativeData.h), defined in RelativeLocate.cpp. GetSaveInfo describes
  // this item relative to the folder of `relativeTo` (itself when it is a folder; a nil
  // one leaves the relative path out); 0 is the one `mode` there is, and any other reads
  // as 0. GetRelative finds the item
  // that `data` describes, taking this object's folder as the base for the relative path;
  // see RelativeData.h for the order it tries and what it gives.
  String GetSaveInfo(const std::shared_ptr<FolderItem>& relativeTo, int mode) const;
  std::shared_ptr<FolderItem> GetRelative(const String& data) const;

  // errno of the last operation on this object that reports one; 0 after success.
  int LastErrorCode() const { return lastErrorCode_; }

 protected:
  void SetLastErrorCode(int code) { lastErrorCode_ = code; }

 private:
  friend class Acl;

  // The located item's descriptor for a change (locating it first when that has not been
  // done); -1 with LastErrorCode set when there is no item or the item is refused. The
  // item is examined anew for each change; `examined`, when given, receives what was seen.
  int ChangeDescriptor(struct stat* examined = nullptr);
  // stat of the path (following a symbolic link), its errno kept as LastErrorCode.
  bool Examine(struct stat& st);

  std::string path_;
  int lastErrorCode_ = 0;
  int descriptor_ = -1;
  bool located_ = false;
  int refusal_ = 0;  // why every change is refused (an untrusted link on the way), or 0
};

using FolderItemRef = std::shared_ptr<FolderItem>;

// The item a POSIX path names; nil for an empty path, one that holds a NUL byte, or a
// relative one when the current folder cannot be found (std::bad_alloc when memory is
// short).
FolderItemRef PathToFolderItem(const String& path);

}  // namespace grantwright
