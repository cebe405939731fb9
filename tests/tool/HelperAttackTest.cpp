// The helper as an attacker meets it: run as root over a tree where another user owns a
// folder, plants links, races, or hides /proc. Each attack is performed for real, and the
// root-owned decoy it aims at must come out unchanged. (A name holding bytes that are no
// UTF-8 goes through the round trip of tests/cli; NUL bytes and line ends in names through
// the outcome table.)

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
  const std::string decoy = dir / "root-tree";
  EXPECT_EQ(::mkdir(decoy.c_str(), 0700), 0);
  std::ofstream(decoy + "/target") << "root's";
  EXPECT_EQ(::chmod((decoy + "/target").c_str(), 0600), 0);
  return decoy;
}

// However the path names a final link, on either branch, the first change step fails and
// the link's target and its parent stay as they were; through a link of root's in the
// middle of the path (as /var/run is) the file is still reached.
TEST(HelperAttack, AFinalLinkIsNeverFollowedAndRootsLinksStillLead) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string decoy = Decoy(dir);
  const std::string link = dir / "dl";
  ASSERT_EQ(::symlink(decoy.c_str(), link.c_str()), 0);
  const std::string before = StateOf(decoy) + StateOf(dir.path());
  for (const char* spelling : {"", "/", "/.", "//", "/.."}) {
    const std::string path = link + spelling;
    const ProcessResult owner = RunHelper({"-f", dir.Write("job.xml", Job("daemon", "daemon", path, 0777))});
    EXPECT_EQ(owner.out, "Failed to set file owner to \"daemon\" on: " + path + "\n");
    EXPECT_EQ(owner.status, 254);
    const ProcessResult list = RunHelper({"-a", "-f", dir.Write("job.xml", Job("", "", path, 0, "o::rwx\n"))});
    EXPECT_EQ(list.out, "Failed to set ACL on: " + path + "\n");
    EXPECT_EQ(list.status, 254);
  }
  EXPECT_EQ(StateOf(decoy) + StateOf(dir.path()), before);

  const ProcessResult r = RunHelper({"-f", dir.Write("job.xml", Job("daemon", "bin", link + "/target", 0640))});
  EXPECT_EQ(r.out + std::to_string(r.status), "0");
  EXPECT_EQ(StateOf(decoy + "/target"), "1 2 640\nuser::rw-\ngroup::r--\nother::---\n\n");
}

// A user who owns a folder on the path puts a link to root's tree below it, once or, by a
// racer of the test's own, in a loop against 200 helper runs: no run changes root's file.
TEST(HelperAttack, AnotherUsersLinkOnThePathIsNotFollowed) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string decoy = Decoy(dir);
  const uid_t attacker = 1950000 + static_cast<uid_t>(::getpid() % 40000);  // no account has it
  const RunOptions asAttacker{.uid = attacker, .gid = attacker};
  const std::string theirs = dir / "theirs";
  ASSERT_EQ(::mkdir(theirs.c_str(), 0755), 0);
  ASSERT_EQ(::chown(theirs.c_str(), attacker, attacker), 0);
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  const std::string before = StateOf(decoy + "/target");
  const std::string job = dir.Write("job.xml", Job("daemon", "daemon", theirs + "/sub/target", 06777));
  const std::string refused = "Failed to set file owner to \"daemon\" on: " + theirs + "/sub/target\n";

  ASSERT_EQ(Exec({"/bin/ln", "-s", decoy, theirs + "/sub"}, asAttacker).status, 0);
  EXPECT_EQ(RunHelper({"-f", job}).out, refused);
  ASSERT_EQ(::unlink((theirs + "/sub").c_str()), 0);

  ASSERT_EQ(::mkdir((theirs + "/sub").c_str(), 0755), 0);
  std::ofstream(theirs + "/sub/target") << "theirs";
  int refusals = 0;
  {
    const Background racer({LinkSwapperPath(), theirs, "sub", decoy}, asAttacker);
    const std::vector<std::vector<std::string>> runs(200, {HelperPath(), "-f", job});
    for (const ProcessResult& r : RunAll(runs, 4)) {
      // Before the racer first moves the real folder aside, a run may do its job there.
      EXPECT_TRUE(r.status == 254 || (r.status == 0 && r.out.empty())) << r.status << r.out;
      refusals += r.out == refused;
    }
  }
  EXPECT_GT(refusals, 0) << "the racer never had its link in place";
  EXPECT_EQ(StateOf(decoy + "/target"), before);
}

// A /proc that is no procfs, mounted in a private namespace with links to the decoy under
// every descriptor number: the mode still lands on the file found, the list is refused.
TEST(HelperAttack, AFakeProcSendsNoChangeElsewhere) {
  GRANTWRIGHT_REQUIRE_ROOT();
#if defined(GRANTWRIGHT_SANITIZED)
  GTEST_SKIP() << "the sanitizers' runtime reads the process's maps from the real /proc";
#endif
  const std::vector<std::string> unshare{"/usr/bin/unshare", "--mount", "--propagation", "private"};
  if (Exec({unshare[0], unshare[1], unshare[2], unshare[3], "/bin/true"}).status != 0) {
    GTEST_SKIP() << "unshare --mount is refused here";
  }
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
  EXPECT_EQ(list.out, "Failed to set ACL on: " + file + "\n");
  EXPECT_EQ(list.status, 254);
  EXPECT_EQ(StateOf(decoy), before);
}

// With standard output closed the file found does not take its number: the failure line
// goes to the log, and nothing is written into the file.
TEST(HelperAttack, AClosedStandardOutputLosesNoLine) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("file", "x");
  const ProcessResult r = Exec({"/bin/sh", "-c", "exec \"$0\" -f \"$1\" >&-", HelperPath(),
                                dir.Write("job.xml", Job("gw-nobody-has-this", "bin", file, 0))},
                               {.env = {"GRANTWRIGHT_LOG=stderr"}});
  EXPECT_EQ(r.status, 254);
  EXPECT_EQ(r.err, "Failed to set file owner to \"gw-nobody-has-this\" on: " + file + "\n");
  std::ifstream in(file);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "x");
}

// While fs.protected_hardlinks is off any user may link root's file into their folder: a
// regular file with a second name is not changed.
TEST(HelperAttack, AHardLinkedFileIsRefusedWhileHardLinksAreUnprotected) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string decoy = Decoy(dir) + "/target";
  const std::string link = dir / "their-name";
  ASSERT_EQ(::link(decoy.c_str(), link.c_str()), 0);
  const std::string job = dir.Write("job.xml", Job("daemon", "bin", link, 06777));
  std::string old;
  std::ifstream("/proc/sys/fs/protected_hardlinks") >> old;
  if (old.empty() || Exec({"/usr/sbin/sysctl", "-qw", "fs.protected_hardlinks=0"}).status != 0) {
    GTEST_SKIP() << "fs.protected_hardlinks cannot be set here";
  }
  const ProcessResult r = RunHelper({"-f", job});
  Exec({"/usr/sbin/sysctl", "-qw", "fs.protected_hardlinks=" + old});
  EXPECT_EQ(r.out, "Failed to set file owner to \"daemon\" on: " + link + "\n");
  EXPECT_EQ(r.status, 254);
  EXPECT_EQ(StateOf(decoy), "0 0 600\nuser::rw-\ngroup::---\nother::---\n\n");
}

}  // namespace
}  // namespace grantwright::testing
