#pragma once
// Acl: a file's access control list, over libacl.
//
// Text form, as getfacl shows it: the access entries one a line ("user::rw-",
// "user:daemon:r--", "group::r-x", "mask::rwx", "other::---"), then a directory's default
// list as the same lines behind "default:". Named entries carry the account's name where
// the account database has one, the decimal id otherwise.
//
// A list may be partial: base entries (user::, group::, other::) and the mask may be left
// out. Applying it (SetFile) sets the named entries exactly as the list has them and
// removes every other; it sets a base entry or the mask only where the list gives it (a
// base entry left out keeps the file's current value, a mask left out is computed from the
// entries); and it replaces the default list by the list's "default:" lines, or removes it
// when there are none. Base entries are the mode's permission bits, so applying a list may
// change those; it never changes owner, group, or the set-id and sticky bits.
//
// Running out of memory in libacl throws std::bad_alloc: it never reads as a text that is
// no list, a file without a list, or a list the file refused.

#include <memory>

#include "platform/FolderItem.h"
#include "platform/Object.h"
#include "platform/String.h"

namespace grantwright {

class Acl : public Object {
 public:
  // The one list type this system knows: a file's whole list, access and default entries.
  static constexpr int kExtended = 256;

  // No Linux file system stores more entries in one list: an extended attribute holds at
  // most 64 KiB, 8 bytes an entry. A text with more in either list is refused before
  // libacl reads it, so no list costs more than reading this many entries.
  static constexpr size_t kMaxEntries = 8191;

  // The list a text gives; nil when libacl refuses any line (a malformed entry, an entry
  // named twice), when a named entry's qualifier is neither an account (or group) name nor
  // plain decimal digits up to 4294967294, the way the Owner and Group keys are read (so
  // "010", "0x3e9", "-2", "+5", " 1" and "4294967296" are refused, never read as other
  // ids), when either list holds more than kMaxEntries entries, or when the text holds no
  // entry at all.
  // Lines may carry "#" comments and surrounding blanks; "default:" (or "d:") marks a line
  // of the default list. So getfacl's whole output is taken as it is.
  static std::shared_ptr<Acl> NewACLFromText(const String& text);
  // The list of the item at `path` (following a symbolic link); nil for a type other than
  // kExtended, for an item that cannot be read, and for an item that has only the base
  // entries of its mode and no default list.
  static std::shared_ptr<Acl> NewACLFromFile(const String& path, int type);

  ~Acl() override;
  const char* ClassName() const override { return "Acl"; }

  // The text form; NewACLFromText of it gives the same list.
  String Text() const;

  // Applies the list to the item `file` has located (locating it first when needed), as
  // the header says, through FileChanges: the access and default lists are written both
  // or neither. True on success. False, with the item unchanged, for a type other than
  // kExtended, for an item FolderItem refuses to change, for "default:" lines on an item
  // that is no folder, for entries that give no valid list once completed, when /proc is
  // not procfs (the lists are reached through it), and when the file system (a default
  // list that does not fit) or the process's rights refuse. A nil file raises
  // NilObjectException.
  bool SetFile(const FolderItemRef& file, int type) const;

 private:
  struct Lists;
  explicit Acl(std::unique_ptr<Lists> lists);
  std::unique_ptr<Lists> lists_;
};

using AclRef = std::shared_ptr<Acl>;

}  // namespace grantwright
