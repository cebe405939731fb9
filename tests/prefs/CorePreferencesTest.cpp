#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "prefs/CorePreferences.h"
#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

using namespace CorePreferences;

PreferenceStoreRef NewStore() { return std::make_shared<PreferenceStore>(); }


// Values written in one process read back equal in another; Singles come back as Doubles,
// typed arrays as arrays of Variant, dates in GMT.
TEST(CorePreferences, ValuesOfEveryKindCrossProcesses) {
  ScopedConfigHome home;
  auto level3 = std::make_shared<Dictionary>();
  level3->SetValue("level3", "deep");
  auto level2 = std::make_shared<Dictionary>();
  const auto list = NewArray<Variant>();
  list->emplace_back(level3);
  list->emplace_back(1.5);
  list->emplace_back(NewArray<String>({"a", "b"}));
  level2->SetValue("level2", list);
  auto level1 = std::make_shared<Dictionary>();
  level1->SetValue("level1", level2);
  const std::vector<std::pair<String, Variant>> values = {
      {"Boolean", true},
      {"Int64", INT64_MIN},
      {"Int32", int32_t{-5}},
      {"Double", 0.1},
      {"Single", 0.1f},
      {"String", "\xc3\xa9 <&> \xe2\x9c\x93"},
      {"Data", std::make_shared<MemoryBlock>(std::string("a\0b", 3))},
      {"Date", std::make_shared<Date>(2020, 2, 29, 12, 34, 56, 0.0)},
      {"Array", NewArray<int64_t>({1, 2, 3})},
      {"Nested", level1}};
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    bool ok = true;
    for (const auto& [key, value] : values)
      ok = AppSetKeyZRN(NewStore(), "org.example.kinds", key, value) && ok;
    ::_exit(ok ? 0 : 1);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_TRUE(PlistutilReads(home.File("org.example.kinds")));
  for (const auto& [key, value] : values) {
    const Variant want = value.Type() == Variant::kSingle ? Variant(value.DoubleValue()) : value;
    EXPECT_EQ(Describe(AppGetKeyZRN(NewStore(), "org.example.kinds", key)), Describe(want));
  }

  EXPECT_TRUE(AppRemoveKeyZRN(NewStore(), "org.example.kinds", "Boolean"));
  EXPECT_TRUE(AppGetKeyZRN(NewStore(), "org.example.kinds", "Boolean").IsNil());
  EXPECT_TRUE(AppRemoveKeyZRN(NewStore(), "org.example.kinds", "Boolean"));
  EXPECT_THROW(AppSetKeyZRN(nullptr, "d", "k", 1), NilObjectException);
}

// Reads map "" and "NSGlobalDomain" to the shared domain; writes take the domain literally,
// where the store itself reads an empty one as the shared domain.
TEST(CorePreferences, EmptyAndGlobalDomains) {
  ScopedConfigHome home;
  EXPECT_TRUE(AppSetKeyZRN(NewStore(), "", "shared", 1));
  EXPECT_TRUE(PlistutilReads(home.File(".GlobalPreferences")));
  for (const char* domain : {"", "NSGlobalDomain", "nsglobaldomain", ".GlobalPreferences"}) {
    EXPECT_EQ(AppGetKeyZRN(NewStore(), domain, "shared").Int64Value(), 1) << domain;
  }
  EXPECT_TRUE(AppSetKeyZRN(NewStore(), "NSGlobalDomain", "literal", 2));
  EXPECT_TRUE(PlistutilReads(home.File("NSGlobalDomain")));
  EXPECT_TRUE(AppGetKeyZRN(NewStore(), "NSGlobalDomain", "literal").IsNil());
  EXPECT_TRUE(AppRemoveKeyZRN(NewStore(), "", "shared"));
  EXPECT_TRUE(AppGetKeyZRN(NewStore(), "NSGlobalDomain", "shared").IsNil());
}

// The helper's runs check the lines of a store that cannot be written (HelperPreferences).
TEST(CorePreferences, FlushFlagsPickUserAndHost) {
  ScopedConfigHome home;
  TempDir system;
  const ScopedEnv dirs("XDG_CONFIG_DIRS", system.path().c_str());
  LogCapture log;
  const auto text = [](const char* t) { return std::make_shared<StoreString>(t); };
  const PreferenceStoreRef prefs = NewStore();
  prefs->SetValue(text("k"), text("v"), text("d"), PreferenceStore::AnyUser(),
                  PreferenceStore::AnyHost());
  prefs->SetValue(text("k"), text("v"), text("d"), PreferenceStore::CurrentUser(),
                  PreferenceStore::CurrentHost());
  EXPECT_TRUE(SynchronizeZRN(prefs, "d", true, true));
  EXPECT_TRUE(PlistutilReads(system.path() + "/grantwright/preferences/d.plist"));
  EXPECT_TRUE(SynchronizeZRN(prefs, "d", false, false));
  EXPECT_TRUE(PlistutilReads(PreferenceStore::FilePath("d", "CurrentUser", "CurrentHost")));
  EXPECT_TRUE(log.lines().empty());

  const ScopedEnv unwritable("XDG_CONFIG_HOME", "/dev/null/config");
  EXPECT_FALSE(AppSetKeyZRN(NewStore(), kApplicationDomain, "k", true));
  EXPECT_EQ(log.lines(), std::vector<std::string>{
                             "CFPreferencesMBS: Failed to synchronize preferences between RAM and disk."});
}

TEST(CorePreferences, LoadDefaultsAndTypedValues) {
  ScopedConfigHome home;
  HasInitialized = false;
  dPreferenceDefaults = nullptr;
  const auto given = std::make_shared<Date>();
  // Before Load: the store is not read and the date getter gives its argument.
  EXPECT_FALSE(GetPrefsBoolValue("ShowUnsupportedWarning", ""));
  EXPECT_THROW(SetPrefsDefaultValue("k", 1), NilObjectException);
  dPreferenceDefaults = std::make_shared<Dictionary>();
  dPreferenceDefaults->SetValue("Early", true);
  dPreferenceDefaults->SetValue("EarlyDate", 5);  // no Date: reading it would throw
  EXPECT_TRUE(GetPrefsBoolValue("early", ""));
  EXPECT_EQ(GetPrefsDateValue("EarlyDate", given, ""), given);

  LogCapture log;
  Load();
  const DictionaryRef table = dPreferenceDefaults;
  EXPECT_FALSE(table->HasKey("Early"));
  Load();
  EXPECT_EQ(dPreferenceDefaults, table);
  EXPECT_TRUE(
      AppGetKeyZRN(NewStore(), kApplicationDomain, "NSApplicationShowExceptions").BooleanValue());

  // Stored value, then default, then false.
  EXPECT_FALSE(GetPrefsBoolValue("ResolveFileLocationsExtensively", ""));
  EXPECT_TRUE(GetPrefsBoolValue("CheckUpdatesAtStartup", ""));
  EXPECT_FALSE(GetPrefsBoolValue("NoSuchKey", ""));
  SetPrefsValue("ResolveFileLocationsExtensively", true, false);
  EXPECT_TRUE(GetPrefsBoolValue("ResolveFileLocationsExtensively", ""));
  SetPrefsValue("ResolveFileLocationsExtensively", true, true);
  EXPECT_FALSE(GetPrefsBoolValue("ResolveFileLocationsExtensively", ""));
  AppSetKeyZRN(NewStore(), kApplicationDomain, "CheckUpdatesAtStartup",
               std::make_shared<Dictionary>());
  EXPECT_TRUE(GetPrefsBoolValue("CheckUpdatesAtStartup", ""));  // unreadable as Boolean
  AppSetKeyZRN(NewStore(), "org.example.other", "Other", true);
  EXPECT_TRUE(GetPrefsBoolValue("Other", "org.example.other"));

  // Dates are stored as their TotalSeconds and come back as new Dates.
  const auto stored = std::make_shared<Date>(2019, 5, 6, 7, 8, 9, 2.0);
  SetPrefsValue("When", stored);
  EXPECT_EQ(AppGetKeyZRN(NewStore(), kApplicationDomain, "When").Type(), Variant::kDouble);
  const DateRef back = GetPrefsDateValue("When", nullptr, "");
  ASSERT_TRUE(back);
  EXPECT_NE(back, stored);
  EXPECT_EQ(back->TotalSeconds(), stored->TotalSeconds());
  SetPrefsValue("When", DateRef());
  EXPECT_EQ(GetPrefsDateValue("When", given, ""), given);
  EXPECT_EQ(GetPrefsDateValue("When", nullptr, ""), nullptr);
  SetPrefsDefaultValue("When", stored);
  EXPECT_EQ(GetPrefsDateValue("When", given, ""), stored);
  EXPECT_THROW(GetPrefsDateValue("ProxyPort", given, ""), TypeMismatchException);

  // A corrupt file leaves the defaults.
  std::ofstream(home.File(kApplicationDomain)) << "<plist><dict><key>";
  EXPECT_TRUE(GetPrefsBoolValue("CheckUpdatesAtStartup", ""));
  EXPECT_FALSE(GetPrefsBoolValue("ShowDebugMenu", ""));
  EXPECT_EQ(log.lines().size(), 2u);  // one line per read of the corrupt file
}

}  // namespace
}  // namespace grantwright::testing
