#pragma once
// The system's account database beyond /etc/passwd and /etc/group, for a process that
// cannot load the database's modules.
//
// A statically linked process looks accounts up in the local files only (Accounts.h): the
// other sources (LDAP, SSSD, systemd, extrausers, ...) are shared libraries that a static
// process cannot load safely. When a name or id is not in the files and
// /etc/nsswitch.conf names other sources for its database, the question goes to
// /usr/bin/getent instead. getent comes with the C library (Debian's libc-bin, which is
// essential), is linked dynamically, and asks every source the administrator configured,
// in its own process, so no module's threads or state ever enter ours. It is started by
// its absolute path with an empty environment, standard input and error on /dev/null,
// every signal at its default, and no descriptor of ours but the pipe it answers on.
//
// systemd's user database over its varlink socket was the other way. It was not taken: it
// answers only where systemd-userdbd runs (a package of its own on Debian, absent from
// most servers and containers), it leaves out LDAP and SSSD unless that service bridges
// them, and it would bring a JSON reader into the helper.
//
// Costs: nothing while the files answer. A name or id they don't hold costs a read of
// /etc/nsswitch.conf (at most kMaxNsswitchBytes), and a process start (about a
// millisecond, more when a source is a network service) when other sources are named.
// An unreachable network source makes getent wait for that source's own time-outs.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace grantwright::AccountDatabase {

// The two databases this system looks names up in, as nsswitch.conf and getent call them.
inline constexpr std::string_view kUsers = "passwd";
inline constexpr std::string_view kGroups = "group";

inline constexpr const char* kGetent = "/usr/bin/getent";
inline constexpr const char* kNsswitchConf = "/etc/nsswitch.conf";
// Only this much of nsswitch.conf, and of getent's answer, is read.
inline constexpr size_t kMaxNsswitchBytes = 64 * 1024;
inline constexpr size_t kMaxAnswerBytes = 4096;

struct Entry {
  std::string name;
  uint32_t id = 0;
};

// Whether the text of an nsswitch.conf names a source other than "files" for `database`.
// Comments ("#" to the line's end), blanks and action items ("[NOTFOUND=return]") are
// skipped; the last line for the database counts, as for the C library. A database the
// text does not name, and one whose line lists no source, use the C library's default,
// the files alone: false.
bool NamesOtherSources(std::string_view nsswitchText, std::string_view database);

// The id a text of 1 to 10 decimal digits stands for, when it is below 4294967295 (all
// bits set means "no id" to chown) and has no leading zero (other readers, libacl among
// them, take "010" for octal 8); nothing for any other text.
std::optional<uint32_t> IdOf(std::string_view digits);

// The entry an answer of getent gives: its first line is "name:password:id:..." for both
// databases. Nothing unless the name is not empty and the id (followed by ":") has IdOf.
std::optional<Entry> EntryOf(std::string_view answer);

// The entry that `getent` (a program taking getent's arguments) gives for `key` in
// `database`. A key of decimal digits is an id to getent, anything else a name. Nothing
// when the key is empty or holds a NUL, ":" or a line end (no entry of either database
// can be named so), when the program cannot be started (for want of memory it throws
// std::bad_alloc), when it ends with a status other
// than 0 or by a signal, and when the first kMaxAnswerBytes of its answer give no
// EntryOf. The rest of a longer answer (a group's long member list) is read and dropped.
std::optional<Entry> Ask(std::string_view database, const std::string& key, const char* getent = kGetent);

// The entry for `key` from the sources beyond the files: Ask when the nsswitch.conf at
// `nsswitchConf` names other sources for `database`, nothing otherwise (also when that
// file cannot be read: the C library then uses the files alone).
std::optional<Entry> LookUpBeyondFiles(std::string_view database, const std::string& key,
                                       const char* nsswitchConf = kNsswitchConf,
                                       const char* getent = kGetent);

}  // namespace grantwright::AccountDatabase
