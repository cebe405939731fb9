#pragma once
// FolderItem: an object that stands for one path, whether or not an item is there.
//
// The native path is an absolute POSIX path: a relative path is taken against the current
// folder when the item is made. Queries look at the file system each time they are
// called; nothing is cached.

#include <memory>
#include <string>

#include "platform/Object.h"
#include "platform/String.h"

namespace grantwright {

class FolderItem : public Object {
 public:
  explicit FolderItem(std::string path) : path_(std::move(path)) {}
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

  // errno of the last operation on this object that reports one; 0 after success.
  int LastErrorCode() const { return lastErrorCode_; }

 protected:
  void SetLastErrorCode(int code) { lastErrorCode_ = code; }

 private:
  std::string path_;
  int lastErrorCode_ = 0;
};

using FolderItemRef = std::shared_ptr<FolderItem>;

// The item a POSIX path names; nil for an empty path, one that holds a NUL byte, or a
// relative one when the current folder cannot be found.
FolderItemRef PathToFolderItem(const String& path);

}  // namespace grantwright
