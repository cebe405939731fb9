#pragma once
// PreferenceFiles: where the preference store keeps its files, and the file operations
// that let many processes share them safely.
//
// Folders:
//   current user  ${XDG_CONFIG_HOME}/grantwright/preferences; when XDG_CONFIG_HOME is
//                 unset, empty or relative, ${HOME}/.config/...; when HOME is too, the
//                 account database's home of the effective user + /.config/...
//   any user      <first entry of XDG_CONFIG_DIRS>/grantwright/preferences, that entry
//                 being /etc/xdg when the variable is unset, empty or relative
// Files in a folder:
//   any host      <domain>.plist
//   current host  ByHost/<domain>.<host name>.plist ("/" in a host name becomes "_")
// Beside each file live <file>.lock, the lock that writers take, and while a write is
// under way <file>.tmp.
//
// No other user can steer the store. Its folder is opened as OwnedFolder does: along a
// path where every folder and link is owned by root or by the process's effective user
// (for a process running as root: by root alone), never through a link of another user:
// in one call with the owners checked upward from the folder when no link is on the path,
// else one name at a time. A store whose path leaves that is not used: reads find nothing,
// flushes fail, and "Preference store not used: <path> is owned by user <id>" goes to the
// system log, once per process and path. The files in the folder are opened relative to
// its descriptor, never through a link (O_NOFOLLOW), and only regular files are read.
//
// Readers take no lock: a file is only ever replaced whole, by renaming a complete
// temporary file over it, so a reader sees the old file or the new one, also when a
// writer is killed half way. A writer takes the lock, rereads the file, writes the
// temporary file, flushes it to disk, renames it over the file and flushes the folder.

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/OwnedFolder.h"

namespace grantwright::PreferenceFiles {

// A preference file holds a program's settings, a few kilobytes. A file larger than this
// (some 400,000 keys) is no preference file: it is read as empty and left alone, so no
// file can make a run of the helper slow or large.
inline constexpr size_t kMaxFileSize = 16u << 20;

// How long a writer waits for the lock. A writer holds it for one read, one write and two
// flushes to disk of a file of a few kilobytes: milliseconds. So a writer waits as long as
// other writers keep finishing (each replaces the file), and gives up once kLockWait has
// passed in which none did, or after kLockWaitInAll in any case. A queue of writers,
// however long, gets through; a process that holds the lock and writes nothing (stuck, or
// hostile) delays a run by two seconds, never stalls it. The job runs either way.
inline constexpr std::chrono::milliseconds kLockWait{2000};
inline constexpr std::chrono::milliseconds kLockWaitInAll{30000};

struct Location {
  std::string folder;  // the folder that holds the file
  std::string name;    // the file's name in the folder
  std::string path;    // the file
};

// The file of `domain`. False when the domain cannot name a file (empty, ".", "..", or
// holding "/" or a NUL) or the user's folder cannot be found.
bool Locate(std::string_view domain, bool anyUser, bool currentHost, Location& out);

// The folder of `location`, opened (and with `create` made, mode 0700) as OwnedFolder
// does; a folder or link of another user on the way is logged as said above.
OwnedFolder OpenFolder(const Location& location, bool create);

enum class ReadResult {
  kRead,     // `bytes` holds the file
  kMissing,  // there is no file
  kFailed,   // the file is there but is not read: it could not be opened or read, or it is
             // no regular file or larger than kMaxFileSize (these two logged: "Preference
             // file is no regular file, left alone: <path>", "Preference file is larger
             // than 16777216 bytes, left alone: <path>")
};

// Reads the file of `location` in the open `folder` whole, without a lock.
ReadResult Read(const OwnedFolder& folder, const Location& location, std::string& bytes);

// An exclusive lock on the lock file beside the file at `location`, held for the object's
// lifetime. It waits for the lock as kLockWait says; when it gives up, "Preference file is
// locked by another process, change not written: <path>" goes to the system log and the
// lock is not held.
class WriteLock {
 public:
  WriteLock(const OwnedFolder& folder, const Location& location);
  ~WriteLock();
  WriteLock(const WriteLock&) = delete;
  WriteLock& operator=(const WriteLock&) = delete;
  // False when the lock file could not be opened or the lock not had in time.
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

// Replaces the file at `location` in `folder` by `bytes` (mode 0600), all or nothing. The
// caller holds the WriteLock. False when any step failed; the old file is then still in
// place.
bool Replace(const OwnedFolder& folder, const Location& location, std::string_view bytes);

}  // namespace grantwright::PreferenceFiles
