#include "platform/FileChanges.h"

#include <acl/libacl.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "platform/Log.h"
#include "platform/ProcFiles.h"

namespace grantwright {

namespace {

// fchmodat2 (Linux 6.6) takes AT_EMPTY_PATH, so the mode is set on the O_PATH descriptor
// itself; its number is the same on every architecture.
constexpr long kFchmodat2 = 452;

struct AclFree {
  void operator()(acl_t acl) const { acl_free(acl); }
};
using AclHandle = std::unique_ptr<std::remove_pointer_t<acl_t>, AclFree>;

class RealFileChanges final : public FileChanges {
 public:
  int ChangeOwner(int item, uid_t owner, gid_t group) override {
    return ::fchownat(item, "", owner, group, AT_EMPTY_PATH) == 0 ? 0 : errno;
  }

  int ChangeMode(int item, mode_t mode) override {
    if (::syscall(kFchmodat2, item, "", mode, AT_EMPTY_PATH) == 0) return 0;
    if (errno != ENOSYS) return errno;
    // An older kernel: an O_PATH descriptor takes no fchmod, but its /proc name reaches
    // the same inode.
    const std::string path = ProcPathOf(item);
    if (path.empty()) return errno;
    return ::chmod(path.c_str(), mode) == 0 ? 0 : errno;
  }

  // The xattr calls refuse O_PATH descriptors, so the lists go through the item's /proc
  // name, checked to be procfs and to reach the item.
  int ChangeLists(int item, const struct stat& examined, acl_t access, acl_t defaults) override {
    const bool folder = S_ISDIR(examined.st_mode);
    const std::string path = ProcPathOf(item, examined);
    if (path.empty()) return errno;
    // A folder's second write may fail after the first went through: the access list it
    // replaces is kept to be put back. A file's one write needs nothing kept.
    AclHandle previous;
    if (folder) {
      previous.reset(acl_get_file(path.c_str(), ACL_TYPE_ACCESS));
      if (!previous) return errno;
    }
    if (acl_set_file(path.c_str(), ACL_TYPE_ACCESS, access) != 0) return errno;
    int error = 0;
    if (defaults) {
      if (acl_set_file(path.c_str(), ACL_TYPE_DEFAULT, defaults) != 0) error = errno;
    } else if (folder && acl_delete_def_file(path.c_str()) != 0 && errno != ENODATA) {
      error = errno;
    }
    if (error != 0 && acl_set_file(path.c_str(), ACL_TYPE_ACCESS, previous.get()) != 0) {
      System::DebugLog("The access list written before its default list failed could not be "
                       "put back: " + std::string(std::strerror(errno)));
    }
    return error;
  }
};

RealFileChanges realChanges;
FileChanges* current = &realChanges;

}  // namespace

FileChanges& CurrentFileChanges() { return *current; }

FileChanges* InstallFileChanges(FileChanges* changes) {
  FileChanges* before = current;
  current = changes ? changes : &realChanges;
  return before;
}

}  // namespace grantwright
