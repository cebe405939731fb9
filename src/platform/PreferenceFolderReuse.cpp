#include "platform/PreferenceFolderReuse.h"

#include <sys/stat.h>

#include <optional>

namespace grantwright::PreferenceFiles {

namespace {

struct Kept {
  std::string path;
  OwnedFolder folder;
};

// Never destroyed: the last folder kept stays open till the process ends and the kernel
// closes it, where a destructor would spend a call on it. One that another replaces is
// closed then, when the last of its holders goes.
std::optional<Kept>& KeptFolder() {
  static std::optional<Kept>* const kept = new std::optional<Kept>();
  return *kept;
}

}  // namespace

OwnedFolder ReopenFolder(const std::string& path) {
  const std::optional<Kept>& kept = KeptFolder();
  if (!kept || kept->path != path) return OwnedFolder();
  const OwnedFolder::Identity& id = kept->folder.Id();
  struct stat st;
  if (::stat(path.c_str(), &st) != 0 || st.st_dev != id.device || st.st_ino != id.inode) return OwnedFolder();
  return kept->folder.Share();
}

void KeepFolder(const std::string& path, const OwnedFolder& folder) {
  if (!folder.IsOpen()) return;
  KeptFolder().reset();
  KeptFolder().emplace(Kept{path, folder.Share()});
}

}  // namespace grantwright::PreferenceFiles
