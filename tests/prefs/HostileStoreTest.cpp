// The preference store under attack, as the root helper meets it: another user's folders,
// planted links and odd files, a racing user, a held lock. Every run must still do its job.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/inotify.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "prefs/PrefsTestSupport.h"
#include "tool/Jobs.h"

namespace grantwright::testing {
namespace {

constexpr const char* kNotUsed = "Preference store not used: ";

// The user nobody, a job the helper can always do (the file's owner and group by id, its
// own, and mode 0400), a decoy folder of root's (mode 0755, empty) that an attacker would
// like root to change, and a watch on what must stay untouched.
class HostileStore : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(::mkdir(decoy.c_str(), 0755), 0); }
  ~HostileStore() override { ::close(inotify); }
  void Watch(const std::string& path) {
    EXPECT_GE(::inotify_add_watch(inotify, path.c_str(), IN_ALL_EVENTS | IN_DONT_FOLLOW), 0) << path;
  }
  // Whether the kernel reported anything about the watched paths since the last call:
  // opens, reads, changes of content or attributes, entries made or moved in.
  bool Touched() const {
    alignas(inotify_event) char buffer[65536];
    bool touched = false;
    while (::read(inotify, buffer, sizeof buffer) > 0) touched = true;
    return touched;
  }
  // Runs the job with `configHome` as XDG_CONFIG_HOME; status -1 unless the file's mode
  // shows the job done.
  ProcessResult RunJob(const std::string& configHome) const {
    ::chmod(file.c_str(), 0777);
    ProcessResult result = RunHelper({"-f", config}, {{"XDG_CONFIG_HOME=" + configHome, "GRANTWRIGHT_LOG=stderr"}});
    struct stat st {};
    ::stat(file.c_str(), &st);
    if ((st.st_mode & 07777) != 0400) result.status = -1;
    return result;
  }
  const passwd* const user = ::getpwnam("nobody");
  const uid_t uid = user ? user->pw_uid : 65534;
  const gid_t gid = user ? user->pw_gid : 65534;
  TempDir dir;
  const std::string decoy = dir / "decoy", file = dir.Write("target", "x");
  const std::string config =
      dir.Write("job.xml", Job(std::to_string(::geteuid()), std::to_string(::getegid()), file, 0400));
  const int inotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
};

// The helper as root never follows another user into a folder, and never reads or writes
// a file through a link: each case costs the run a log line, never its job, and leaves
// the decoy and the secret untouched and unread.
TEST_F(HostileStore, LinksAndOddFilesAreNeitherFollowedNorRead) {
  GRANTWRIGHT_REQUIRE_ROOT();
  const std::string secret = dir.Write("secret.plist",
                                       "<plist><dict><key>NSApplicationShowExceptions</key>"
                                       "<false/><key>Secret</key><true/></dict></plist>");
  ASSERT_EQ(::chmod(secret.c_str(), 0600), 0);
  Watch(decoy);
  Watch(secret);
  const auto folder = [](const std::string& home) { return home + "/grantwright/preferences"; };
  const auto plist = [&](const std::string& home) {
    return folder(home) + "/" + CorePreferences::kApplicationDomain + ".plist";
  };
  // The file cases plant in a folder of root's; a file of `size` bytes is no property list.
  const auto sized = [&](const std::string& home, uintmax_t size) {
    std::filesystem::create_directories(folder(home));
    std::ofstream{plist(home)};
    std::filesystem::resize_file(plist(home), size);
  };
  const std::string notRegular = "Preference file is no regular file, left alone: ";
  const struct Case {
    const char* what;
    std::function<void(const std::string& home)> plant;
    std::string line;  // the store's log line, up to the path
    std::string culprit = "";  // below the home: what the line names
  } cases[] = {
      {"a home of another user", [&](const std::string& home) { ASSERT_EQ(::chown(home.c_str(), uid, gid), 0); },
       kNotUsed},
      {"a preferences link of another user",
       [&](const std::string& home) {
         ASSERT_EQ(::mkdir((home + "/grantwright").c_str(), 0777), 0);
         ASSERT_EQ(::chmod((home + "/grantwright").c_str(), 0777), 0);
         ASSERT_EQ(::symlink(decoy.c_str(), folder(home).c_str()), 0);
         ASSERT_EQ(::lchown(folder(home).c_str(), uid, gid), 0);
       },
       kNotUsed, "/grantwright/preferences"},
      {"a preference file that links to a secret",
       [&](const std::string& home) { ASSERT_EQ(::symlink(secret.c_str(), plist(home).c_str()), 0); }, notRegular},
      {"a FIFO as the preference file",
       [&](const std::string& home) { ASSERT_EQ(::mkfifo(plist(home).c_str(), 0600), 0); }, notRegular},
      {"a preference file beyond the size bound",
       [&](const std::string& home) { sized(home, PreferenceFiles::kMaxFileSize + 1); },
       "Preference file is larger than 16777216 bytes, left alone: "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string home = dir / std::string("home-") + std::to_string(&c - cases);
    ASSERT_EQ(::mkdir(home.c_str(), 0755), 0);
    if (c.line != kNotUsed) std::filesystem::create_directories(folder(home));
    c.plant(home);
    const auto before = std::filesystem::symlink_status(plist(home)).type();
    const auto stamp = StampOf(plist(home));
    const ProcessResult run = RunJob(home);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
    const std::string named =
        c.line == kNotUsed ? home + c.culprit + " is owned by user " + std::to_string(uid) : plist(home);
    const size_t at = run.err.find(c.line + named + "\n");
    EXPECT_NE(at, std::string::npos) << run.err;
    EXPECT_EQ(run.err.find(c.line, at + 1), std::string::npos) << "said once: " << run.err;
    EXPECT_EQ(std::filesystem::symlink_status(plist(home)).type(), before);
    EXPECT_EQ(StampOf(plist(home)), stamp);
    EXPECT_FALSE(Touched());
  }
  // The file at the bound itself is read, found to be no property list, and replaced.
  sized(dir / "home-at-bound", PreferenceFiles::kMaxFileSize);
  EXPECT_EQ(RunJob(dir / "home-at-bound").status, 0);
  const StoreDictionaryRef replaced = PlistutilDictionary(plist(dir / "home-at-bound"));
  ASSERT_TRUE(replaced);
  EXPECT_EQ(replaced->Count(), 1u);
}

// The old race: a user swaps the preference folder for a link to a decoy while root makes
// it. A racer of the test's own swaps as fast as it can, as nobody, both in a home that
// nobody owns and in a shared folder that anyone may write; every helper run does its job
// and the decoy sees nothing.
TEST_F(HostileStore, AFolderSwappedForALinkNeverLeadsElsewhere) {
  GRANTWRIGHT_REQUIRE_ROOT();
  Watch(decoy);
  const std::string home = dir / "home", shared = dir / "shared";
  for (const std::string& folder : {home, home + "/grantwright"}) {
    ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
    ASSERT_EQ(::chown(folder.c_str(), uid, gid), 0);
  }
  ASSERT_EQ(::mkdir(shared.c_str(), 0777), 0);
  ASSERT_EQ(::chmod(shared.c_str(), 0777), 0);
  const struct {
    std::string configHome, folder, name;
  } races[] = {{home, home + "/grantwright", "preferences"}, {shared, shared, "grantwright"}};
#if defined(GRANTWRIGHT_SANITIZED)
  // A sanitized helper starts some ten times slower: the plain build races in earnest.
  constexpr int kRuns = 20;
#else
  constexpr int kRuns = 250;
#endif
  for (const auto& race : races) {
    SCOPED_TRACE(race.folder);
    int refused = 0;
    {
      const Background racer({LinkSwapperPath(), race.folder, race.name, decoy}, {.uid = uid, .gid = gid});
      for (int run = 0; run < kRuns; ++run) {
        const ProcessResult result = RunJob(race.configHome);
        ASSERT_EQ(result.status, 0) << result.err;
        refused += result.err.find(kNotUsed) != std::string::npos;
      }
    }
    EXPECT_GT(refused, 0);
    EXPECT_FALSE(Touched());
  }
}

// Reading takes no lock, so a held lock costs a run that needs no write nothing. A run
// that must write waits while the holder keeps replacing the file, as writers queued ahead
// do; when the holder writes nothing it waits no longer than the bound, gives the write up
// with a log line and does its job.
TEST_F(HostileStore, AHeldLockDelaysAWriteByTheBoundAtMost) {
  const std::string store =
      dir.path() + "/grantwright/preferences/" + CorePreferences::kApplicationDomain + ".plist";
  std::filesystem::create_directories(dir / "grantwright/preferences");
  const int lock = ::open((store + ".lock").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  const auto start = std::chrono::steady_clock::now();
  const ProcessResult stalled = RunJob(dir.path());
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(stalled.status, 0);
  EXPECT_GE(waited, PreferenceFiles::kLockWait);
  // The bound, and the run itself on a slow machine.
  EXPECT_LT(waited, PreferenceFiles::kLockWait + std::chrono::seconds(30));
  EXPECT_EQ(stalled.err, "Preference file is locked by another process, change not written: " +
                             store + "\nCFPreferencesMBS: Failed to synchronize preferences "
                             "between RAM and disk.\n");
  EXPECT_FALSE(PlistutilDictionary(store));

  // The holder replaces the file once within the bound and lets the lock go after it.
  std::thread holder([&] {
    std::this_thread::sleep_for(PreferenceFiles::kLockWait * 3 / 4);
    std::ofstream(store + ".tmp") << "<plist><dict><key>Other</key><true/></dict></plist>";
    ::rename((store + ".tmp").c_str(), store.c_str());
    std::this_thread::sleep_for(PreferenceFiles::kLockWait * 3 / 4);
    ::flock(lock, LOCK_UN);
  });
  const ProcessResult queued = RunJob(dir.path());
  holder.join();
  EXPECT_EQ(queued.status, 0);
  EXPECT_EQ(queued.err, "");
  const StoreDictionaryRef written = PlistutilDictionary(store);
  ASSERT_TRUE(written);
  EXPECT_EQ(written->Count(), 2u);

  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  const ProcessResult steady = RunJob(dir.path());
  EXPECT_EQ(steady.status, 0);
  EXPECT_EQ(steady.err, "");
  ::close(lock);
}

}  // namespace
}  // namespace grantwright::testing
