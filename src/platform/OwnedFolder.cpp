#include "platform/OwnedFolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "platform/PathWalk.h"

namespace grantwright {

OwnedFolder::OwnedFolder(const std::string& path, bool create) {
  status_ = Walk(path, create);
}

OwnedFolder::OwnedFolder(int descriptor)
    : status_(descriptor >= 0 ? Status::kOpen : Status::kFailed), fd_(descriptor) {}

OwnedFolder OwnedFolder::Copy() const {
  return OwnedFolder(fd_ >= 0 ? ::fcntl(fd_, F_DUPFD_CLOEXEC, 0) : -1);
}

OwnedFolder::OwnedFolder(OwnedFolder&& other) noexcept
    : status_(std::exchange(other.status_, Status::kFailed)),
      fd_(std::exchange(other.fd_, -1)),
      culprit_(std::move(other.culprit_)),
      ownerId_(other.ownerId_) {}

OwnedFolder::~OwnedFolder() {
  if (fd_ >= 0) ::close(fd_);
}

OwnedFolder::Status OwnedFolder::Walk(const std::string& path, bool create) {
  PathWalkResult walk =
      WalkPath(path, {.foldersOwned = true, .createFolders = create, .followLastLink = true});
  switch (walk.status) {
    case PathWalkResult::Status::kFound:
      if (walk.isRoot) return Status::kFailed;  // "/" itself is no store's folder
      fd_ = walk.item.Release();
      return Status::kOpen;
    case PathWalkResult::Status::kMissing: return Status::kMissing;
    case PathWalkResult::Status::kNotTrusted:
      culprit_ = std::move(walk.culprit);
      ownerId_ = walk.owner;
      return Status::kNotOwned;
    case PathWalkResult::Status::kFailed: break;
  }
  return Status::kFailed;
}

bool OwnedFolder::IsWritable() const {
  return fd_ >= 0 && ::faccessat(fd_, ".", W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace grantwright
