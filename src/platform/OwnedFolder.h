#pragma once
// OwnedFolder: a folder opened by descriptor along a path that no other user could have
// steered, for a process that must write only where it or root decides.
//
// The path is walked as PathWalk walks it, with its strictest rules: every folder below "/"
// on the way, the last one included, must be owned by root or by the process's effective
// user (for a process running as root: by root), and so must every symbolic link met on
// the way, the last one included, which is followed. Swapping a name for a link or
// another folder while the walk runs makes the walk refuse, never go elsewhere.
//
// With `create`, a missing folder is made (mkdirat, mode 0700 set with fchmod so the
// umask cannot change it) and the walk goes on into it.
//
// Once open, the folder is the one the descriptor holds: files are created, read and
// replaced relative to Descriptor() with openat and renameat, never through the path.

#include <sys/types.h>

#include <memory>
#include <string>

namespace grantwright {

class OwnedFolder {
 public:
  enum class Status {
    kOpen,      // Descriptor() holds the folder
    kMissing,   // a folder on the way does not exist (and `create` was false)
    kNotOwned,  // a folder or link on the way belongs to another user: Culprit() names it
    kFailed,    // anything else: a relative path, a file where a folder should be, a loop
                // of links, a folder that could not be made or opened
  };

  // Opens the folder at the absolute `path`.
  OwnedFolder(const std::string& path, bool create);
  // No folder (kFailed).
  OwnedFolder() = default;
  ~OwnedFolder();
  OwnedFolder(OwnedFolder&& other) noexcept;
  OwnedFolder& operator=(OwnedFolder&&) = delete;

  // What tells the folder from any other: its device and inode (zeros unless open), from
  // the walk's own check of it, so knowing them costs no call.
  struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
  };

  Status Result() const { return status_; }
  bool IsOpen() const { return status_ == Status::kOpen; }
  // An O_PATH descriptor of the folder; -1 unless open.
  int Descriptor() const { return fd_ ? *fd_ : -1; }
  // For kNotOwned: the path, as walked, of the folder or link that belongs to another
  // user; OwnerId() is that user's id.
  const std::string& Culprit() const { return culprit_; }
  unsigned OwnerId() const { return ownerId_; }
  const Identity& Id() const { return id_; }

  // Whether this process may create and remove files in the folder.
  bool IsWritable() const;

  // The same folder through the same descriptor, which stays open while any of its holders
  // is left (no system call, where a duplicate would cost one to make and one to close);
  // kFailed when this one is not open.
  OwnedFolder Share() const;

 private:
  OwnedFolder(std::shared_ptr<const int> descriptor, const Identity& id);
  Status Walk(const std::string& path, bool create);

  Status status_ = Status::kFailed;
  std::shared_ptr<const int> fd_;  // closed when its last holder goes
  std::string culprit_;
  unsigned ownerId_ = 0;
  Identity id_;
};

}  // namespace grantwright
