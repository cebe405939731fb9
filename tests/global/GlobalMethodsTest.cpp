#include "global/GlobalMethods.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "global/Startup.h"
#include "platform/Exceptions.h"
#include "platform/UserFolders.h"
#include "prefs/CorePreferences.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

TEST(ProcessEnvironment, SnapOrFlatpakHomeLeadsToTheRealHome) {
  TempDir dir;
  const ScopedEnv config("XDG_CONFIG_HOME", nullptr);
  const struct {
    std::string home;      // under the temporary folder
    std::string userDirs;  // its .config/user-dirs.dirs
    bool sandboxed;
  } cases[] = {
      {"plain", "# XDG_DOCUMENTS_DIR=\"/snap/x\"\nXDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n", false},
      {"home/alice/snap/editor/12", "", true},
      {"home/alice/.var/app/org.example.Editor", "", true},
      {"plain2", "XDG_DOCUMENTS_DIR=\"/srv/snap/docs\"\n", true},
  };
  for (const auto& c : cases) {
    std::filesystem::create_directories(dir / (c.home + "/.config"));
    dir.Write(c.home + "/.config/user-dirs.dirs", c.userDirs);
    const ScopedEnv home("HOME", (dir / c.home).c_str());
    EXPECT_EQ(GlobalMethods::IsSandboxed(), c.sandboxed) << c.home;
    EXPECT_EQ(NonNil(GlobalMethods::UserHomeActualZRN())->NativePath(),
              c.sandboxed ? "/home/" + SystemInformation::ShortUsername().Bytes() : dir / c.home);
  }
}

// The switch is read, and nothing else happens: the preference defaults stay unmade.
TEST(ProcessEnvironment, DebuggingEnabledOnlyReadsTheSwitch) {
  ASSERT_EQ(CorePreferences::dPreferenceDefaults, nullptr);
  for (const bool on : {false, true}) {
    Startup::CachedDebugMode = on;
    EXPECT_EQ(GlobalMethods::DebuggingEnabledZRN(), on);
  }
  Startup::CachedDebugMode = false;
  EXPECT_EQ(CorePreferences::dPreferenceDefaults, nullptr);
}

}  // namespace
}  // namespace grantwright::testing
