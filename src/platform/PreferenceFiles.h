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
// A writer takes the lock, rereads the file, and replaces it by writing the temporary
// file, flushing it to disk, renaming it over the file and flushing the folder. So a
// reader, which takes no lock, always sees a whole file, the old one or the new one,
// even when a writer is killed half way.

#include <string>
#include <string_view>

namespace grantwright::PreferenceFiles {

struct Location {
  std::string folder;  // the folder that holds the file
  std::string path;    // the file
};

// The file of `domain`. False when the domain cannot name a file (empty, ".", "..", or
// holding "/" or a NUL) or the user's folder cannot be found.
bool Locate(std::string_view domain, bool anyUser, bool currentHost, Location& out);

// Creates `folder` and any missing parents with mode 0700. True when it is a folder now.
bool EnsureFolder(const std::string& folder);

// Whether this process may create files in `folder`, creating it first when it is missing.
bool FolderIsWritable(const std::string& folder);

enum class ReadResult {
  kRead,     // `bytes` holds the file (a file that is no regular file reads as no bytes)
  kMissing,  // there is no file
  kFailed,   // the file is there but could not be read
};
ReadResult ReadWhole(const std::string& path, std::string& bytes);

// An exclusive lock on the lock file beside the file at `location`, held for the object's
// lifetime. The folder is created (EnsureFolder) when it is missing.
class WriteLock {
 public:
  explicit WriteLock(const Location& location);
  ~WriteLock();
  WriteLock(const WriteLock&) = delete;
  WriteLock& operator=(const WriteLock&) = delete;
  // False when the lock file could not be opened or locked.
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

// Replaces the file at `location` by `bytes` (mode 0600), all or nothing. The caller holds
// the WriteLock. False when any step failed; the old file is then still in place.
bool Replace(const Location& location, std::string_view bytes);

}  // namespace grantwright::PreferenceFiles
