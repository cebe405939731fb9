#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "fileutil/FolderItemExtension.h"
#include "platform/Exceptions.h"
#include "platform/UserFolders.h"
#include "support/TestSupport.h"
#include "prefs/CorePreferences.h"
#include "tool/GlobalMethods.h"
#include "tool/Startup.h"

namespace grantwright::testing {
namespace {

using FolderItemExtension::GetSubFolderItemZRN;
using FolderItemExtension::PathZRN;

TEST(PathZRN, AbbreviatesTheRealHomeByCharacters) {
  TempDir dir;
  const std::string home = dir / "Home";
  ASSERT_EQ(::mkdir(home.c_str(), 0755), 0);
  const ScopedEnv homeEnv("HOME", home.c_str());
  const ScopedEnv config("XDG_CONFIG_HOME", nullptr);
  struct Case {
    std::string path;
    std::string abbreviated;
  };
  const Case cases[] = {
      {home, "~"},
      {home + "/notes v2.txt", "~/notes v2.txt"},
      {dir / "HOME/x", "~/x"},              // the prefix compares ignoring case
      {home + "old/x", "~old/x"},           // a prefix of characters, not of components
      {"/etc/passwd", "/etc/passwd"},
  };
  for (const Case& c : cases) {
    const auto item = PathToFolderItem(String(c.path));
    EXPECT_EQ(PathZRN(item, true).Bytes(), c.abbreviated) << c.path;
    EXPECT_EQ(PathZRN(item, false).Bytes(), c.path);
  }
  {
    const ScopedEnv missingHome("HOME", (dir / "gone").c_str());
    EXPECT_EQ(PathZRN(PathToFolderItem(String(dir / "gone/x")), true).Bytes(), dir / "gone/x");
  }
  LogCapture log;
  const auto pathless = std::make_shared<FolderItem>(std::string());
  EXPECT_EQ(PathZRN(pathless, true).Bytes(), "");
  EXPECT_EQ(PathZRN(pathless, false).Bytes(), "");
  EXPECT_EQ(log.lines(), std::vector<std::string>(2, "Failed to get native path for file: "));
  EXPECT_THROW(PathZRN(nullptr, false), NilObjectException);
}

TEST(GetSubFolderItemZRN, WalksDownAndNeedsTheParent) {
  TempDir dir;
  ASSERT_EQ(::mkdir((dir / "a").c_str(), 0755), 0);
  const auto root = PathToFolderItem(String(dir.path()));
  EXPECT_EQ(GetSubFolderItemZRN(root, {})->NativePath(), dir.path());
  EXPECT_EQ(GetSubFolderItemZRN(PathToFolderItem("/"), {}), nullptr);  // a top item
  EXPECT_EQ(GetSubFolderItemZRN(root, {"a", "b"})->NativePath(), dir / "a/b");
  EXPECT_FALSE(GetSubFolderItemZRN(root, {"a", "b"})->Exists());
  EXPECT_EQ(GetSubFolderItemZRN(root, {"missing", "b"}), nullptr);
  EXPECT_EQ(GetSubFolderItemZRN(root, {"a/b"}), nullptr);
  EXPECT_EQ(GetSubFolderItemZRN(root, {".."}), nullptr);
  EXPECT_EQ(GetSubFolderItemZRN(nullptr, {"a"}), nullptr);
}

TEST(ProcessEnvironment, SnapOrFlatpakHomeLeadsToTheRealHome) {
  TempDir dir;
  const std::string user = SystemInformation::ShortUsername().Bytes();
  struct Case {
    std::string home;
    std::string userDirs;  // user-dirs.dirs content, "" for none
    bool sandboxed;
  };
  const Case cases[] = {
      {dir / "plain", "", false},
      {dir / "home/alice/snap/editor/12", "", true},
      {dir / "home/alice/.var/app/org.example.Editor", "", true},
      {dir / "plain2", "XDG_DOCUMENTS_DIR=\"/srv/snap/docs\"\n", true},
      {dir / "plain3", "# XDG_DOCUMENTS_DIR=\"/snap/x\"\nXDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n", false},
  };
  for (const Case& c : cases) {
    std::filesystem::create_directories(c.home + "/.config");
    if (!c.userDirs.empty()) dir.Write(c.home.substr(dir.path().size() + 1) + "/.config/user-dirs.dirs", c.userDirs);
    const ScopedEnv home("HOME", c.home.c_str());
    const ScopedEnv config("XDG_CONFIG_HOME", nullptr);
    EXPECT_EQ(GlobalMethods::IsSandboxed(), c.sandboxed) << c.home;
    const auto actual = GlobalMethods::UserHomeActualZRN();
    ASSERT_NE(actual, nullptr);
    EXPECT_EQ(actual->NativePath(), c.sandboxed ? "/home/" + user : c.home) << c.home;
  }
  const ScopedEnv noHome("HOME", nullptr);
  EXPECT_NE(SpecialFolder::UserHome(), nullptr);  // from the account database
}

TEST(ProcessEnvironment, DebugSwitchAndTheDefaultsTable) {
  const DictionaryRef saved = CorePreferences::dPreferenceDefaults;
  CorePreferences::dPreferenceDefaults = nullptr;
  EXPECT_FALSE(GlobalMethods::DebuggingEnabledZRN());
  ASSERT_NE(CorePreferences::dPreferenceDefaults, nullptr);
  EXPECT_EQ(CorePreferences::dPreferenceDefaults->Count(), 0u);
  const DictionaryRef created = CorePreferences::dPreferenceDefaults;
  Startup::CachedDebugMode = true;
  EXPECT_TRUE(GlobalMethods::DebuggingEnabledZRN());
  EXPECT_EQ(CorePreferences::dPreferenceDefaults, created);  // made once, then kept
  Startup::CachedDebugMode = false;
  CorePreferences::dPreferenceDefaults = saved;
}

}  // namespace
}  // namespace grantwright::testing
