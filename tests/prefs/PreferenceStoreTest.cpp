#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>

#include "platform/PreferenceFiles.h"
#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

using namespace CorePreferences;

// A flush writes a private file in private folders, and only when the merged content
// differs from the file's; a value the file cannot hold fails its flush, leaves the file
// alone and stays pending in its handle, where reads see it before the file. A folder
// moved away meanwhile is left behind, though the process keeps its folder open between
// accesses: the next flush walks the path again and makes the folder anew.
TEST(PreferenceStore, FlushWritesOnlyWhatChangesTheFile) {
  ScopedConfigHome home;
  const std::string file = home.File(kTestDomain);
  ASSERT_TRUE(AppSetKeyZRN(NewStore(), kTestDomain, "k", 1));
  // A second key, so that setting one compares it with the file's value, not the whole file.
  ASSERT_TRUE(AppSetKeyZRN(NewStore(), kTestDomain, "j", 2));
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
  EXPECT_EQ(std::filesystem::status(home.Folder()).permissions(), std::filesystem::perms(0700));

  const auto written = StampOf(file);
  EXPECT_TRUE(AppSetKeyZRN(NewStore(), kTestDomain, "k", 1));
  EXPECT_TRUE(AppRemoveKeyZRN(NewStore(), kTestDomain, "absent"));
  const PreferenceStoreRef pending = NewStore();
  const LogCapture log;  // keeps the failed flushes' lines out of the system log
  EXPECT_FALSE(AppSetKeyZRN(pending, kTestDomain, "url", std::make_shared<StoreURL>("file:///tmp")));
  EXPECT_TRUE(AppGetKeyZRN(pending, kTestDomain, "url").ObjectAs<FolderItem>());
  EXPECT_TRUE(AppGetKeyZRN(NewStore(), kTestDomain, "url").IsNil());
  EXPECT_FALSE(AppSetKeyZRN(NewStore(), kTestDomain, "nul", String(std::string("a\0b", 3))));
  EXPECT_EQ(StampOf(file), written);
  EXPECT_TRUE(AppSetKeyZRN(NewStore(), kTestDomain, "k", 1.0));
  EXPECT_NE(StampOf(file), written);

  const std::string moved = home.Folder() + ".moved";
  ASSERT_EQ(::rename(home.Folder().c_str(), moved.c_str()), 0);
  ASSERT_TRUE(AppSetKeyZRN(NewStore(), kTestDomain, "k", 3));
  EXPECT_EQ(AppGetKeyZRN(NewStore(), kTestDomain, "k").Int64Value(), 3);
  const StoreDictionaryRef anew = PlistutilDictionary(file);
  ASSERT_TRUE(anew) << "nothing written where the folder was";
  EXPECT_EQ(anew->Count(), 1u);
  EXPECT_EQ(PlistutilXml(moved + "/" + kTestDomain + ".plist").find("<integer>3</integer>"), std::string::npos);
}

// The store's folder, once walked, is taken again through the descriptor kept till its path
// leads elsewhere: then it is walked anew and the folder left behind is closed, so a
// long-running process holds one folder open however often its store moves.
TEST(PreferenceStore, TakesItsFolderAgainAndClosesTheOneReplaced) {
  ScopedConfigHome home;
  PreferenceFiles::Location location;
  ASSERT_TRUE(PreferenceFiles::Locate(kTestDomain, false, false, location));
  int kept = -1;
  {
    const OwnedFolder first = PreferenceFiles::OpenFolder(location, true);
    ASSERT_TRUE(first.IsOpen());
    kept = first.Descriptor();
    EXPECT_EQ(PreferenceFiles::OpenFolder(location, false).Descriptor(), kept);
  }
  const std::vector<int> open = OpenDescriptors();
  EXPECT_TRUE(std::ranges::count(open, kept));
  ASSERT_EQ(::rename(home.Folder().c_str(), (home.Folder() + ".moved").c_str()), 0);
  {
    const OwnedFolder anew = PreferenceFiles::OpenFolder(location, true);
    ASSERT_TRUE(anew.IsOpen());
    EXPECT_EQ(PreferenceFiles::OpenFolder(location, false).Descriptor(), anew.Descriptor());
  }
  EXPECT_EQ(OpenDescriptors().size(), open.size());
}

// Each scope of user and host flushes to a file of its own, readable by another reader;
// a user or host that names no scope, and a domain that would leave the folder, flush
// nowhere.
TEST(PreferenceStore, ScopesFlushToTheirOwnFiles) {
  ScopedConfigHome home;
  TempDir system;
  const ScopedEnv dirs("XDG_CONFIG_DIRS", (system.path() + ":/etc/xdg").c_str());
  char host[256] = {};
  ::gethostname(host, sizeof host - 1);
  const std::string any = system.path() + "/grantwright/preferences";
  const struct {
    const char* domain;
    bool anyUser, anyHost;
    std::string path;
  } rows[] = {
      {"d", false, true, home.File("d")},
      {"d", false, false, home.Folder() + "/ByHost/d." + host + ".plist"},
      {"d", true, true, any + "/d.plist"},
      {"", true, false, any + "/ByHost/.GlobalPreferences." + host + ".plist"},
  };
  for (const auto& row : rows) {
    const PreferenceStoreRef store = NewStore();
    const StoreStringRef domain = row.domain[0] ? StoreString::New(row.domain) : PreferenceStore::AnyApplication();
    store->SetValue(StoreString::New("k"), StoreString::New(row.path), domain,
                    row.anyUser ? PreferenceStore::AnyUser() : PreferenceStore::CurrentUser(),
                    row.anyHost ? PreferenceStore::AnyHost() : PreferenceStore::CurrentHost());
    ASSERT_TRUE(SynchronizeZRN(store, row.domain, row.anyUser, row.anyHost)) << row.path;
    const StoreDictionaryRef read = PlistutilDictionary(row.path);
    ASSERT_TRUE(read) << row.path;
    EXPECT_EQ(std::dynamic_pointer_cast<StoreString>(read->Lookup("k"))->Utf8(), row.path);
  }
  const LogCapture log;
  const PreferenceStoreRef store = NewStore();
  const auto d = StoreString::New("d");
  EXPECT_FALSE(store->Synchronize(d, StoreString::New("SomeUser"), PreferenceStore::AnyHost()));
  EXPECT_FALSE(store->Synchronize(d, PreferenceStore::CurrentUser(), StoreString::New("Elsewhere")));
  store->SetValue(d, d, StoreString::New("../d"), PreferenceStore::CurrentUser(), PreferenceStore::AnyHost());
  EXPECT_FALSE(SynchronizeZRN(store, "../d", false, true));
  EXPECT_FALSE(PlistutilDictionary(home.Folder() + "/../d.plist"));
}

// Each writer adds its own keys, each through a handle of its own whose flush rereads the
// file under the lock: none of the keys is lost.
TEST(PreferenceStore, ConcurrentWritersLoseNothing) {
  ScopedConfigHome home;
  constexpr int kWriters = 8, kKeys = 200;
  std::vector<pid_t> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.push_back(InChild([w] {
      bool ok = true;
      for (int k = 0; k < kKeys; ++k)
        ok &= AppSetKeyZRN(NewStore(), kTestDomain, std::to_string(w * kKeys + k), k);
      return ok;
    }));
  }
  for (pid_t pid : writers) EXPECT_TRUE(ExitedWell(pid));
  const StoreDictionaryRef dict = PlistutilDictionary(home.File(kTestDomain));
  ASSERT_TRUE(dict);
  EXPECT_EQ(dict->Count(), static_cast<size_t>(kWriters * kKeys));
}

// Ten numbers of one generation and a large block: one flush writes them all.
Variant Generation(int64_t generation) {
  auto values = NewArray<Variant>(std::vector<Variant>(10, generation));
  values->push_back(
      std::make_shared<MemoryBlock>(std::string(256 * 1024, 'x') + std::to_string(generation)));
  return values;
}

// A writer killed at any moment leaves a file plistutil reads, holding one whole flush,
// never an older one than seen before.
TEST(PreferenceStore, AKilledWriterLeavesTheOldFileOrTheNew) {
  ScopedConfigHome home;
  int64_t last = 0;
  ASSERT_TRUE(AppSetKeyZRN(NewStore(), kTestDomain, "g", Generation(last)));
  for (int attempt = 0; attempt < 200; ++attempt) {
    const pid_t pid = InChild([last] {
      for (int64_t next = last + 1;; ++next)
        AppSetKeyZRN(NewStore(), kTestDomain, "g", Generation(next));
      return false;
    });
    ::usleep(attempt * 40);  // kill points spread over the writer's first 8 ms and flushes
    ::kill(pid, SIGKILL);
    EXPECT_FALSE(ExitedWell(pid));
    SCOPED_TRACE("attempt " + std::to_string(attempt));
    ASSERT_FALSE(PlistutilXml(home.File(kTestDomain)).empty());
    const Variant read = AppGetKeyZRN(NewStore(), kTestDomain, "g");
    const int64_t generation = read.ArrayElement(0).Int64Value();
    EXPECT_GE(generation, last);
    EXPECT_TRUE(Describe(read) == Describe(Generation(generation)));  // not printed: 256 KB
    last = generation;
  }
}

}  // namespace
}  // namespace grantwright::testing
