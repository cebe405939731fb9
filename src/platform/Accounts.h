#pragma once
// The account and group databases: names to ids, as chown(1) takes them.
//
// A dynamically linked process asks every source nsswitch.conf configures, through the C
// library. A statically linked one asks the files (/etc/passwd, /etc/group) first, and
// only for a name or id they don't hold the other sources, apart from the process
// (AccountDatabase.h): a run whose names are in the files reads nothing more and starts
// no process.

#include <sys/types.h>

#include "platform/String.h"

namespace grantwright {

// The id of the account (LookUpUserId) or group (LookUpGroupId) called `name`; a name of
// decimal digits that no account or group has is taken as the id itself, up to 4294967294
// (all bits set would mean "leave as it is" to chown) and without a leading zero. A name
// of digits is never asked of the other sources of a static process: their tool takes
// such a key for an id. Gives 0
// and sets `id`, or an errno: EINVAL for an empty name, one holding a NUL byte, and one
// that is neither a name in the database nor such an id; the database's own errno when
// the lookup itself failed. A lookup that runs out of memory throws std::bad_alloc, here
// and in UserName and GroupName.
int LookUpUserId(const String& name, uid_t& id);
int LookUpGroupId(const String& name, gid_t& id);

// The name of the account (UserName) or group (GroupName) with the id `id`, or the id in
// decimal when no source has a name for it.
String UserName(uid_t id);
String GroupName(gid_t id);

// Makes the C library's own account lookups in a statically linked process look in the
// local files only (/etc/passwd, /etc/group), which it has built in. Any other source is a
// shared library that a static process cannot load safely: one that keeps thread-local
// state crashes it. Our lookups in a static process read the files themselves
// (AccountFiles.h) and never need it; what still goes through the C library (libacl's
// reading and writing of names, a home folder) calls it first. It costs a read of
// nsswitch.conf the first time and nothing after; a dynamically linked process keeps
// every configured source.
void ConfineAccountLookupsWhenStatic();

}  // namespace grantwright
