#include "global/GlobalMethods.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

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
  // The home under the temporary folder, its .config/user-dirs.dirs, and whether that is sandboxed.
  const std::tuple<std::string, std::string, bool> cases[] = {
      {"plain", "# XDG_DOCUMENTS_DIR=\"/snap/x\"\nXDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n", false},
      {"home/alice/snap/editor/12", "", true},
      {"home/alice/.var/app/org.example.Editor", "", true},
      {"plain2", "XDG_DOCUMENTS_DIR=\"/srv/snap/docs\"\n", true},
  };
  for (const auto& [home, userDirs, sandboxed] : cases) {
    std::filesystem::create_directories(dir / (home + "/.config"));
    dir.Write(home + "/.config/user-dirs.dirs", userDirs);
    const ScopedEnv homeEnv("HOME", (dir / home).c_str());
    EXPECT_EQ(GlobalMethods::IsSandboxed(), sandboxed) << home;
    EXPECT_EQ(NonNil(GlobalMethods::UserHomeActualZRN())->NativePath(),
              sandboxed ? "/home/" + SystemInformation::ShortUsername().Bytes() : dir / home);
  }
}

// The switch is read, and nothing else happens: the preference defaults stay unmade. (Its
// effect, log lines only when on, is shown by the search's log in tests/filerefs.)
TEST(ProcessEnvironment, DebuggingEnabledOnlyReadsTheSwitch) {
  Startup::CachedDebugMode = true;
  EXPECT_TRUE(GlobalMethods::DebuggingEnabledZRN());
  Startup::CachedDebugMode = false;
  EXPECT_EQ(CorePreferences::dPreferenceDefaults, nullptr);
}

}  // namespace
}  // namespace grantwright::testing
