// The preference store under attack, as the root helper meets it: another user's folders,
// planted links and odd files, a racing user, a held lock. Every run must still do its job.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/inotify.h>

#include <chrono>
#include <fstream>
#include <thread>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

// Everything the kernel reports about the watched paths: opens, reads, changes of content
// or attributes, entries made or moved in.
class Watch {
 public:
  explicit Watch(const std::vector<std::string>& paths) : fd_(::inotify_init1(IN_NONBLOCK)) {
    for (const std::string& path : paths) {
      EXPECT_GE(::inotify_add_watch(fd_, path.c_str(), IN_ALL_EVENTS | IN_DONT_FOLLOW), 0) << path;
    }
  }
  ~Watch() { ::close(fd_); }
  // The number of events since the last call.
  int Events() const {
    alignas(inotify_event) char buffer[65536];
    int count = 0;
    for (ssize_t n; (n = ::read(fd_, buffer, sizeof buffer)) > 0;) {
      for (ssize_t at = 0; at < n; ++count) {
        at += static_cast<ssize_t>(sizeof(inotify_event) +
                                   reinterpret_cast<const inotify_event*>(buffer + at)->len);
      }
    }
    return count;
  }

 private:
  int fd_;
};

constexpr const char* kNotUsed = "Preference store not used: ";

struct Nobody {
  uid_t uid;
  gid_t gid;
};

Nobody FindNobody() {
  const passwd* user = ::getpwnam("nobody");
  return user ? Nobody{user->pw_uid, user->pw_gid} : Nobody{65534, 65534};
}

// A job the helper can always do: the file's owner and group by id (its own), mode 0400.
struct Job {
  explicit Job(const TempDir& dir)
      : file(dir.Write("target", "x")),
        config(dir.Write("job.xml", "<r><Owner datatype=\"String\">" + std::to_string(::geteuid()) +
                                        "</Owner><Group datatype=\"String\">" +
                                        std::to_string(::getegid()) +
                                        "</Group><UnixFilePath datatype=\"String\">" + file +
                                        "</UnixFilePath><PermsOwner datatype=\"Array\">"
                                        "<array_0 datatype=\"String\">read</array_0>"
                                        "</PermsOwner></r>")) {}
  // Runs the helper with `configHome` as XDG_CONFIG_HOME; status -1 unless the file's mode
  // shows the job done.
  ProcessResult Run(const std::string& configHome) const {
    ::chmod(file.c_str(), 0777);
    ProcessResult result = RunHelper(
        {"-f", config}, {{"XDG_CONFIG_HOME=" + configHome, "GRANTWRIGHT_LOG=stderr"}});
    struct stat st {};
    ::stat(file.c_str(), &st);
    if ((st.st_mode & 07777) != 0400) result.status = -1;
    return result;
  }
  std::string file, config;
};

// What an attack needs: the user nobody, a job, and a decoy folder of root's (mode 0755,
// empty) that the attacker would like root to change.
struct Scene {
  Scene() : job(dir), decoy(dir / "decoy") {
    if (::mkdir(decoy.c_str(), 0755) != 0) throw std::runtime_error("cannot make " + decoy);
  }
  const Nobody nobody = FindNobody();
  TempDir dir;
  const Job job;
  const std::string decoy;
};

// The helper as root never follows another user into a folder, and never reads or writes
// a file through a link: each case costs the run a log line, never its job, and leaves
// the decoy and the secret untouched and unread.
TEST(HostileStore, LinksAndOddFilesAreNeitherFollowedNorRead) {
  GRANTWRIGHT_REQUIRE_ROOT();
  const Scene scene;
  const auto& nobody = scene.nobody;
  const auto& dir = scene.dir;
  const auto& job = scene.job;
  const auto& decoy = scene.decoy;
  const std::string secret = dir.Write("secret.plist",
                                       "<plist><dict><key>NSApplicationShowExceptions</key>"
                                       "<false/><key>Secret</key><true/></dict></plist>");
  ASSERT_EQ(::chmod(secret.c_str(), 0600), 0);
  const Watch watch({decoy, secret});

  const auto preferences = [&](const std::string& home) { return home + "/grantwright/preferences"; };
  const auto plist = [&](const std::string& home) {
    return preferences(home) + "/" + CorePreferences::kApplicationDomain + ".plist";
  };
  const struct Case {
    const char* what;
    std::function<void(const std::string& home)> plant;
    std::string line;  // the store's log line, up to the path
    std::string culprit = "";  // below the home: what the line names
  } cases[] = {
      {"a home of another user",
       [&](const std::string& home) {
         ASSERT_EQ(::chown(home.c_str(), nobody.uid, nobody.gid), 0);
       },
       kNotUsed, ""},
      {"a preferences link of another user",
       [&](const std::string& home) {
         ASSERT_EQ(::mkdir((home + "/grantwright").c_str(), 0777), 0);
         ASSERT_EQ(::chmod((home + "/grantwright").c_str(), 0777), 0);
         ASSERT_EQ(::symlink(decoy.c_str(), preferences(home).c_str()), 0);
         ASSERT_EQ(::lchown(preferences(home).c_str(), nobody.uid, nobody.gid), 0);
       },
       kNotUsed, "/grantwright/preferences"},
      {"a preference file that links to a secret",
       [&](const std::string& home) {
         std::filesystem::create_directories(preferences(home));
         ASSERT_EQ(::symlink(secret.c_str(), plist(home).c_str()), 0);
       },
       "Preference file is no regular file, left alone: "},
      {"a FIFO as the preference file",
       [&](const std::string& home) {
         std::filesystem::create_directories(preferences(home));
         ASSERT_EQ(::mkfifo(plist(home).c_str(), 0600), 0);
       },
       "Preference file is no regular file, left alone: "},
      {"a preference file beyond the size bound",
       [&](const std::string& home) {
         std::filesystem::create_directories(preferences(home));
         std::filesystem::resize_file(dir.Write(plist(home).substr(dir.path().size() + 1), ""),
                                      PreferenceFiles::kMaxFileSize + 1);
       },
       "Preference file is larger than 16777216 bytes, left alone: "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string home = dir / std::string("home-") + std::to_string(&c - cases);
    ASSERT_EQ(::mkdir(home.c_str(), 0755), 0);
    c.plant(home);
    const auto before = std::filesystem::symlink_status(plist(home)).type();
    const auto stamp = StampOf(plist(home));
    const ProcessResult run = job.Run(home);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
    const std::string named = c.line == kNotUsed ? home + c.culprit + " is owned by user " +
                                                       std::to_string(nobody.uid)
                                                 : plist(home);
    const size_t at = run.err.find(c.line + named + "\n");
    EXPECT_NE(at, std::string::npos) << run.err;
    EXPECT_EQ(run.err.find(c.line, at + 1), std::string::npos) << "said once: " << run.err;
    EXPECT_EQ(std::filesystem::symlink_status(plist(home)).type(), before);
    EXPECT_EQ(StampOf(plist(home)), stamp);
    EXPECT_EQ(watch.Events(), 0);
  }
  EXPECT_TRUE(std::filesystem::is_empty(decoy));
  // The file at the bound itself is read, found to be no property list, and replaced.
  const std::string home = dir / "home-at-bound";
  std::filesystem::create_directories(preferences(home));
  std::filesystem::resize_file(dir.Write(plist(home).substr(dir.path().size() + 1), ""),
                               PreferenceFiles::kMaxFileSize);
  EXPECT_EQ(job.Run(home).status, 0);
  const StoreDictionaryRef replaced = PlistutilDictionary(plist(home));
  ASSERT_TRUE(replaced);
  EXPECT_EQ(replaced->Count(), 1u);
}

// The old race: a user swaps the preference folder for a link to a decoy while root makes
// it. A racer of the test's own swaps as fast as it can, as nobody, both in a home that
// nobody owns and in a shared folder that anyone may write; every helper run does its job
// and the decoy sees nothing.
TEST(HostileStore, AFolderSwappedForALinkNeverLeadsElsewhere) {
  GRANTWRIGHT_REQUIRE_ROOT();
  const Scene scene;
  const auto& nobody = scene.nobody;
  const auto& dir = scene.dir;
  const auto& job = scene.job;
  const auto& decoy = scene.decoy;
  const Watch watch({decoy});
  const std::string home = dir / "home", shared = dir / "shared";
  ASSERT_EQ(::mkdir(home.c_str(), 0755), 0);
  ASSERT_EQ(::mkdir((home + "/grantwright").c_str(), 0755), 0);
  for (const std::string& folder : {home, home + "/grantwright"}) {
    ASSERT_EQ(::chown(folder.c_str(), nobody.uid, nobody.gid), 0);
  }
  ASSERT_EQ(::mkdir(shared.c_str(), 0777), 0);
  ASSERT_EQ(::chmod(shared.c_str(), 0777), 0);
  const struct {
    std::string configHome, folder, name;
  } races[] = {
      {home, home + "/grantwright", "preferences"},
      {shared, shared, "grantwright"},
  };
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
      const Background racer({LinkSwapperPath(), race.folder, race.name, decoy},
                             {.uid = nobody.uid, .gid = nobody.gid});
      for (int run = 0; run < kRuns; ++run) {
        const ProcessResult result = job.Run(race.configHome);
        ASSERT_EQ(result.status, 0) << result.err;
        refused += result.err.find(kNotUsed) != std::string::npos;
      }
    }
    EXPECT_GT(refused, 0);
    EXPECT_EQ(watch.Events(), 0);
  }
  struct stat st {};
  ASSERT_EQ(::stat(decoy.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0755u);
  EXPECT_EQ(st.st_uid, 0u);
  EXPECT_TRUE(std::filesystem::is_empty(decoy));
}

// Reading takes no lock, so a held lock costs a run that needs no write nothing. A run
// that must write waits while the holder keeps replacing the file, as writers queued ahead
// do; when the holder writes nothing it waits no longer than the bound, gives the write up
// with a log line and does its job.
TEST(HostileStore, AHeldLockDelaysAWriteByTheBoundAtMost) {
  TempDir dir;
  const Job job(dir);
  const std::string file =
      dir.path() + "/grantwright/preferences/" + CorePreferences::kApplicationDomain + ".plist";
  std::filesystem::create_directories(dir / "grantwright/preferences");
  const int lock = ::open((file + ".lock").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  const auto start = std::chrono::steady_clock::now();
  const ProcessResult stalled = job.Run(dir.path());
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(stalled.status, 0);
  EXPECT_GE(waited, PreferenceFiles::kLockWait);
  // The bound, and the run itself on a slow machine.
  EXPECT_LT(waited, PreferenceFiles::kLockWait + std::chrono::seconds(30));
  EXPECT_EQ(stalled.err, "Preference file is locked by another process, change not written: " +
                             file + "\nCFPreferencesMBS: Failed to synchronize preferences "
                             "between RAM and disk.\n");
  EXPECT_FALSE(PlistutilDictionary(file));

  // The holder replaces the file once within the bound and lets the lock go after it.
  std::thread holder([&] {
    std::this_thread::sleep_for(PreferenceFiles::kLockWait * 3 / 4);
    const std::string other = "<plist><dict><key>Other</key><true/></dict></plist>";
    std::ofstream(file + ".tmp") << other;
    ::rename((file + ".tmp").c_str(), file.c_str());
    std::this_thread::sleep_for(PreferenceFiles::kLockWait * 3 / 4);
    ::flock(lock, LOCK_UN);
  });
  const ProcessResult queued = job.Run(dir.path());
  holder.join();
  EXPECT_EQ(queued.status, 0);
  EXPECT_EQ(queued.err, "");
  const StoreDictionaryRef written = PlistutilDictionary(file);
  ASSERT_TRUE(written);
  EXPECT_EQ(written->Count(), 2u);

  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  const ProcessResult steady = job.Run(dir.path());
  EXPECT_EQ(steady.status, 0);
  EXPECT_EQ(steady.err, "");
  ::close(lock);
}

}  // namespace
}  // namespace grantwright::testing
