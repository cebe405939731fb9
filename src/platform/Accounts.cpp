#include "platform/Accounts.h"

#include <grp.h>
#include <nss.h>
#include <pwd.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/AccountDatabase.h"
#include "platform/AccountFiles.h"
#include "platform/OutOfMemory.h"

namespace grantwright {

namespace {

// A static executable has no program interpreter, so the kernel reports none. Its lookups
// are confined to the files, and what they miss is asked of the other sources apart.
bool IsStatic() { return ::getauxval(AT_BASE) == 0; }

bool IsDecimal(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// For a name the files (or, dynamically linked, every source) do not hold: a static
// process asks the other sources apart; then a name of digits is the id itself.
template <class Id>
int LookUpElsewhere(std::string_view database, const std::string& text, Id& id) {
  // getent takes a key of digits for an id, so such a name can only be the id itself.
  if (IsStatic() && !IsDecimal(text)) {
    if (const auto entry = AccountDatabase::LookUpBeyondFiles(database, text)) {
      id = static_cast<Id>(entry->id);
      return 0;
    }
  }
  const std::optional<uint32_t> numeric = AccountDatabase::IdOf(text);
  if (!numeric) return EINVAL;
  id = static_cast<Id>(*numeric);
  return 0;
}

// Looks `name` up in the account files (a static process) or with a getpwnam_r-style
// function, growing the buffer as it asks.
template <class Entry, class Id, class Lookup>
int LookUp(const String& name, std::string_view database, Lookup lookup, Id Entry::*idField, Id& id) {
  const std::string text = name.Utf8();
  if (text.empty() || text.find('\0') != std::string::npos) return EINVAL;
  if (IsStatic()) {
    if (const auto entry = AccountFiles::FindName(AccountFiles::Text(database), text)) {
      id = static_cast<Id>(entry->id);
      return 0;
    }
    return LookUpElsewhere(database, text, id);
  }
  const long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 1024);
  Entry entry;
  Entry* found = nullptr;
  int error;
  while ((error = lookup(text.c_str(), &entry, buffer.data(), buffer.size(), &found)) == ERANGE &&
         buffer.size() < (size_t{1} << 20)) {
    buffer.resize(buffer.size() * 2);
  }
  ThrowIfOutOfMemory(error);
  if (found != nullptr) {
    id = entry.*idField;
    return 0;
  }
  // "No such name" comes back as 0 or as one of these, depending on the source.
  if (error != 0 && error != ENOENT && error != ESRCH && error != EBADF && error != EPERM) {
    return error;
  }
  return LookUpElsewhere(database, text, id);
}

// The name the account files (a static process) or a getpwuid_r-style function give for
// `id`, or the id in decimal.
template <class Entry, class Id, class Lookup>
String NameOf(Id id, std::string_view database, Lookup lookup, char* Entry::*nameField) {
  if (IsStatic()) {
    if (const auto entry = AccountFiles::FindId(AccountFiles::Text(database), id)) return String(entry->name);
  } else {
    std::vector<char> buffer(1024);
    Entry entry;
    Entry* found = nullptr;
    int error;
    while ((error = lookup(id, &entry, buffer.data(), buffer.size(), &found)) == ERANGE &&
           buffer.size() < (size_t{1} << 20)) {
      buffer.resize(buffer.size() * 2);
    }
    ThrowIfOutOfMemory(error);
    if (found != nullptr && entry.*nameField != nullptr) return String(std::string(entry.*nameField));
  }
  const std::string decimal = std::to_string(id);
  if (IsStatic()) {
    const auto other = AccountDatabase::LookUpBeyondFiles(database, decimal);
    if (other && other->id == id) return String(other->name);
  }
  return String(decimal);
}

}  // namespace

String UserName(uid_t id) { return NameOf<passwd>(id, AccountDatabase::kUsers, ::getpwuid_r, &passwd::pw_name); }

String GroupName(gid_t id) { return NameOf<group>(id, AccountDatabase::kGroups, ::getgrgid_r, &group::gr_name); }

int LookUpUserId(const String& name, uid_t& id) {
  return LookUp<passwd>(name, AccountDatabase::kUsers, ::getpwnam_r, &passwd::pw_uid, id);
}

int LookUpGroupId(const String& name, gid_t& id) {
  return LookUp<group>(name, AccountDatabase::kGroups, ::getgrnam_r, &group::gr_gid, id);
}

void ConfineAccountLookupsWhenStatic() {
  static const bool confined = [] {
    if (!IsStatic()) return false;
    ::__nss_configure_lookup("passwd", "files");
    ::__nss_configure_lookup("group", "files");
    return true;
  }();
  (void)confined;
}

}  // namespace grantwright
