// The helper as the parent program sees it: a command line and a configuration file, a
// real helper process, its output and status, and the file looked at afterwards. Every
// mode, across owner changes, goes through the helper in the round trip of tests/cli.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <regex>
#include <sstream>

#include "config/ConfigurationFile.h"
#include "platform/UrlCoding.h"
#include "support/ExtraAccounts.h"
#include "support/TestSupport.h"
#include "tool/Jobs.h"

namespace grantwright::testing {
namespace {

// Each branch changes its own part and nothing else. Without -a, a configuration written as
// the parent program writes it ("/" as %2F, the space as %20; mode tokens in any case) sets
// owner, group and mode; the list is for -a alone, the named entries stay, and chmod sets
// the mask from the group bits, as on any Linux system.
TEST(Helper, EachBranchSetsItsOwnPartAndLeavesTheRest) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("notes v2.txt", "notes");
  ASSERT_EQ(::chown(file.c_str(), 65534, 65534), 0);
  Setfacl({"-m", "u:daemon:rwx,g:bin:r", file});
  const std::string xml =
      "<Config><Owner datatype=\"String\">root</Owner><Group datatype=\"String\">daemon</Group>"
      "<UnixFilePath datatype=\"String\">" + EncodingToURL(file).Bytes() + "</UnixFilePath>"
      "<PermsOwner datatype=\"Array\"><array_0 datatype=\"String\">Read</array_0>"
      "<array_1 datatype=\"String\">WRITE</array_1><array_2 datatype=\"String\">execute</array_2></PermsOwner>"
      "<PermsGroup datatype=\"Array\"><array_0 datatype=\"String\">read</array_0>"
      "<array_1 datatype=\"String\">execute</array_1></PermsGroup>"
      "<PermsOthers datatype=\"Array\"><array_0 datatype=\"String\">eXecute</array_0></PermsOthers>"
      "<PermsExtras datatype=\"Array\"><array_0 datatype=\"String\">UID</array_0>"
      "<array_1 datatype=\"String\">Gid</array_1><array_2 datatype=\"String\">STICKY</array_2></PermsExtras>"
      "<RawACLRights datatype=\"String\">user%3Asys%3Arwx</RawACLRights></Config>";
  const ProcessResult r = RunHelper({"-f", dir.Write("notes.xml", xml)});
  EXPECT_EQ(r.out + std::to_string(r.status), "0");
  EXPECT_EQ(StateOf(file), "0 1 7751\nuser::rwx\nuser:daemon:rwx\ngroup::r--\ngroup:bin:r--\nmask::r-x\n"
                           "other::--x\n\n");

  // -a restores the list from getfacl's whole output, header and effective rights and all.
  // Owner, group and, for root, the set-id and sticky bits stay; the permission bits follow
  // the list. A caller outside the file's group loses set-group-id, as with chmod.
  const std::string folder = dir / "d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  Setfacl({"-m", "u:daemon:rwx,g:bin:rx,m:rx", folder});
  Setfacl({"-d", "-m", "u::rwx,g::rx,o::-,u:sys:rwx,g:daemon:r", folder});
  const std::string listing = ::grantwright::testing::Run({"/usr/bin/getfacl", folder}).out;
  const std::string wanted = Getfacl(folder);
  Setfacl({"-b", "-k", "-m", "u:nobody:rwx", folder});
  ASSERT_EQ(::chown(folder.c_str(), 2, 3), 0);
  ASSERT_EQ(::chmod(folder.c_str(), 07707), 0);
  const ProcessResult list = RunHelper({"-a", "-f", dir.Write("job.xml", Job("root", "root", folder, 0, listing))});
  EXPECT_EQ(list.out + std::to_string(list.status), "0");
  EXPECT_EQ(StateOf(folder), "2 3 7755\n" + wanted);

  ASSERT_EQ(::chown(file.c_str(), 65534, 0), 0);
  ASSERT_EQ(::chmod(file.c_str(), 02700), 0);
  const std::string entries = "user::rwx\nuser:daemon:r--\ngroup::r-x\nmask::r-x\nother::---\n";
  const ProcessResult nobody =
      RunHelper({"-a", "-f", dir.Write("job.xml", Job("", "", file, 0, entries))}, {.uid = 65534, .gid = 65534});
  EXPECT_EQ(nobody.out + std::to_string(nobody.status), "0");
  EXPECT_EQ(StateOf(file), "65534 0 750\n" + entries + "\n");
}

// Every outcome short of success: the command line's, the configuration's and each step's,
// and the unhandled exception's ending (a final link: HelperAttackTest). Each row runs
// twice, the second time with standard output closed.
TEST(Helper, EachFailureEndsWithItsLineAndStatus) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string job = dir / "job.xml";
  const std::string file = dir.Write("target file", "x");
  const std::string missing = dir / "missing";
  const std::string secret = dir.Write("secret.xml", "<r/>");
  ASSERT_EQ(::chmod(secret.c_str(), 0), 0);
  const std::string usage = "Unhandled or missing required arguments.\nFound Arguments: \n" + HelperPath() + "\n";
  const std::vector<std::string> many(20000, "\xFF\xFE-x");
  std::string manyOut = usage;
  for (const std::string& arg : many) manyOut += arg + "\n";
  const std::string cannotRead = "The chosen file cannot be read.\n\n";
  const std::string unreadable = cannotRead + "Please ensure you have adequate permissions to access this file.\n";
  const std::string badXml = "Failed to read XML from config file!\n";
  const std::string unhandled = "Unhandled exception: NilObjectException\n";
  const RunOptions asNobody{.uid = 65534, .gid = 65534};
  struct Row {
    std::vector<std::string> args;
    std::string config;  // written to `job` before the run
    int status;
    std::string out, log = "";  // log: the lines logged before `out`, on standard error
    RunOptions options = {};
    const char* ids = "0 0";  // of `file` afterwards: the changes made before the failure
  };
  const Row rows[] = {
      {{}, "", 255, usage},
      {{"x", "-A", "\xFF\xC3"}, "", 255, usage + "x\n-A\n\xFF\xC3\n"},
      {many, "", 255, manyOut},
      {{"-a", "-f"}, "", 255, "Missing path argument\n"},
      {{"-F"}, "", 255, "Missing path argument\n"},
      {{"-f", "/no/such/\xFF"}, "", 254, "Missing config file!\n"},
      {{"-F", "/no/such", "-f", job}, "", 254, "Missing config file!\n"},  // the scan ends at the first -f
      {{"-f", "-a", job}, "", 254, "Missing config file!\n"},              // "-a" is the path here
      {{"-f", dir.path()}, "", 254, "Failed to read config file!\n", unreadable},
      {{"-f", "/dev/null"}, "", 254, "Failed to read config file!\n", unreadable},  // no regular file
      {{"-f", secret}, "", 254, "Failed to read config file!\n",
       cannotRead + "ReadContentsSmartZRN() failed as the file was not found or readable.\n", asNobody},
      {{"-f", job}, "", 254, badXml},
      // The configuration's size bound: up to it the file is read, past it not.
      {{"-f", job}, std::string(ConfigurationFile::kMaxBytes, ' '), 254, badXml,
       "The string could not be parsed as XML.\n\nDefaults will be used if applicable.\n\nError Code: 16\n"},
      {{"-f", job}, std::string(ConfigurationFile::kMaxBytes + 1, ' '), 254, "Failed to read config file!\n",
       "Configuration file is larger than 16777216 bytes, not read: " + job + "\n"},
      {{"-f", job}, std::string(100000, '\0'), 254, badXml},
      {{"-f", job}, Job("daemon", "daemon", missing, 0644), 254, "File not found: " + missing + "\n"},
      {{"-f", job}, Job("daemon", "daemon", "", 0644), 254, "File not found: \n"},
      {{"-a", "-f", job}, Job("", "", missing, 0, "user:daemon:r--"), 254, "File not found: " + missing + "\n"},
      {{"-f", job}, Job("gw-no-such-user", "daemon", file, 0), 254,
       "Failed to set file owner to \"gw-no-such-user\" on: " + file + "\n"},
      {{"-f", job}, Job("", "daemon", file, 0), 254, "Failed to set file owner to \"\" on: " + file + "\n"},
      {{"-f", job}, Job("daemon", "", file, 0777), 254,
       "Failed to set file group to \"\" on: " + file + "\n", "", {}, "1 0"},
      {{"-a", "-f", job}, Job("", "", file, 0, "user:daemon:rwx"), 254,
       "Failed to set ACL on: " + file + "\n", "", asNobody},
      // -a without a usable list ends unhandled (each kind of unusable list: HelperOutcomeTest).
      {{"-a", "-f", job}, Job("", "", file, 0, "user:gw-no-such-user:rwx"), 253, unhandled, unhandled},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.out.substr(0, 200));
    ASSERT_EQ(::chown(file.c_str(), 0, 0), 0);
    ASSERT_EQ(::chmod(file.c_str(), 0604), 0);
    dir.Write("job.xml", row.config);
    RunOptions options = row.options;
    options.env.push_back("GRANTWRIGHT_LOG=stderr");
    const ProcessResult r = RunHelper(row.args, options);
    EXPECT_EQ(r.out + std::to_string(r.status), row.out + std::to_string(row.status));
    EXPECT_EQ(r.err, row.log);
    // With standard input and output closed the line goes to the log instead.
    std::vector<std::string> closed{"/bin/sh", "-c", "exec \"$0\" \"$@\" <&- >&-", HelperPath()};
    closed.insert(closed.end(), row.args.begin(), row.args.end());
    const ProcessResult c = ::grantwright::testing::Run(closed, options);
    EXPECT_EQ(c.out + c.err + std::to_string(c.status), row.log + row.out + std::to_string(row.status));
    EXPECT_EQ(StateOf(file), row.ids + std::string(" 604\nuser::rw-\ngroup::---\nother::r--\n\n"));
  }
  // Nor does the file found take standard output's number: nothing was written into it.
  EXPECT_EQ(::grantwright::testing::Run({"/bin/cat", file}).out, "x");
}

// A folder whose access list fits but whose default list does not (on ext4 both share one
// attribute block: 300 named entries each are too many) keeps both lists as they were.
TEST(Helper, ListsThatDoNotBothFitLeaveTheFolderAsItWas) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string image = dir / "ext4.img";
  const std::string mounted = dir / "mnt";
  if (::grantwright::testing::Run({"/bin/sh", "-c", "/bin/mkdir \"$1\" && /usr/bin/truncate -s 16M \"$0\" && /sbin/mkfs.ext4 -q -F"
                                   " -b 4096 \"$0\" && /bin/mount -o loop \"$0\" \"$1\"", image, mounted}).status != 0) {
    GTEST_SKIP() << "no loop device to mount an ext4 image on";
  }
  const std::shared_ptr<void> unmount(nullptr, [&](void*) { ::grantwright::testing::Run({"/bin/umount", mounted}); });
  const std::string folder = mounted + "/d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0750), 0);
  Setfacl({"-m", "u:daemon:rwx", "-d", "-m", "g:bin:r-x", folder});
  const std::string before = Getfacl(folder);
  std::string list;
  for (int i = 300000; i < 300300; ++i) list += "user:" + std::to_string(i) + ":r--\ndefault:user:" + std::to_string(i) + ":r-x\n";
  const ProcessResult r = RunHelper({"-a", "-f", dir.Write("job.xml", Job("", "", folder, 0, list))});
  EXPECT_EQ(r.out + std::to_string(r.status), "Failed to set ACL on: " + folder + "\n254");
  EXPECT_EQ(Getfacl(folder), before);
}

// Running short of memory anywhere in a run ends it as the unhandled exception, never as a
// fault of the configuration, the list or the accounts. The helper runs under address
// space limits (ulimit -v) from the least it starts with to more than the job needs.
TEST(Helper, RunningOutOfMemoryEndsUnhandledAtEveryLimit) {
#if defined(GRANTWRIGHT_SANITIZED)
  GTEST_SKIP() << "the sanitizers reserve more address space than the limits tried here";
#endif
  TempDir dir;
  const std::string file = dir.Write("file", "x");
  // Some 400 kB of keys besides the record's: the parse is where most limits stop it.
  std::string xml = Job(std::to_string(::getuid()), std::to_string(::getgid()), file, 0640, "user:daemon:r--\n");
  std::string keys;
  for (int i = 0; i < 10000; ++i) keys += "<K" + std::to_string(i) + " datatype=\"String\">v</K" + std::to_string(i) + ">";
  xml.insert(xml.rfind("</r>"), keys);
  const std::string job = dir.Write("job.xml", xml);
  // The same job in UTF-16: its decoding must not be where memory running short looks like
  // a bad file.
  std::string wide = "\xFF\xFE";
  for (char c : xml) wide += {c, '\0'};
  const std::string wideJob = dir.Write("job16.xml", wide);
  // Below some limit the program's own image does not fit; a missing configuration, its
  // first failure, finds that limit.
  const size_t least = LeastAddressSpace({HelperPath(), "-f", dir / "missing"}, 254);
  ASSERT_GT(least, 0u);
  int ended = 0, applied = 0;
  for (size_t limit = least; limit < least + (10u << 20); limit += 128 << 10) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"-f", job}, {"-a", "-f", job}, {"-f", wideJob}}) {
      const ProcessResult r = RunHelper(args, {.addressSpace = limit});
      const bool applies = r.status == 0 && r.out.empty();
      ++(applies ? applied : ended);
      if (!applies) {
        EXPECT_EQ(r.out + std::to_string(r.status), "Unhandled exception: OutOfMemoryException\n253")
            << args[0] << " " << args.back() << " under " << limit;
      }
    }
  }
  EXPECT_GT(ended, 0);
  EXPECT_GT(applied, 0);
}

// A helper run with `args` as strace sees it: the programs it executed (itself first), the
// files it opened and the processes it started. Where it cannot be traced, the helper just
// runs, and `unavailable` tells why (for a skip).
struct Trace {
  ProcessResult result;
  std::string unavailable;
  std::vector<std::string> executed, opened;
  int started = 0;
};

Trace TraceHelper(const std::vector<std::string>& args) {
  Trace trace;
#if defined(GRANTWRIGHT_SANITIZED)
  // Linked with the sanitizers' runtime the helper is not static (and LeakSanitizer stops a
  // traced process).
  trace.unavailable = "the helper is not linked statically in this build";
#else
  if (::access("/usr/bin/strace", X_OK) != 0) trace.unavailable = "strace is not installed";
  else if (Run({"/usr/bin/strace", "-o", "/dev/null", "/bin/true"}).status != 0) trace.unavailable = "strace cannot trace here";
#endif
  TempDir dir;
  std::vector<std::string> argv{"/usr/bin/strace", "-f", "-qq", "-o", dir / "log",
                                "-e", "trace=execve,fork,vfork,clone,clone3,open,openat,openat2", HelperPath()};
  if (!trace.unavailable.empty()) argv.erase(argv.begin(), argv.end() - 1);  // the helper alone, and no log
  argv.insert(argv.end(), args.begin(), args.end());
  trace.result = Run(argv);
  std::ifstream log(dir / "log");
  // "<pid> <call>(<arguments>", the path the first quoted one; a resumed half of a call
  // reads "<pid> <... call resumed>" and is passed over.
  static const std::regex call(R"re(^\d+ +(\w+)\((?:[^"]*"([^"]*)")?)re");
  std::smatch m;
  for (std::string line; std::getline(log, line);) {
    // A call this strace knows by number only (fchmodat2) passes any filter.
    if (!std::regex_search(line, m, call) || m.str(1).rfind("syscall_", 0) == 0) continue;
    if (m.str(1) == "execve" || m.str(1).rfind("open", 0) == 0) {
      (m.str(1) == "execve" ? trace.executed : trace.opened).push_back(m.str(2));
    } else {
      ++trace.started;
    }
  }
  return trace;
}

// Names the files hold cost nothing more: no process, no file beyond those the job needs.
// An account and a group that only a second source of the account database knows are set
// too, asking that source apart from the helper, and `grantwright capture` writes the
// names back.
TEST(Helper, OnlyNamesTheFilesLackAreAskedForElsewhere) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("file", "x");
  const Trace files = TraceHelper({"-f", dir.Write("job.xml", Job("daemon", "nogroup", file, 0600, "user:bin:r--\ngroup:sys:r--"))});
  EXPECT_EQ(files.result.out + std::to_string(files.result.status), "0");
  if (files.unavailable.empty()) {
    EXPECT_EQ(files.executed, std::vector<std::string>{HelperPath()});
    EXPECT_EQ(files.started, 0);
  }
  // The preference store's folder is opened by its whole path once it exists, or else one
  // name at a time from "/": its first folder by its absolute path, then each name below it
  // relative to the folder before. A first run also opens the folders it makes ("."), the
  // file's lock and its temporary file.
  const std::string folder = std::getenv("XDG_CONFIG_HOME") + std::string("/grantwright/preferences");
  std::vector<std::string> store{folder};
  std::istringstream names(folder + "/com.tarnvale.Grantwright.plist");
  for (std::string name; std::getline(names, name, '/');) {
    if (!name.empty()) store.push_back(store.size() == 1 ? "/" + name : name);
  }
  store.insert(store.end(), {".", store.back() + ".lock", store.back() + ".tmp"});
  // The account files are read once each, by the helper itself: not even nsswitch.conf is
  // read, also not by libacl as it reads the list.
  int accountReads = 0;
  for (const std::string& path : files.opened) {
    const bool account = (path == "/etc/passwd" || path == "/etc/group") && ++accountReads <= 2;
    EXPECT_TRUE(account || path.rfind(dir.path() + "/", 0) == 0 || std::ranges::count(store, path)) << "opened " << path;
  }

  const std::string name = "gw19x" + std::to_string(::getpid());
  const uint32_t id = 1900000 + static_cast<uint32_t>(::getpid() % 100000);
  const ExtraAccounts accounts(name, id);
  if (!accounts.unavailable().empty()) GTEST_SKIP() << accounts.unavailable();
  const Trace extra = TraceHelper({"-f", dir.Write("job.xml", Job(name, name, file, 0640))});
  EXPECT_EQ(extra.result.out + std::to_string(extra.result.status), "0");
  EXPECT_EQ(StateOf(file), std::to_string(id) + " " + std::to_string(id) + " 640\nuser::rw-\ngroup::r--\nother::---\n\n");
  if (extra.unavailable.empty()) {
    // One question for the owner and one for the group, each to getent.
    EXPECT_EQ(extra.executed, (std::vector<std::string>{HelperPath(), "/usr/bin/getent", "/usr/bin/getent"}));
  }
  const ProcessResult captured = ::grantwright::testing::Run({CommandPath(), "capture", file});
  EXPECT_EQ(captured.status, 0) << captured.err;
  EXPECT_NE(captured.out.find("<Owner datatype=\"String\">" + name + "</Owner>"), std::string::npos) << captured.out;
  EXPECT_NE(captured.out.find("<Group datatype=\"String\">" + name + "</Group>"), std::string::npos) << captured.out;
  if (!files.unavailable.empty()) GTEST_SKIP() << files.unavailable;
}

}  // namespace
}  // namespace grantwright::testing
