#pragma once
// What the preference tests share: a fresh configuration folder per test, a look at the
// files through the independent reader, and writers in processes of their own.

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <tuple>

#include "convert/CoreFoundationExtension.h"
#include "platform/MemoryBlock.h"
#include "platform/PropertyList.h"
#include "prefs/CorePreferences.h"
#include "support/TestSupport.h"

namespace grantwright::testing {

// Points XDG_CONFIG_HOME at a fresh folder for the object's lifetime.
class ScopedConfigHome {
 public:
  std::string Folder() const { return dir_.path() + "/grantwright/preferences"; }
  std::string File(const std::string& domain) const { return Folder() + "/" + domain + ".plist"; }

 private:
  TempDir dir_;
  ScopedEnv env_{"XDG_CONFIG_HOME", dir_.path().c_str()};
};

// The file as plistutil reads it (into its binary form and back), in plistutil's XML;
// empty when plistutil refuses the file.
inline std::string PlistutilXml(const std::string& path) {
  const std::string binary = path + ".check.bin";
  const int toBinary = Run({"/usr/bin/plistutil", "-i", path, "-f", "bin", "-o", binary}).status;
  const ProcessResult back = Run({"/usr/bin/plistutil", "-i", binary, "-f", "xml"});
  ::unlink(binary.c_str());
  return toBinary == 0 && back.status == 0 ? back.out : "";
}

// The file's dictionary as plistutil reads it; nil when plistutil refuses the file.
inline StoreDictionaryRef PlistutilDictionary(const std::string& path) {
  return std::dynamic_pointer_cast<StoreDictionary>(PropertyList::Parse(PlistutilXml(path)));
}

// Inode and modification time: both stay when a file is not written.
inline std::tuple<ino_t, time_t, long> StampOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return {st.st_ino, st.st_mtim.tv_sec, st.st_mtim.tv_nsec};
}

inline constexpr const char* kTestDomain = "org.example.test";
inline PreferenceStoreRef NewStore() { return std::make_shared<PreferenceStore>(); }

// Runs `body` in a child process, which exits with 0 when it gives true.
template <typename Body>
pid_t InChild(Body body) {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(body() ? 0 : 1);
  return pid;
}

// Waits for the child: whether it exited with 0.
inline bool ExitedWell(pid_t pid) {
  int status = 0;
  return ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace grantwright::testing
