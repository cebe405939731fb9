#include "platform/OwnedFolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "platform/PathWalk.h"

namespace grantwright {

OwnedFolder::OwnedFolder(const std::string& path, bool create) {
  status_ = Walk(path, create);
}

OwnedFolder::OwnedFolder(std::shared_ptr<const int> descriptor, const Identity& id)
    : status_(descriptor ? Status::kOpen : Status::kFailed), fd_(std::move(descriptor)), id_(id) {}

OwnedFolder OwnedFolder::Share() const { return OwnedFolder(fd_, id_); }

OwnedFolder::OwnedFolder(OwnedFolder&& other) noexcept
    : status_(std::exchange(other.status_, Status::kFailed)),
      fd_(std::move(other.fd_)),
      culprit_(std::move(other.culprit_)),
      ownerId_(other.ownerId_),
      id_(std::exchange(other.id_, {})) {}

OwnedFolder::~OwnedFolder() = default;

OwnedFolder::Status OwnedFolder::Walk(const std::string& path, bool create) {
  PathWalkResult walk =
      WalkPath(path, {.foldersOwned = true, .createFolders = create, .followLastLink = true});
  switch (walk.status) {
    case PathWalkResult::Status::kFound:
      if (walk.isRoot) return Status::kFailed;  // "/" itself is no store's folder
      fd_ = std::shared_ptr<const int>(new int(walk.item.Release()), [](const int* fd) {
        ::close(*fd);
        delete fd;
      });
      id_ = {walk.device, walk.inode};
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
  return fd_ && ::faccessat(*fd_, ".", W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace grantwright
