#include <gtest/gtest.h>
#include <pwd.h>

#include "platform/PropertyList.h"
#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

// The first run stores the one value Load writes, and no default; later runs write nothing.
TEST(HelperPreferences, FirstRunStoresOnlyTheFlagAndLaterRunsWriteNothing) {
  TempDir config;
  const RunOptions options{{"XDG_CONFIG_HOME=" + config.path()}};
  EXPECT_EQ(RunHelper({}, options).status, 255);
  const std::string file =
      config.path() + "/grantwright/preferences/com.tarnvale.Grantwright.plist";
  std::string xml;
  ASSERT_TRUE(PlistutilReads(file, &xml));
  const auto dict = std::dynamic_pointer_cast<StoreDictionary>(PropertyList::Parse(xml));
  ASSERT_TRUE(dict);
  ASSERT_EQ(dict->Count(), 1u);
  const auto flag =
      std::dynamic_pointer_cast<StoreBoolean>(dict->Lookup("NSApplicationShowExceptions"));
  ASSERT_TRUE(flag);
  EXPECT_TRUE(flag->Value());

  const auto first = StampOf(file);
  EXPECT_EQ(RunHelper({"-f", config / "missing.xml"}, options).status, 254);
  EXPECT_EQ(StampOf(file), first);
}

// A store that cannot be written costs log lines, never the job's outcome.
TEST(HelperPreferences, AnUnwritableStoreLeavesTheJobAsItWas) {
  TempDir config;  // owned by us, mode 0755: another user cannot write there
  std::vector<RunOptions> cases{{{"XDG_CONFIG_HOME=/dev/null/config", "GRANTWRIGHT_LOG=stderr"}}};
  if (IsRoot()) {
    const passwd* nobody = ::getpwnam("nobody");
    ASSERT_NE(nobody, nullptr);
    cases.push_back({{"XDG_CONFIG_HOME=" + config.path(), "GRANTWRIGHT_LOG=stderr"},
                     nobody->pw_uid,
                     nobody->pw_gid});
  }
  const std::string failed =
      "CFPreferencesMBS: Failed to synchronize preferences between RAM and disk.\n";
  for (const RunOptions& options : cases) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"-f"}, std::vector<std::string>{"-f", "/no/such/config"}}) {
      const ProcessResult plain = RunHelper(args);
      const ProcessResult result = RunHelper(args, options);
      EXPECT_EQ(result.status, plain.status);
      EXPECT_EQ(result.out, plain.out);
      EXPECT_EQ(result.err,
                failed +
                    "NSUserDefaultsMBS: Failed to synchronize preferences between RAM and disk.\n" +
                    failed);
    }
  }
}

}  // namespace
}  // namespace grantwright::testing
