#pragma once
// PreferenceStore: a handle on the per-user preference store.
//
// The store keeps one property-list file per domain and scope (PreferenceFiles.h says
// where). Every access names three texts:
//   application  a domain such as "com.tarnvale.Grantwright"; AnyApplication() (and an
//                empty text, which means the same) is the domain every program shares,
//                kept in ".GlobalPreferences.plist"
//   user         CurrentUser() or AnyUser()
//   host         AnyHost() or CurrentHost()
// Any other user or host text, and a domain that cannot name a file (".", "..", text with
// "/"), name no store: reads give nil, changes are dropped and a flush gives false.
//
// Changes made through a handle (SetValue, SetMultiple) stay pending in the handle until
// Synchronize flushes that domain and scope; a handle that is dropped forgets what it did
// not flush. Reads see the handle's pending changes first, then the file.
//
// Synchronize, with changes pending: creates the folder (mode 0700) when needed, reads
// the file and applies the pending sets and removals; only when the result differs from
// the file (PropertyList::SameContent) it takes the domain's write lock (waiting as
// PreferenceFiles::kLockWait says), rereads the file, applies the changes again and writes
// it anew (mode 0600) with an all-or-nothing replacement. So a flush that changes
// nothing takes no lock and writes nothing. True when the file now holds the changes,
// false when any step failed (the changes then stay pending). With nothing pending: true
// when the store's folder exists (it is created when missing) and this process may write
// there, so that a store that could take no write reports false.
//
// A store in folders another user owns is not used (PreferenceFiles.h): reads give nil
// and flushes false. A missing file reads as an empty dictionary. A file that is no
// property list, or whose top value is no dictionary, reads as empty too and is left as
// it is until a write replaces it; each read of it writes the line "Preference file is
// not a property list dictionary, read as empty: <path>" to the system log. A file that
// cannot be read (no permission, no regular file, larger than
// PreferenceFiles::kMaxFileSize) reads as empty, and a flush over it gives false and
// leaves it alone.
//
// Values a property-list file cannot hold (see PropertyList::Serialize) can be set and
// read back from the handle, but a flush that would write them gives false.

#include <string>
#include <utility>
#include <vector>

#include "platform/Object.h"
#include "platform/PreferenceFiles.h"
#include "platform/StoreObject.h"

namespace grantwright {

class PreferenceStore : public Object {
 public:
  const char* ClassName() const override { return "PreferenceStore"; }

  // The scope names, each as a new StoreString.
  static StoreStringRef AnyApplication();  // ".GlobalPreferences"
  static StoreStringRef CurrentUser();     // "CurrentUser"
  static StoreStringRef AnyUser();         // "AnyUser"
  static StoreStringRef AnyHost();         // "AnyHost"
  static StoreStringRef CurrentHost();     // "CurrentHost"

  // The value stored under `key`, or nil. Every argument must be non-nil
  // (NilObjectException).
  StoreObjectRef CopyValue(const StoreStringRef& key, const StoreStringRef& application,
                           const StoreStringRef& user, const StoreStringRef& host) const;

  // Sets `key` to `value` until the next flush; a nil `value` removes the key.
  void SetValue(const StoreStringRef& key, const StoreObjectRef& value,
                const StoreStringRef& application, const StoreStringRef& user,
                const StoreStringRef& host);

  // Sets every entry of `keysToSet` (nil allowed; entries whose key is no string are
  // skipped), then removes every string in `keysToRemove` (nil allowed).
  void SetMultiple(const StoreDictionaryRef& keysToSet, const StoreArrayRef& keysToRemove,
                   const StoreStringRef& application, const StoreStringRef& user,
                   const StoreStringRef& host);

  // Flushes the pending changes of that domain and scope: true when memory and disk agree.
  bool Synchronize(const StoreStringRef& application, const StoreStringRef& user,
                   const StoreStringRef& host);

 private:
  // Pending changes of one file, in the order they were made; a nil value removes.
  struct Pending {
    std::string path;
    std::vector<std::pair<std::string, StoreObjectRef>> changes;
  };

  static bool Resolve(const StoreStringRef& application, const StoreStringRef& user,
                      const StoreStringRef& host, PreferenceFiles::Location& out);
  void Record(const StoreStringRef& application, const StoreStringRef& user,
              const StoreStringRef& host, const std::string& key, StoreObjectRef value);

  std::vector<Pending> pending_;
};

using PreferenceStoreRef = std::shared_ptr<PreferenceStore>;

}  // namespace grantwright
