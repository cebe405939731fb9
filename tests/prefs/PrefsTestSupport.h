#pragma once
// What the preference tests share: a fresh configuration folder per test and a look at the
// files through the independent reader.

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <tuple>

#include "support/TestSupport.h"

namespace grantwright::testing {

// Points XDG_CONFIG_HOME at a fresh folder for the object's lifetime.
class ScopedConfigHome {
 public:
  const std::string& path() const { return dir_.path(); }
  std::string Folder() const { return dir_.path() + "/grantwright/preferences"; }
  std::string File(const std::string& domain) const { return Folder() + "/" + domain + ".plist"; }

 private:
  TempDir dir_;
  ScopedEnv env_{"XDG_CONFIG_HOME", dir_.path().c_str()};
};

// Whether plistutil reads the file (into its binary form and back); its XML in `xml`.
inline bool PlistutilReads(const std::string& path, std::string* xml = nullptr) {
  const std::string binary = path + ".check.bin";
  const bool toBinary =
      Run({"/usr/bin/plistutil", "-i", path, "-f", "bin", "-o", binary}).status == 0;
  const ProcessResult back = Run({"/usr/bin/plistutil", "-i", binary, "-f", "xml"});
  ::unlink(binary.c_str());
  if (xml) *xml = back.out;
  return toBinary && back.status == 0 && !back.out.empty();
}

// Inode and modification time: both stay when a file is not written.
inline std::tuple<ino_t, time_t, long> StampOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return {st.st_ino, st.st_mtim.tv_sec, st.st_mtim.tv_nsec};
}

}  // namespace grantwright::testing
