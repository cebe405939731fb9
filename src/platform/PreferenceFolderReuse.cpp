#include "platform/PreferenceFolderReuse.h"

#include <sys/stat.h>

#include <optional>

namespace grantwright::PreferenceFiles {

namespace {

struct Kept {
  std::string path;
  OwnedFolder folder;
  dev_t device;
  ino_t inode;
};

std::optional<Kept>& KeptFolder() {
  static std::optional<Kept> kept;
  return kept;
}

}  // namespace

OwnedFolder ReopenFolder(const std::string& path) {
  const std::optional<Kept>& kept = KeptFolder();
  struct stat st;
  if (!kept || kept->path != path || ::stat(path.c_str(), &st) != 0 || st.st_dev != kept->device ||
      st.st_ino != kept->inode) {
    return OwnedFolder();
  }
  return kept->folder.Share();
}

void KeepFolder(const std::string& path, const OwnedFolder& folder) {
  struct stat st;
  if (::fstat(folder.Descriptor(), &st) != 0) return;
  KeptFolder().reset();
  KeptFolder().emplace(Kept{path, folder.Share(), st.st_dev, st.st_ino});
}

}  // namespace grantwright::PreferenceFiles
