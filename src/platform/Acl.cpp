#include "platform/Acl.h"

#include <acl/libacl.h>
#include <sys/acl.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Accounts.h"
#include "platform/Exceptions.h"
#include "platform/FileChanges.h"
#include "platform/ProcFiles.h"
#include "platform/OutOfMemory.h"

namespace grantwright {

namespace {

struct AclFree {
  void operator()(acl_t acl) const { acl_free(acl); }
};
using AclHandle = std::unique_ptr<std::remove_pointer_t<acl_t>, AclFree>;

// Calls `visit(entry)` for every entry of `acl`, in libacl's order (base, named, mask).
template <class Visit>
void ForEachEntry(acl_t acl, Visit visit) {
  acl_entry_t entry;
  for (int more = acl_get_entry(acl, ACL_FIRST_ENTRY, &entry); more == 1;
       more = acl_get_entry(acl, ACL_NEXT_ENTRY, &entry)) {
    visit(entry);
  }
}

acl_tag_t TagOf(acl_entry_t entry) {
  acl_tag_t tag = ACL_UNDEFINED_TAG;
  acl_get_tag_type(entry, &tag);
  return tag;
}

// The first entry of `acl` with `tag`, or null.
acl_entry_t FindTag(acl_t acl, acl_tag_t tag) {
  acl_entry_t found = nullptr;
  ForEachEntry(acl, [&](acl_entry_t e) {
    if (found == nullptr && TagOf(e) == tag) found = e;
  });
  return found;
}

bool HasNamedEntries(acl_t acl) {
  return FindTag(acl, ACL_USER) != nullptr || FindTag(acl, ACL_GROUP) != nullptr;
}

// Whether an entry stands twice: a base entry or the mask, or a named entry for one id.
// libacl's own check reports the first fault only, and a partial list always has one.
bool HasDuplicateEntries(acl_t acl) {
  std::set<std::pair<acl_tag_t, long long>> seen;
  bool duplicate = false;
  ForEachEntry(acl, [&](acl_entry_t e) {
    const acl_tag_t tag = TagOf(e);
    long long id = -1;
    if (tag == ACL_USER || tag == ACL_GROUP) {
      void* qualifier = acl_get_qualifier(e);
      if (qualifier != nullptr) {
        id = tag == ACL_USER ? static_cast<long long>(*static_cast<uid_t*>(qualifier))
                             : static_cast<long long>(*static_cast<gid_t*>(qualifier));
        acl_free(qualifier);
      }
    }
    if (!seen.emplace(tag, id).second) duplicate = true;
  });
  return duplicate;
}

// Whether `acl` holds the three base entries (owner, group, others).
bool HasBaseEntries(acl_t acl) {
  return FindTag(acl, ACL_USER_OBJ) != nullptr && FindTag(acl, ACL_GROUP_OBJ) != nullptr &&
         FindTag(acl, ACL_OTHER) != nullptr;
}

// `given` made whole: each base entry it lacks copied from `base` (which may be null when
// it lacks none), and a mask computed when it has named entries but no mask. Null when
// libacl fails.
AclHandle Completed(acl_t given, acl_t base) {
  // libacl may move the list while it grows, so it is held raw until it is whole.
  acl_t result = acl_dup(given);
  if (result == nullptr) return nullptr;
  const auto fail = [&result] {
    acl_free(result);
    return AclHandle();
  };
  for (const acl_tag_t tag : {ACL_USER_OBJ, ACL_GROUP_OBJ, ACL_OTHER}) {
    if (FindTag(result, tag) != nullptr) continue;
    const acl_entry_t source = FindTag(base, tag);
    if (source == nullptr) continue;  // the list stays incomplete and fails validation
    acl_entry_t added;
    if (acl_create_entry(&result, &added) != 0 || acl_copy_entry(added, source) != 0) {
      return fail();
    }
  }
  if (FindTag(result, ACL_MASK) == nullptr && HasNamedEntries(result) &&
      acl_calc_mask(&result) != 0) {
    return fail();
  }
  return AclHandle(result);
}

// The text of one line of a list with its comment and surrounding blanks cut off.
std::string_view Trimmed(std::string_view line) {
  if (const size_t hash = line.find('#'); hash != std::string_view::npos) {
    line = line.substr(0, hash);
  }
  constexpr std::string_view kBlanks = " \t\r\v\f";
  const size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

bool ConsumePrefix(std::string_view& text, std::string_view prefix) {
  if (text.substr(0, prefix.size()) != prefix) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// The id a named entry's qualifier stands for, read as the Owner and Group keys read names:
// an account (or group) name, or plain decimal digits in range; nothing otherwise.
std::optional<long long> QualifierId(bool user, const std::string& qualifier) {
  if (user) {
    uid_t uid = 0;
    if (LookUpUserId(String(qualifier, nullptr), uid) != 0) return std::nullopt;
    return uid;
  }
  gid_t gid = 0;
  if (LookUpGroupId(String(qualifier, nullptr), gid) != 0) return std::nullopt;
  return gid;
}

// Entries of one list as libacl is to read them: each named entry's qualifier replaced by
// the decimal id QualifierId finds, so libacl's own reading (octal, hexadecimal, negative
// and wrapped numbers) never applies. The ids are added to `named` for a check of what
// libacl made. False when a qualifier names no account or group, or when the list holds
// more than Acl::kMaxEntries entries.
bool PinQualifiers(std::string_view entries, std::string& out,
                   std::multiset<std::pair<acl_tag_t, long long>>& named, size_t& count) {
  while (!entries.empty()) {
    const size_t end = entries.find_first_of(",\n");
    const std::string_view entry = Trimmed(entries.substr(0, end));
    entries.remove_prefix(end == std::string_view::npos ? entries.size() : end + 1);
    if (entry.empty()) continue;
    if (++count > Acl::kMaxEntries) return false;
    const size_t first = entry.find(':');
    const size_t second = first == std::string_view::npos ? first : entry.find(':', first + 1);
    const std::string_view tag = Trimmed(entry.substr(0, first));
    const bool user = tag == "user" || tag == "u";
    if (second == std::string_view::npos || !(user || tag == "group" || tag == "g")) {
      out.append(entry).push_back('\n');
      continue;
    }
    const std::string_view qualifier = entry.substr(first + 1, second - first - 1);
    if (qualifier.empty()) {
      out.append(entry).push_back('\n');
      continue;
    }
    const std::optional<long long> id = QualifierId(user, std::string(qualifier));
    if (!id) return false;
    named.emplace(user ? ACL_USER : ACL_GROUP, *id);
    out.append(tag).append(":").append(std::to_string(*id)).append(entry.substr(second));
    out.push_back('\n');
  }
  return true;
}

// The list libacl makes of `entries`, or null when a qualifier is refused (PinQualifiers),
// libacl refuses a line, an entry stands twice, or libacl took an id for another (a name
// of digits that is also an account's). `count` is the number of entries read.
AclHandle ParsedList(std::string_view entries, size_t& count) {
  std::string pinned;
  std::multiset<std::pair<acl_tag_t, long long>> named;
  if (!PinQualifiers(entries, pinned, named, count)) return nullptr;
  // Every qualifier is a decimal id now, which libacl reads as an id without asking the
  // account database, so this needs no ConfineAccountLookupsWhenStatic.
  AclHandle list(acl_from_text(pinned.c_str()));
  if (!list) ThrowIfOutOfMemory(errno);
  if (!list || HasDuplicateEntries(list.get())) return nullptr;
  std::multiset<std::pair<acl_tag_t, long long>> made;
  ForEachEntry(list.get(), [&](acl_entry_t e) {
    const acl_tag_t tag = TagOf(e);
    if (tag != ACL_USER && tag != ACL_GROUP) return;
    void* qualifier = acl_get_qualifier(e);
    if (qualifier == nullptr) return;
    made.emplace(tag, tag == ACL_USER ? static_cast<long long>(*static_cast<uid_t*>(qualifier))
                                      : static_cast<long long>(*static_cast<gid_t*>(qualifier)));
    acl_free(qualifier);
  });
  if (made != named) return nullptr;
  return list;
}

void AppendLines(std::string& out, acl_t acl, const char* prefix) {
  if (acl == nullptr || acl_entries(acl) <= 0) return;
  ConfineAccountLookupsWhenStatic();  // libacl names the entries' ids
  // Held so that it is freed when appending runs out of memory.
  const std::unique_ptr<char, int (*)(void*)> text(acl_to_any_text(acl, prefix, '\n', 0), &acl_free);
  if (text == nullptr) {
    ThrowIfOutOfMemory(errno);
    return;
  }
  out += text.get();
  out += '\n';
}

}  // namespace

struct Acl::Lists {
  AclHandle access;       // never null; may hold no entry
  AclHandle defaultList;  // null when the list has no "default:" lines
};

Acl::Acl(std::unique_ptr<Lists> lists) : lists_(std::move(lists)) {}
Acl::~Acl() = default;

AclRef Acl::NewACLFromText(const String& text) {
  const std::string bytes = text.Utf8();
  if (bytes.find('\0') != std::string::npos) return nullptr;
  std::string accessText;
  std::string defaultText;
  std::string_view rest = bytes;
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    std::string_view line = Trimmed(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (line.empty()) continue;
    std::string& target =
        ConsumePrefix(line, "default:") || ConsumePrefix(line, "d:") ? defaultText : accessText;
    target.append(line).push_back('\n');
  }
  if (accessText.empty() && defaultText.empty()) return nullptr;

  auto lists = std::make_unique<Lists>();
  size_t accessEntries = 0;
  size_t defaultEntries = 0;
  lists->access = ParsedList(accessText, accessEntries);
  if (!lists->access) return nullptr;
  if (!defaultText.empty()) {
    lists->defaultList = ParsedList(defaultText, defaultEntries);
    if (!lists->defaultList) return nullptr;
  }
  if (accessEntries + defaultEntries == 0) return nullptr;  // only separators and comments
  if (defaultEntries == 0) lists->defaultList.reset();
  return AclRef(new Acl(std::move(lists)));
}

AclRef Acl::NewACLFromFile(const String& path, int type) {
  if (type != kExtended) return nullptr;
  const std::string native = path.Utf8();
  auto lists = std::make_unique<Lists>();
  lists->access.reset(acl_get_file(native.c_str(), ACL_TYPE_ACCESS));
  if (!lists->access) {
    ThrowIfOutOfMemory(errno);
    return nullptr;
  }
  struct stat st;
  if (::stat(native.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    lists->defaultList.reset(acl_get_file(native.c_str(), ACL_TYPE_DEFAULT));
    if (!lists->defaultList) ThrowIfOutOfMemory(errno);
    if (lists->defaultList && acl_entries(lists->defaultList.get()) <= 0) {
      lists->defaultList.reset();
    }
  }
  if (!lists->defaultList && acl_equiv_mode(lists->access.get(), nullptr) == 0) return nullptr;
  return AclRef(new Acl(std::move(lists)));
}

String Acl::Text() const {
  std::string out;
  AppendLines(out, lists_->access.get(), nullptr);
  AppendLines(out, lists_->defaultList.get(), "default:");
  return String(std::move(out));
}

bool Acl::SetFile(const FolderItemRef& file, int type) const {
  NonNil(file);
  if (type != kExtended) return false;
  struct stat st;
  const int fd = file->ChangeDescriptor(&st);
  if (fd < 0) return false;
  const bool folder = S_ISDIR(st.st_mode);
  if (lists_->defaultList && !folder) return false;

  // Everything is built and checked before the first change, so a refused list changes
  // nothing. The file's own lists are read only for what the given ones leave out.
  const bool whole = HasBaseEntries(lists_->access.get());
  std::string path;
  if (!whole || lists_->defaultList) {
    path = ProcPathOf(fd, st);
    if (path.empty()) return false;
  }
  AclHandle current;
  if (!whole) {
    current.reset(acl_get_file(path.c_str(), ACL_TYPE_ACCESS));
    if (!current) ThrowIfOutOfMemory(errno);
    if (!current) return false;
  }
  const AclHandle access = Completed(lists_->access.get(), current.get());
  if (!access) ThrowIfOutOfMemory(errno);
  if (!access || acl_valid(access.get()) != 0) return false;
  AclHandle defaults;
  if (lists_->defaultList) {
    // Default base entries left out keep the folder's current ones, or take the access
    // list's when the folder has no default list yet.
    const AclHandle currentDefault(acl_get_file(path.c_str(), ACL_TYPE_DEFAULT));
    const bool hasDefault = currentDefault && acl_entries(currentDefault.get()) > 0;
    defaults = Completed(lists_->defaultList.get(),
                         hasDefault ? currentDefault.get() : access.get());
    if (!defaults) ThrowIfOutOfMemory(errno);
    if (!defaults || acl_valid(defaults.get()) != 0) return false;
  }
  return CurrentFileChanges().ChangeLists(fd, st, access.get(), defaults.get()) == 0;
}

}  // namespace grantwright
