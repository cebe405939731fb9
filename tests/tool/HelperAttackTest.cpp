// The helper as an attacker meets it: run as root over a tree where another user owns a
// folder, plants links, races, or hides /proc. Each attack is performed for real, and the
// root-owned decoy it aims at must come out unchanged. (A name holding bytes that are no
// UTF-8 goes through the round trip of tests/cli; NUL bytes and line ends in names through
// the outcome table; a closed standard output through the failure table of HelperTest.)

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "support/TestSupport.h"
#include "tool/Jobs.h"

namespace grantwright::testing {
namespace {

// Run, by a name gtest's own Test::Run does not hide inside a test.
ProcessResult Exec(const std::vector<std::string>& argv, const RunOptions& options = {}) {
  return Run(argv, options);
}

// A folder of root's holding a file of root's ("target", mode 0600): what attacks aim at.
std::string Decoy(const TempDir& dir) {
  EXPECT_EQ(::mkdir((dir / "root-tree").c_str(), 0700), 0);
  EXPECT_EQ(::chmod(dir.Write("root-tree/target", "root's").c_str(), 0600), 0);
  return dir / "root-tree";
}

// Through no link the helper may not trust does a change reach root's file, on either
// branch: a final link, however the path names it; a second name of the file while
// fs.protected_hardlinks is off (any user may then make one); a link that another user put
// in a folder of theirs on the path, once or, by a racer of the test's own, in a loop
// against 200 helper runs. Through a link of root's in the middle of the path (as /var/run
// is) the file is still reached.
TEST(HelperAttack, NoLinkButRootsOwnLeadsAChangeToRootsFile) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string decoy = Decoy(dir);
  const std::string link = dir / "dl";
  const std::string hardLink = dir / "their-name";
  const std::string theirs = dir / "theirs";
  const uid_t attacker = 1950000 + static_cast<uid_t>(::getpid() % 40000);  // no account has it
  const RunOptions asAttacker{.uid = attacker, .gid = attacker};
  ASSERT_EQ(::symlink(decoy.c_str(), link.c_str()), 0);
  ASSERT_EQ(::link((decoy + "/target").c_str(), hardLink.c_str()), 0);
  ASSERT_EQ(::mkdir(theirs.c_str(), 0755), 0);
  ASSERT_EQ(::chown(theirs.c_str(), attacker, attacker), 0);
  ASSERT_EQ(Exec({"/bin/ln", "-s", decoy, theirs + "/sub"}, asAttacker).status, 0);
  std::vector<std::string> paths{theirs + "/sub/target"};
  for (const char* spelling : {"", "/", "/.", "//", "/.."}) paths.push_back(link + spelling);
  std::string old;
  std::ifstream("/proc/sys/fs/protected_hardlinks") >> old;
  const bool unprotected = !old.empty() && Exec({"/usr/sbin/sysctl", "-qw", "fs.protected_hardlinks=0"}).status == 0;
  if (unprotected) paths.push_back(hardLink);
  const std::string before = StateOf(decoy) + StateOf(decoy + "/target") + StateOf(dir.path());
  for (const std::string& path : paths) {
    const ProcessResult owner = RunHelper({"-f", dir.Write("job.xml", Job("daemon", "bin", path, 06777))});
    EXPECT_EQ(owner.out + std::to_string(owner.status), "Failed to set file owner to \"daemon\" on: " + path + "\n254");
    const ProcessResult list = RunHelper({"-a", "-f", dir.Write("job.xml", Job("", "", path, 0, "o::rwx\n"))});
    EXPECT_EQ(list.out + std::to_string(list.status), "Failed to set ACL on: " + path + "\n254");
  }
  if (unprotected) Exec({"/usr/sbin/sysctl", "-qw", "fs.protected_hardlinks=" + old});
  ASSERT_EQ(::unlink(hardLink.c_str()), 0);

  ASSERT_EQ(::unlink((theirs + "/sub").c_str()), 0);
  ASSERT_EQ(::mkdir((theirs + "/sub").c_str(), 0755), 0);
  dir.Write("theirs/sub/target", "theirs");
  int refusals = 0;
  {
    const Background racer({LinkSwapperPath(), theirs, "sub", decoy}, asAttacker);
    const std::vector<std::vector<std::string>> runs(
        200, {HelperPath(), "-f", dir.Write("race.xml", Job("daemon", "daemon", theirs + "/sub/target", 06777))});
    for (const ProcessResult& r : RunAll(runs, 4)) {
      // Before the racer first moves the real folder aside, a run may do its job there.
      EXPECT_TRUE(r.status == 254 || (r.status == 0 && r.out.empty())) << r.status << r.out;
      refusals += r.out == "Failed to set file owner to \"daemon\" on: " + theirs + "/sub/target\n";
    }
  }
  EXPECT_GT(refusals, 0) << "the racer never had its link in place";
  EXPECT_EQ(StateOf(decoy) + StateOf(decoy + "/target") + StateOf(dir.path()), before);

  const ProcessResult r = RunHelper({"-f", dir.Write("job.xml", Job("daemon", "bin", link + "/target", 0640))});
  EXPECT_EQ(r.out + std::to_string(r.status), "0");
  EXPECT_EQ(StateOf(decoy + "/target"), "1 2 640\nuser::rw-\ngroup::r--\nother::---\n\n");
  if (!unprotected) GTEST_SKIP() << "fs.protected_hardlinks cannot be set here: the hard link went untried";
}

// A /proc that is no procfs, mounted in a private namespace with links to the decoy under
// every descriptor number: the mode still lands on the file found, the list is refused.
TEST(HelperAttack, AFakeProcSendsNoChangeElsewhere) {
  GRANTWRIGHT_REQUIRE_ROOT();
#if defined(GRANTWRIGHT_SANITIZED)
  GTEST_SKIP() << "the sanitizers' runtime reads the process's maps from the real /proc";
#endif
  const std::vector<std::string> unshare{"/usr/bin/unshare", "--mount", "--propagation", "private"};
  if (Exec({unshare[0], unshare[1], "/bin/true"}).status != 0) GTEST_SKIP() << "unshare --mount is refused here";
  TempDir dir;
  const std::string decoy = Decoy(dir) + "/target";
  const std::string file = dir.Write("file", "x");
  const auto inFakeProc = [&](const std::vector<std::string>& args) {
    std::vector<std::string> argv = unshare;
    argv.insert(argv.end(), {"/bin/sh", "-c",
                             "mount -t tmpfs fake /proc && mkdir -p /proc/self/fd && for n in 0 1 2 3 4 5 6 7 8 9;"
                             " do ln -s \"$0\" /proc/self/fd/$n; done && exec \"$@\"",
                             decoy, HelperPath()});
    argv.insert(argv.end(), args.begin(), args.end());
    return Exec(argv);
  };
  const std::string before = StateOf(decoy);
  const ProcessResult owner = inFakeProc({"-f", dir.Write("job.xml", Job("daemon", "bin", file, 0751))});
  EXPECT_EQ(owner.out + std::to_string(owner.status), "0");
  EXPECT_EQ(StateOf(file), "1 2 751\nuser::rwx\ngroup::r-x\nother::--x\n\n");
  const ProcessResult list = inFakeProc({"-a", "-f", dir.Write("job.xml", Job("", "", file, 0, "u:daemon:rwx\n"))});
  EXPECT_EQ(list.out + std::to_string(list.status), "Failed to set ACL on: " + file + "\n254");
  EXPECT_EQ(StateOf(decoy), before);
}

}  // namespace
}  // namespace grantwright::testing
