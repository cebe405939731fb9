#pragma once
// The local account files, /etc/passwd and /etc/group, read by a statically linked process
// itself. Through the C library the same lookups cost a read of nsswitch.conf before the
// files and a second read of a file for each name; the static helper asks for a name or
// two in a run that lasts about a millisecond, so each file is read once, whole, and kept
// for the rest of the process (bench/helper_vs_c.sh, owner branch: 95 -> 82 system calls a
// run, and the median run 1.106 -> 1.073 of the static C program's).
//
// A line is "name:password:id:...", as in both files; the first line with the name (or the
// id) asked for answers, lines that are not so (comments, compat entries, ids that
// AccountDatabase::IdOf refuses) are passed over.

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/AccountDatabase.h"

namespace grantwright::AccountFiles {

inline constexpr const char* kUsersFile = "/etc/passwd";
inline constexpr const char* kGroupsFile = "/etc/group";
// A file larger than this is not read, as if it were not there.
inline constexpr size_t kMaxBytes = 64 * 1024 * 1024;

// The first entry of `text` named `name`, or with the id `id`.
std::optional<AccountDatabase::Entry> FindName(std::string_view text, std::string_view name);
std::optional<AccountDatabase::Entry> FindId(std::string_view text, uint32_t id);

// The text of the file for `database` (AccountDatabase::kUsers or kGroups), read on first
// use; empty when it cannot be read. Running out of memory throws std::bad_alloc.
std::string_view Text(std::string_view database);

}  // namespace grantwright::AccountFiles
