#include <gtest/gtest.h>
#include <pwd.h>

#include <cmath>
#include <fstream>

#include "platform/TextEncoding.h"
#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

using namespace CorePreferences;

// What one process writes, another reads back as both conversions say, from our file and
// from the same content as plistutil writes it: Singles and typed arrays widen, dates
// come back in GMT (a date's own offset stays in its moment), what has no store form is
// left out or removes its key. Reads map "" and "NSGlobalDomain" to the shared domain;
// writes take the domain literally.
TEST(CorePreferences, ValuesOfEveryKindCrossProcesses) {
  ScopedConfigHome home;
  std::string bytes;
  for (int b = 0; b < 256; ++b) bytes += static_cast<char>(b);
  auto level3 = std::make_shared<Dictionary>();
  level3->SetValue("level3", "deep");
  level3->SetValue("colour", Color{1});
  level3->SetValue("nil", Variant());
  level3->SetValue(int64_t{5}, "five");
  auto nested = std::make_shared<Dictionary>();
  nested->SetValue("level1", NewArray<Variant>({level3, Variant(), Color{1}, NewArray<String>({"a", "b"})}));
  const struct {
    const char* key;
    Variant value;
    std::string read;  // Describe of what the other process reads
  } rows[] = {
      {"Boolean", false, "false"},
      {"Int64", INT64_MIN, "i-9223372036854775808"},
      {"Int32", int32_t{-5}, "i-5"},
      {"Double", 0.1 + 0.2, "d0.30000000000000004"},
      {"Huge", -HUGE_VAL, "d-inf"},
      {"Single", 0.25f, "d0.25"},
      {"String", "\xc3\xa9 <&> ]]>\r\n\t\x01", "'\xc3\xa9 <&> ]]>\r\n\t\x01'"},
      {"Latin1", String("caf\xe9", Encodings::SystemDefault()), "'caf\xc3\xa9'"},
      {"Data", std::make_shared<MemoryBlock>(bytes), "m" + bytes},
      {"Date", std::make_shared<Date>(2020, 2, 29, 12, 34, 56, 2.0), "t1582979696"},
      {"Old", std::make_shared<Date>(1, 1, 1, 0, 0, 0, 0.0), "t-62135596800"},
      {"Array", NewArray<int64_t>({1, 2}), "[i1,i2]"},
      {"Nested", nested, "{level1=[{level3='deep',5='five'},['a','b']]}"},
      {"Colour", Color{1}, "nil"},
  };
  const pid_t writer = InChild([&] {
    bool ok = true;
    for (const auto& row : rows) ok &= AppSetKeyZRN(NewStore(), kTestDomain, row.key, row.value);
    return ok;
  });
  ASSERT_TRUE(ExitedWell(writer));
  const std::string file = home.File(kTestDomain), theirs = PlistutilXml(file);
  for (const bool rewritten : {false, true}) {
    if (rewritten) std::ofstream(file, std::ios::binary) << theirs;
    for (const auto& row : rows) {
      EXPECT_EQ(Describe(AppGetKeyZRN(NewStore(), kTestDomain, row.key)), row.read)
          << row.key << (rewritten ? " from plistutil's file" : " from our file");
    }
  }

  EXPECT_TRUE(AppSetKeyZRN(NewStore(), "", "shared", 1));
  for (const char* domain : {"", "NSGlobalDomain", "nsglobaldomain", ".GlobalPreferences"})
    EXPECT_EQ(AppGetKeyZRN(NewStore(), domain, "shared").Int64Value(), 1) << domain;
  EXPECT_TRUE(AppSetKeyZRN(NewStore(), "NSGlobalDomain", "literal", 2));
  EXPECT_TRUE(AppGetKeyZRN(NewStore(), "NSGlobalDomain", "literal").IsNil());
}

// Load enters the defaults once; reads take the stored value, else the default, else
// false (dates: else the argument). A corrupt file reads as empty, with a log line, and
// stays until a write replaces it.
TEST(CorePreferences, LoadDefaultsAndTypedValues) {
  ScopedConfigHome home;
  const std::string file = home.File(kApplicationDomain);
  HasInitialized = false;
  Load();
  SetPrefsDefaultValue("Mine", true);
  Load();
  SetPrefsValue("ShowDebugMenu", true, false);
  SetPrefsValue("ResolveFileLocationsExtensively", true, false);
  SetPrefsValue("ResolveFileLocationsExtensively", true, true);
  AppSetKeyZRN(NewStore(), kApplicationDomain, "CheckUpdatesAtStartup",
               std::make_shared<Dictionary>());
  const struct {
    const char* key;
    bool stored, corrupt;  // what reads give with the file as written, and once it is corrupt
  } reads[] = {
      {"Mine", true, true},
      {"ShowDebugMenu", true, false},
      {"ResolveFileLocationsExtensively", false, false},
      {"CheckUpdatesAtStartup", true, true},  // a dictionary is no Boolean: the default
      {"NoSuchKey", false, false},
  };
  const LogCapture log;
  for (const bool corrupt : {false, true}) {
    if (corrupt) std::ofstream(file) << "<plist><dict><key>";
    for (const auto& r : reads)
      EXPECT_EQ(GetPrefsBoolValue(r.key, ""), corrupt ? r.corrupt : r.stored) << r.key;
  }
  EXPECT_EQ(log.lines().back(),
            "Preference file is not a property list dictionary, read as empty: " + file);
  const auto stamp = StampOf(file);
  SetPrefsValue("ShowDebugMenu", true, true);
  EXPECT_EQ(StampOf(file), stamp);

  // Dates are stored as their TotalSeconds and come back as new Dates.
  const auto when = std::make_shared<Date>(2019, 5, 6, 7, 8, 9, 2.0);
  SetPrefsValue("When", when);
  EXPECT_EQ(GetPrefsDateValue("When", nullptr, "")->TotalSeconds(), when->TotalSeconds());
  SetPrefsValue("When", DateRef());
  EXPECT_EQ(GetPrefsDateValue("When", when, ""), when);
}

// Every run loads the preferences, also on a bad command line: the first stores the one
// value Load writes and no default, later runs write nothing, and a run whose store cannot
// be written costs its log lines, never the job's outcome. Without XDG_CONFIG_HOME (an
// empty one counts as none) the store is under HOME.
TEST(CorePreferences, EveryHelperRunLoadsThem) {
  TempDir config;
  const std::vector<std::string> env{"XDG_CONFIG_HOME=", "HOME=" + config.path()};
  EXPECT_EQ(RunHelper({}, {env}).status, 255);
  const auto file = config / ".config/grantwright/preferences/com.tarnvale.Grantwright.plist";
  const StoreDictionaryRef dict = PlistutilDictionary(file);
  ASSERT_TRUE(dict);
  EXPECT_EQ(Describe(CoreFoundationExtension::ValueAsRBZRN(dict)),
            "{NSApplicationShowExceptions=true}");

  const auto first = StampOf(file);
  const std::vector<std::string> args{"-f", "/no/such/config"};
  const ProcessResult steady = RunHelper(args, {env});
  EXPECT_EQ(steady.status, 254);
  EXPECT_EQ(StampOf(file), first);

  // A folder that cannot be made; as root also the store above, root's own, for nobody.
  std::vector<RunOptions> unwritable{{{"XDG_CONFIG_HOME=/dev/null/config", "GRANTWRIGHT_LOG=stderr"}}};
  if (const passwd* user = ::getpwnam("nobody"); IsRoot() && user)
    unwritable.push_back({{env[0], env[1], "GRANTWRIGHT_LOG=stderr"}, user->pw_uid, user->pw_gid});
  // Load's flush fails, then its fallback, then the write of its flag.
  const std::string lines[] = {
      "CFPreferencesMBS: Failed to synchronize preferences between RAM and disk.\n",
      "NSUserDefaultsMBS: Failed to synchronize preferences between RAM and disk.\n"};
  for (const RunOptions& options : unwritable) {
    const ProcessResult result = RunHelper(args, options);
    EXPECT_EQ(result.status, steady.status);
    EXPECT_EQ(result.out, steady.out);
    EXPECT_EQ(result.err, lines[0] + lines[1] + lines[0]);
  }
}

}  // namespace
}  // namespace grantwright::testing
