#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <sstream>

#include "platform/PreferenceStore.h"
#include "platform/PropertyList.h"
#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

StoreStringRef Text(std::string s) { return std::make_shared<StoreString>(std::move(s)); }
const StoreStringRef kDomain = Text("org.example.test");

void Set(PreferenceStore& store, const std::string& key, StoreObjectRef value) {
  store.SetValue(Text(key), value, kDomain, PreferenceStore::CurrentUser(),
                 PreferenceStore::AnyHost());
}
StoreObjectRef Get(const PreferenceStore& store, const std::string& key) {
  return store.CopyValue(Text(key), kDomain, PreferenceStore::CurrentUser(),
                         PreferenceStore::AnyHost());
}
bool Flush(PreferenceStore& store) {
  return store.Synchronize(kDomain, PreferenceStore::CurrentUser(), PreferenceStore::AnyHost());
}
std::string ReadAll(const std::string& path) {
  std::stringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}
StoreDictionaryRef ParseFile(const std::string& path) {
  return std::dynamic_pointer_cast<StoreDictionary>(PropertyList::Parse(ReadAll(path)));
}
int64_t IntegerAt(const StoreDictionaryRef& dict, const std::string& key) {
  return std::dynamic_pointer_cast<StoreNumber>(dict->Lookup(key))->IntegerValue();
}

TEST(PreferenceStore, PendingChangesReadFirstAndWriteOnlyWhenTheFileWouldChange) {
  ScopedConfigHome home;
  const std::string file = home.File("org.example.test");
  PreferenceStore store;
  Set(store, "k", StoreNumber::Integer(1));
  EXPECT_TRUE(Get(store, "k"));
  EXPECT_FALSE(Get(PreferenceStore(), "k"));  // nothing flushed yet
  ASSERT_TRUE(Flush(store));
  EXPECT_TRUE(PlistutilReads(file));
  const auto mode = [](const std::string& path) {
    struct stat st {};
    ::stat(path.c_str(), &st);
    return st.st_mode & 07777;
  };
  EXPECT_EQ(mode(file), 0600u);
  EXPECT_EQ(mode(home.Folder()), 0700u);
  EXPECT_EQ(mode(home.path() + "/grantwright"), 0700u);

  // Setting what is there, or removing what is not, writes nothing; a change of kind does.
  const auto first = StampOf(file);
  PreferenceStore again;
  Set(again, "k", StoreNumber::Integer(1));
  Set(again, "absent", nullptr);
  ASSERT_TRUE(Flush(again));
  EXPECT_EQ(StampOf(file), first);
  Set(again, "k", StoreNumber::Double(1.0));
  ASSERT_TRUE(Flush(again));
  EXPECT_NE(StampOf(file), first);
  EXPECT_TRUE(std::dynamic_pointer_cast<StoreNumber>(Get(PreferenceStore(), "k"))->IsFloat());

  // A value the file cannot hold reads back from the handle, but its flush fails and the
  // file stays as it was.
  const std::string before = ReadAll(file);
  Set(again, "url", std::make_shared<StoreURL>("file:///tmp"));
  EXPECT_TRUE(std::dynamic_pointer_cast<StoreURL>(Get(again, "url")));
  EXPECT_FALSE(Flush(again));
  EXPECT_EQ(ReadAll(file), before);
}

TEST(PreferenceStore, ScopesNameTheirOwnFiles) {
  ScopedConfigHome home;
  TempDir system;
  const ScopedEnv dirs("XDG_CONFIG_DIRS", (system.path() + ":/etc/xdg").c_str());
  char host[256] = {};
  ::gethostname(host, sizeof host - 1);
  const std::string user = home.Folder();
  const std::string any = system.path() + "/grantwright/preferences";
  const struct {
    const char *domain, *user, *host;
    std::string path;
  } cases[] = {
      {"d", "CurrentUser", "AnyHost", user + "/d.plist"},
      {"d", "CurrentUser", "CurrentHost", user + "/ByHost/d." + host + ".plist"},
      {"d", "AnyUser", "AnyHost", any + "/d.plist"},
      {"", "CurrentUser", "AnyHost", user + "/.GlobalPreferences.plist"},
      {".GlobalPreferences", "AnyUser", "CurrentHost",
       any + "/ByHost/.GlobalPreferences." + host + ".plist"},
      {"d", "SomeUser", "AnyHost", ""},
      {"d", "CurrentUser", "Elsewhere", ""},
      {"../d", "CurrentUser", "AnyHost", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PreferenceStore::FilePath(c.domain, c.user, c.host), c.path) << c.domain << c.user;
    PreferenceStore store;
    store.SetValue(Text("k"), Text("v"), Text(c.domain), Text(c.user), Text(c.host));
    EXPECT_EQ(store.Synchronize(Text(c.domain), Text(c.user), Text(c.host)), !c.path.empty());
    EXPECT_TRUE(c.path.empty() || PlistutilReads(c.path)) << c.path;
  }

  // Without XDG_CONFIG_HOME the folder is under HOME, without HOME under the account's home.
  const ScopedEnv relative("XDG_CONFIG_HOME", "relative/is/ignored");
  {
    const ScopedEnv homeEnv("HOME", "/home/someone");
    EXPECT_EQ(PreferenceStore::FilePath("d", "CurrentUser", "AnyHost"),
              "/home/someone/.config/grantwright/preferences/d.plist");
  }
  const ScopedEnv noHome("HOME", nullptr);
  EXPECT_EQ(PreferenceStore::FilePath("d", "CurrentUser", "AnyHost")
                .rfind(IsRoot() ? "/root/.config/" : "/", 0),
            0u);
}

TEST(PreferenceStore, BadFilesReadAsEmptyAndStayUntilAWriteReplacesThem) {
  ScopedConfigHome home;
  ASSERT_TRUE(PreferenceFiles::EnsureFolder(home.Folder()));
  const std::string file = home.File("org.example.test");
  TempDir scratch;
  const std::string binary = scratch / "b.plist";
  testing::Run({"/usr/bin/plistutil", "-i", scratch.Write("in.plist", "<plist><dict/></plist>"),
                "-f", "bin", "-o", binary});
  for (const std::string& bad :
       {std::string("garbage"), std::string("<plist><array/></plist>"), ReadAll(binary)}) {
    std::ofstream(file, std::ios::binary) << bad;
    LogCapture log;
    EXPECT_FALSE(Get(PreferenceStore(), "k"));
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{
                  "Preference file is not a property list dictionary, read as empty: " + file});
    PreferenceStore store;
    Set(store, "gone", nullptr);
    EXPECT_TRUE(Flush(store));
    EXPECT_EQ(ReadAll(file), bad);
    Set(store, "k", Text("v"));
    EXPECT_TRUE(Flush(store));
    EXPECT_TRUE(PlistutilReads(file));
  }
}

// Each child adds its own keys through handles of its own, each flush rereading under the lock.
TEST(PreferenceStore, ConcurrentWritersLoseNothing) {
  ScopedConfigHome home;
  constexpr int kWriters = 8, kKeys = 200;
  std::vector<pid_t> children;
  for (int w = 0; w < kWriters; ++w) {
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      bool ok = true;
      for (int k = 0; k < kKeys; ++k) {
        PreferenceStore store;
        Set(store, "w" + std::to_string(w) + "k" + std::to_string(k), StoreNumber::Integer(k));
        ok = Flush(store) && ok;
      }
      ::_exit(ok ? 0 : 1);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  const StoreDictionaryRef dict = ParseFile(home.File("org.example.test"));
  ASSERT_TRUE(dict);
  EXPECT_EQ(dict->Count(), static_cast<size_t>(kWriters * kKeys));
}

// A writer killed at any moment leaves a whole file in which every key holds the value of
// one flush: all keys share one generation, never older than one seen before.
TEST(PreferenceStore, AKilledWriterLeavesTheOldFileOrTheNew) {
  ScopedConfigHome home;
  const std::string file = home.File("org.example.test");
  std::mt19937 random(12345);
  const std::string blob(256 * 1024, 'x');
  int64_t lastGeneration = -1;
  for (int attempt = 0; attempt < 200; ++attempt) {
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      for (int64_t generation = lastGeneration + 1;; ++generation) {
        PreferenceStore store;
        for (int k = 0; k < 10; ++k)
          Set(store, "k" + std::to_string(k), StoreNumber::Integer(generation));
        Set(store, "blob", std::make_shared<StoreData>(blob + std::to_string(generation)));
        Flush(store);
        if (generation == lastGeneration + 1 && ::write(ready[1], "r", 1) != 1) ::_exit(1);
      }
    }
    ::close(ready[1]);
    char byte;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
    ::usleep(std::uniform_int_distribution<useconds_t>(0, 8000)(random));
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);

    ASSERT_TRUE(PlistutilReads(file)) << "attempt " << attempt;
    const StoreDictionaryRef dict = ParseFile(file);
    ASSERT_TRUE(dict);
    const int64_t generation = IntegerAt(dict, "k0");
    for (int k = 1; k < 10; ++k) EXPECT_EQ(IntegerAt(dict, "k" + std::to_string(k)), generation);
    EXPECT_EQ(std::dynamic_pointer_cast<StoreData>(dict->Lookup("blob"))->Bytes(),
              blob + std::to_string(generation));
    EXPECT_GT(generation, lastGeneration);
    lastGeneration = generation;
  }
}

}  // namespace
}  // namespace grantwright::testing
