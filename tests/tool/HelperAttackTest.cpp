// The helper as an attacker meets it: run as root over a tree where another user owns a
// folder, plants links, races, names odd bytes or hides /proc. Each attack is performed for
// real, and the root-owned decoy it aims at must come out unchanged.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "permissions/TraditionalPermissionsZRN.h"
#include "support/TestSupport.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

// Run, by a name that the tests' own Run (gtest's) does not hide.
ProcessResult Exec(const std::vector<std::string>& argv, const RunOptions& options = {}) {
  return Run(argv, options);
}

// A user id that no account has: the attacker, made for the test.
uid_t FreshUser() { return 1950000 + static_cast<uid_t>(::getpid() % 40000); }

std::string Job(const std::string& owner, const std::string& group, const std::string& path, uint32_t mode,
                const std::string& acl = "") {
  TraditionalPermissionsZRN record;
  record.Owner = String(owner, nullptr);
  record.Group = String(group, nullptr);
  record.UnixFilePath = String(path, nullptr);
  record.xPermissions = std::make_shared<Permissions>(mode);
  const DictionaryRef dict = record.GetDictionary();
  if (!acl.empty()) dict->SetValue("RawACLRights", String(acl));
  return XMLExtension::AsXMLStringFromDictionaryZRN(dict, "r").Bytes();
}

// "uid gid mode" and the list, of the item itself (not what a link points to).
std::string StateOf(const std::string& path) {
  return Exec({"/usr/bin/stat", "-c", "%u %g %a %h", path}).out + Getfacl(path);
}

// A tree of root's that attacks aim at: a folder holding a file, both root's, mode 0700
// and 0600. Returns the folder.
std::string Decoy(const TempDir& dir) {
  const std::string decoy = dir / "root-tree";
  EXPECT_EQ(::mkdir(decoy.c_str(), 0700), 0);
  std::ofstream(decoy + "/target") << "root's";
  EXPECT_EQ(::chmod((decoy + "/target").c_str(), 0600), 0);
  return decoy;
}

// However the path names a final link, on either branch, the link's target (and its
// parent) stay as they were and the first change step fails; a path through a link of
// root's (as /var/run is) still reaches its file.
TEST(HelperAttack, AFinalLinkIsNeverFollowedAndRootsLinksStillLead) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string decoy = Decoy(dir);
  const std::string link = dir / "dl";
  ASSERT_EQ(::symlink(decoy.c_str(), link.c_str()), 0);
  const std::string before = StateOf(decoy) + StateOf(dir.path()) + StateOf(decoy + "/target");
  for (const char* spelling : {"", "/", "/.", "//", "/.."}) {
    const std::string path = link + spelling;
    const std::pair<std::vector<std::string>, std::string> runs[] = {
        {{"-f", dir.Write("job.xml", Job("daemon", "daemon", path, 0777))},
         "Failed to set file owner to \"daemon\" on: " + path + "\n"},
        {{"-a", "-f", dir.Write("job-a.xml", Job("", "", path, 0, "user::rwx\nuser:daemon:rwx\nother::rwx\n"))},
         "Failed to set ACL on: " + path + "\n"},
    };
    for (const auto& [args, out] : runs) {
      const ProcessResult r = RunHelper(args);
      EXPECT_EQ(r.out, out);
      EXPECT_EQ(r.status, 254);
    }
  }
  EXPECT_EQ(StateOf(decoy) + StateOf(dir.path()) + StateOf(decoy + "/target"), before);

  // root's own link, in the middle of the path, is followed.
  const ProcessResult r = RunHelper({"-f", dir.Write("job.xml", Job("daemon", "bin", link + "/target", 0640))});
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(StateOf(decoy + "/target"), "1 2 640 1\nuser::rw-\ngroup::r--\nother::---\n\n");
}

// A user who owns a folder on the path swaps the folder below it for a link to root's tree,
// once or in a loop against many helper runs: no run ever changes root's file.
TEST(HelperAttack, AnotherUsersLinkOnThePathIsNotFollowed) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string decoy = Decoy(dir);
  const uid_t attacker = FreshUser();
  const std::string theirs = dir / "theirs";
  ASSERT_EQ(::mkdir(theirs.c_str(), 0755), 0);
  ASSERT_EQ(::chown(theirs.c_str(), attacker, attacker), 0);
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  const std::string before = StateOf(decoy + "/target");
  const std::string job = dir.Write("job.xml", Job("daemon", "daemon", theirs + "/sub/target", 06777));

  // Planted once: the first change step refuses it, every time.
  ASSERT_EQ(Exec({"/bin/ln", "-s", decoy, theirs + "/sub"}, {.uid = attacker, .gid = attacker}).status, 0);
  const ProcessResult planted = RunHelper({"-f", job});
  EXPECT_EQ(planted.out, "Failed to set file owner to \"daemon\" on: " + theirs + "/sub/target\n");
  EXPECT_EQ(planted.status, 254);
  ASSERT_EQ(::unlink((theirs + "/sub").c_str()), 0);

  // Raced: the attacker's own program swaps a real folder for the link while the helper runs.
  ASSERT_EQ(::mkdir((theirs + "/sub").c_str(), 0755), 0);
  std::ofstream(theirs + "/sub/target") << "theirs";
  {
    const Background racer({LinkSwapperPath(), theirs, "sub", decoy}, {.uid = attacker, .gid = attacker});
    const std::vector<std::vector<std::string>> runs(200, {HelperPath(), "-f", job});
    int refused = 0;
    for (const ProcessResult& r : RunAll(runs, 4)) {
      EXPECT_EQ(r.status, 254) << r.out;
      refused += r.out.find("Failed to set file owner") == 0;
    }
    EXPECT_GT(refused, 0) << "the racer never put its link in place";
  }
  EXPECT_EQ(StateOf(decoy + "/target"), before);
}

// The bytes a configuration names are the bytes used: byte FF is not read as "ÿ", and a
// NUL byte refuses the job.
TEST(HelperAttack, TheBytesNamedAreTheBytesUsed) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string raw = dir.Write("x\xFF", "raw");
  const std::string read1252 = dir.Write("x\xC3\xBF", "decoy");
  const std::string joined = dir.Write("ab", "decoy");
  EXPECT_EQ(RunHelper({"-f", dir.Write("job.xml", Job("daemon", "bin", raw, 0640))}).status, 0);
  EXPECT_EQ(StateOf(raw), "1 2 640 1\nuser::rw-\ngroup::r--\nother::---\n\n");
  const ProcessResult nul = RunHelper({"-f", dir.Write("job.xml", Job("daemon", "bin", dir / std::string("a\0b", 3), 0640))});
  EXPECT_EQ(nul.out, "File not found: " + dir / "a%00b\n");
  EXPECT_EQ(nul.status, 254);
  for (const std::string& decoy : {read1252, joined}) {
    EXPECT_EQ(StateOf(decoy), "0 0 644 1\nuser::rw-\ngroup::r--\nother::r--\n\n");
  }
}

// A /proc that is no procfs, mounted in a private namespace with links to a decoy under
// every descriptor number: the mode still lands on the file found, the list is refused,
// and the decoy is untouched.
TEST(HelperAttack, AFakeProcSendsNoChangeElsewhere) {
  GRANTWRIGHT_REQUIRE_ROOT();
  if (Exec({"/usr/bin/unshare", "--mount", "--propagation", "private", "/bin/true"}).status != 0) {
    GTEST_SKIP() << "unshare --mount is refused here";
  }
  TempDir dir;
  const std::string decoy = Decoy(dir) + "/target";
  const std::string file = dir.Write("file", "x");
  const std::string script =
      "mount -t tmpfs fake /proc && mkdir -p /proc/self/fd /proc/sys/fs && echo 1 >/proc/sys/fs/protected_hardlinks"
      " && for n in 0 1 2 3 4 5 6 7 8 9; do ln -s \"$1\" /proc/self/fd/$n; done && shift && exec \"$@\"";
  const auto inFakeProc = [&](const std::vector<std::string>& args) {
    std::vector<std::string> argv{"/usr/bin/unshare", "--mount", "--propagation", "private", "/bin/sh", "-c",
                                  script, "sh", decoy, HelperPath()};
    argv.insert(argv.end(), args.begin(), args.end());
    return Exec(argv);
  };
  const std::string before = StateOf(decoy);
  const ProcessResult owner = inFakeProc({"-f", dir.Write("job.xml", Job("daemon", "bin", file, 0751))});
  EXPECT_EQ(owner.out, "");
  EXPECT_EQ(owner.status, 0);
  EXPECT_EQ(StateOf(file), "1 2 751 1\nuser::rwx\ngroup::r-x\nother::--x\n\n");
  const ProcessResult list = inFakeProc({"-a", "-f", dir.Write("job.xml", Job("", "", file, 0, "u:daemon:rwx\n"))});
  EXPECT_EQ(list.out, "Failed to set ACL on: " + file + "\n");
  EXPECT_EQ(list.status, 254);
  EXPECT_EQ(StateOf(decoy), before);
}

// With standard output closed the file found cannot take its number: the failure line goes
// to the log, and nothing is written into the file.
TEST(HelperAttack, AClosedStandardOutputLosesNoLine) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("file", "x");
  ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
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
  std::string old;
  std::ifstream("/proc/sys/fs/protected_hardlinks") >> old;
  if (old.empty() || Exec({"/usr/sbin/sysctl", "-qw", "fs.protected_hardlinks=0"}).status != 0) {
    GTEST_SKIP() << "fs.protected_hardlinks cannot be set here";
  }
  TempDir dir;
  const std::string decoy = Decoy(dir) + "/target";
  const std::string link = dir / "their-name";
  ASSERT_EQ(::link(decoy.c_str(), link.c_str()), 0);
  const ProcessResult r = RunHelper({"-f", dir.Write("job.xml", Job("daemon", "bin", link, 06777))});
  Exec({"/usr/sbin/sysctl", "-qw", "fs.protected_hardlinks=" + old});
  EXPECT_EQ(r.out, "Failed to set file owner to \"daemon\" on: " + link + "\n");
  EXPECT_EQ(r.status, 254);
  EXPECT_EQ(StateOf(decoy), "0 0 600 2\nuser::rw-\ngroup::---\nother::---\n\n");
}

}  // namespace
}  // namespace grantwright::testing
