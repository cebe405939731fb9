#pragma once
// TraditionalPermissionsZRN: the permission record of one file, its path, owner, group,
// twelve mode bits and, at choice, its access control list, and its dictionary form.
//
// Dictionary form (keys compare ignoring case):
//   "Owner", "Group", "UnixFilePath"  text
//   "RawACLRights"                    the list's text; left out when there is no list
//   "PermsOwner", "PermsGroup", "PermsOthers"
//                                     arrays of the tokens "read", "write", "execute"
//   "PermsExtras"                     array of the tokens "gid", "uid", "sticky"
// A bit is set exactly when its token is in its array; order and repeats mean nothing,
// other tokens are ignored, and a token matches ignoring case.

#include "platform/Acl.h"
#include "platform/Dictionary.h"
#include "platform/FolderItem.h"
#include "platform/Permissions.h"
#include "platform/String.h"

namespace grantwright {

class TraditionalPermissionsZRN {
 public:
  // An empty record: empty texts, nil permissions, nil list.
  TraditionalPermissionsZRN() = default;

  // The record a configuration describes. A missing key leaves its field empty, its list
  // nil or its bits clear; a configuration without any "Perms" key means mode 000.
  // - "Owner", "Group", "UnixFilePath" take the text form of any value (an integer gives
  //   its digits); an object or array there raises TypeMismatchException.
  // - "RawACLRights" with text of length > 0 becomes Acl::NewACLFromText of it, nil when
  //   that refuses the text; empty text leaves the list nil.
  // - A "Perms" value that is no array counts as an empty array; an array that is no
  //   array of Variant or of objects raises TypeMismatchException.
  // xPermissions is never nil afterwards. A nil `dict` raises NilObjectException.
  explicit TraditionalPermissionsZRN(const DictionaryRef& dict);

  // The record of the file `file` stands for, as it is now: its owner and group names (the
  // decimal id where the account database has none), its path (PathZRN, not shortened),
  // its twelve mode bits, and its access control list (Acl::NewACLFromFile: nil when the
  // file has only the entries of its mode). A symbolic link counts by what it points to. A
  // file that cannot be examined gives empty names and mode 0; nothing is reported. A nil
  // file raises NilObjectException.
  explicit TraditionalPermissionsZRN(const FolderItemRef& file);

  // A new Dictionary with every key of the form: the three texts (empty ones too),
  // "RawACLRights" only when there is a list, and the four "Perms" arrays of String, always
  // present, tokens in the order read, write, execute and gid, uid, sticky. Raises
  // NilObjectException when xPermissions is nil (a default-constructed record).
  DictionaryRef GetDictionary() const;

  PermissionsRef xPermissions;
  String Owner;
  String Group;
  String UnixFilePath;
  AclRef ACLRights;
};

}  // namespace grantwright
