#include "platform/PreferenceStore.h"

#include <algorithm>

#include "platform/Exceptions.h"
#include "platform/Log.h"
#include "platform/PropertyList.h"

namespace grantwright {

namespace {

constexpr const char* kAnyApplication = ".GlobalPreferences";
constexpr const char* kCurrentUser = "CurrentUser";
constexpr const char* kAnyUser = "AnyUser";
constexpr const char* kAnyHost = "AnyHost";
constexpr const char* kCurrentHost = "CurrentHost";

bool ResolveTexts(std::string_view application, std::string_view user, std::string_view host,
                  PreferenceFiles::Location& out) {
  if (user != kCurrentUser && user != kAnyUser) return false;
  if (host != kAnyHost && host != kCurrentHost) return false;
  if (application.empty()) application = kAnyApplication;
  return PreferenceFiles::Locate(application, user == kAnyUser, host == kCurrentHost, out);
}

// The dictionary a file read gave: empty when the file is missing, unreadable or no
// property-list dictionary. `report` says whether a file that is no dictionary is logged.
StoreDictionaryRef DictionaryOf(PreferenceFiles::ReadResult result, const std::string& bytes,
                                const std::string& path, bool report = true) {
  if (result != PreferenceFiles::ReadResult::kRead) return std::make_shared<StoreDictionary>();
  if (auto dict = std::dynamic_pointer_cast<StoreDictionary>(PropertyList::Parse(bytes))) {
    return dict;
  }
  if (report) {
    System::DebugLog(
        String("Preference file is not a property list dictionary, read as empty: ") +
        String(path));
  }
  return std::make_shared<StoreDictionary>();
}

// Whether the file's bytes are exactly our writing of the values being set and nothing
// else. That is every steady run of the helper, and it needs no parsing.
bool HoldsExactly(const std::vector<std::pair<std::string, StoreObjectRef>>& changes,
                  const std::string& bytes) {
  StoreDictionary expected;
  for (const auto& [key, value] : changes) {
    if (!value) return false;
    expected.Set(key, value);
  }
  std::string written;
  return PropertyList::Serialize(expected, written) && written == bytes;
}

// Applies the changes to `dict`; true when anything would be written differently.
bool Apply(const std::vector<std::pair<std::string, StoreObjectRef>>& changes,
           StoreDictionary& dict) {
  bool changed = false;
  for (const auto& [key, value] : changes) {
    if (!value) {
      changed = dict.Remove(key) || changed;
      continue;
    }
    const StoreObjectRef old = dict.Lookup(key);
    if (old && PropertyList::SameContent(*old, *value)) continue;
    dict.Set(key, value);
    changed = true;
  }
  return changed;
}

enum class Merge { kChanged, kUnchanged, kFailed };

// Reads the file and merges `changes` into it: kChanged with the new file in `updated`,
// kUnchanged when the file holds the changes already, kFailed when the file cannot be
// read or the result cannot be written.
Merge MergeInto(const OwnedFolder& folder, const PreferenceFiles::Location& location,
                const std::vector<std::pair<std::string, StoreObjectRef>>& changes, bool report,
                std::string& updated) {
  std::string bytes;
  const PreferenceFiles::ReadResult result = PreferenceFiles::Read(folder, location, bytes);
  if (result == PreferenceFiles::ReadResult::kFailed) return Merge::kFailed;
  if (result == PreferenceFiles::ReadResult::kRead && HoldsExactly(changes, bytes)) {
    return Merge::kUnchanged;
  }
  const StoreDictionaryRef merged = DictionaryOf(result, bytes, location.path, report);
  if (!Apply(changes, *merged)) return Merge::kUnchanged;
  return PropertyList::Serialize(*merged, updated) ? Merge::kChanged : Merge::kFailed;
}

}  // namespace

StoreStringRef PreferenceStore::AnyApplication() {
  return std::make_shared<StoreString>(kAnyApplication);
}
StoreStringRef PreferenceStore::CurrentUser() {
  return std::make_shared<StoreString>(kCurrentUser);
}
StoreStringRef PreferenceStore::AnyUser() { return std::make_shared<StoreString>(kAnyUser); }
StoreStringRef PreferenceStore::AnyHost() { return std::make_shared<StoreString>(kAnyHost); }
StoreStringRef PreferenceStore::CurrentHost() {
  return std::make_shared<StoreString>(kCurrentHost);
}

bool PreferenceStore::Resolve(const StoreStringRef& application, const StoreStringRef& user,
                              const StoreStringRef& host, PreferenceFiles::Location& out) {
  return ResolveTexts(NonNil(application)->Utf8(), NonNil(user)->Utf8(), NonNil(host)->Utf8(), out);
}

StoreObjectRef PreferenceStore::CopyValue(const StoreStringRef& key,
                                          const StoreStringRef& application,
                                          const StoreStringRef& user,
                                          const StoreStringRef& host) const {
  const std::string& name = NonNil(key)->Utf8();
  PreferenceFiles::Location location;
  if (!Resolve(application, user, host, location)) return nullptr;
  for (const Pending& pending : pending_) {
    if (pending.path != location.path) continue;
    for (auto it = pending.changes.rbegin(); it != pending.changes.rend(); ++it) {
      if (it->first == name) return it->second;
    }
  }
  const OwnedFolder folder = PreferenceFiles::OpenFolder(location, false);
  if (!folder.IsOpen()) return nullptr;
  std::string bytes;
  const PreferenceFiles::ReadResult result = PreferenceFiles::Read(folder, location, bytes);
  return DictionaryOf(result, bytes, location.path)->Lookup(name);
}

void PreferenceStore::Record(const StoreStringRef& application, const StoreStringRef& user,
                             const StoreStringRef& host, const std::string& key,
                             StoreObjectRef value) {
  PreferenceFiles::Location location;
  if (!Resolve(application, user, host, location)) return;
  auto pending = std::find_if(pending_.begin(), pending_.end(),
                              [&](const Pending& p) { return p.path == location.path; });
  if (pending == pending_.end()) {
    pending_.push_back({location.path, {}});
    pending = pending_.end() - 1;
  }
  auto& changes = pending->changes;
  const auto old = std::find_if(changes.begin(), changes.end(),
                                [&](const auto& change) { return change.first == key; });
  if (old != changes.end()) changes.erase(old);
  changes.emplace_back(key, std::move(value));
}

void PreferenceStore::SetValue(const StoreStringRef& key, const StoreObjectRef& value,
                               const StoreStringRef& application, const StoreStringRef& user,
                               const StoreStringRef& host) {
  Record(application, user, host, NonNil(key)->Utf8(), value);
}

void PreferenceStore::SetMultiple(const StoreDictionaryRef& keysToSet,
                                  const StoreArrayRef& keysToRemove,
                                  const StoreStringRef& application, const StoreStringRef& user,
                                  const StoreStringRef& host) {
  if (keysToSet) {
    for (const auto& [key, value] : keysToSet->Entries()) {
      if (const auto* text = dynamic_cast<const StoreString*>(key.get())) {
        Record(application, user, host, text->Utf8(), value);
      }
    }
  }
  if (keysToRemove) {
    for (const StoreObjectRef& item : keysToRemove->Items()) {
      if (const auto* text = dynamic_cast<const StoreString*>(item.get())) {
        Record(application, user, host, text->Utf8(), nullptr);
      }
    }
  }
}

bool PreferenceStore::Synchronize(const StoreStringRef& application, const StoreStringRef& user,
                                  const StoreStringRef& host) {
  PreferenceFiles::Location location;
  if (!Resolve(application, user, host, location)) return false;
  const auto pending = std::find_if(pending_.begin(), pending_.end(),
                                    [&](const Pending& p) { return p.path == location.path; });
  const OwnedFolder folder = PreferenceFiles::OpenFolder(location, true);
  if (pending == pending_.end()) return folder.IsWritable();
  if (!folder.IsOpen()) return false;

  // A file that already holds the changes needs no write and so no lock: files are only
  // replaced whole, so this read sees one whole file. That is every steady run.
  std::string updated;
  Merge merge = MergeInto(folder, location, pending->changes, false, updated);
  if (merge == Merge::kChanged) {
    const PreferenceFiles::WriteLock lock(folder, location);
    if (!lock.Held()) return false;
    // Under the lock the file is read again, so that changes other processes flushed
    // since are kept.
    merge = MergeInto(folder, location, pending->changes, true, updated);
    if (merge == Merge::kChanged && !PreferenceFiles::Replace(folder, location, updated)) {
      return false;
    }
  }
  if (merge == Merge::kFailed) return false;
  pending_.erase(pending);
  return true;
}

}  // namespace grantwright
