// The helper as the parent program sees it: a command line and a configuration file, a
// real helper process, its output and status, and the file looked at afterwards. Every
// mode, across owner changes, goes through the helper in the round trip of tests/cli.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "config/ConfigurationFile.h"
#include "permissions/TraditionalPermissionsZRN.h"
#include "platform/UrlCoding.h"
#include "support/ExtraAccounts.h"
#include "support/TestSupport.h"
#include "tool/Jobs.h"

namespace grantwright::testing {
namespace {

TEST(Helper, WorkedExampleSetsOwnerGroupAndModeAndLeavesNamedEntries) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("notes v2.txt", "notes");
  ASSERT_EQ(::chown(file.c_str(), 65534, 65534), 0);
  Setfacl({"-m", "u:daemon:rwx,g:bin:r", file});
  // Written as the parent program writes it, "/" as %2F and the space as %20. The list is
  // for -a alone.
  const std::string xml =
      "<Config><Owner datatype=\"String\">root</Owner><Group datatype=\"String\">daemon</Group>"
      "<UnixFilePath datatype=\"String\">" + EncodingToURL(file).Bytes() + "</UnixFilePath>"
      "<PermsOwner datatype=\"Array\"><array_0 datatype=\"String\">read</array_0>"
      "<array_1 datatype=\"String\">write</array_1><array_2 datatype=\"String\">execute</array_2></PermsOwner>"
      "<PermsGroup datatype=\"Array\"><array_0 datatype=\"String\">read</array_0>"
      "<array_1 datatype=\"String\">execute</array_1></PermsGroup>"
      "<RawACLRights datatype=\"String\">user%3Asys%3Arwx</RawACLRights></Config>";
  const ProcessResult r = RunHelper({"-f", dir.Write("notes.xml", xml)});
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.status, 0);
  // chmod sets the mask from the group bits, as on any Linux system.
  EXPECT_EQ(StateOf(file), "0 1 750\nuser::rwx\nuser:daemon:rwx\ngroup::r--\ngroup:bin:r--\nmask::r-x\n"
                           "other::---\n\n");
}

TEST(Helper, AclModeRestoresTheListExactlyAndNothingElse) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string folder = dir / "d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  Setfacl({"-m", "u:daemon:rwx,g:bin:rx,m:rx", folder});
  Setfacl({"-d", "-m", "u::rwx,g::rx,o::-,u:sys:rwx,g:daemon:r", folder});
  // The configuration carries getfacl's whole output, header and effective rights and all.
  const std::string listing = ::grantwright::testing::Run({"/usr/bin/getfacl", folder}).out;
  const std::string wanted = Getfacl(folder);
  Setfacl({"-b", "-k", "-m", "u:nobody:rwx", folder});
  ASSERT_EQ(::chown(folder.c_str(), 2, 3), 0);
  ASSERT_EQ(::chmod(folder.c_str(), 07707), 0);
  const ProcessResult r = RunHelper({"-a", "-f", dir.Write("job.xml", Job("root", "root", folder, 0, listing))});
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.status, 0);
  // Owner, group and the set-id and sticky bits stay; the permission bits follow the list.
  EXPECT_EQ(StateOf(folder), "2 3 7755\n" + wanted);
}

// Every outcome short of success: the command line's, the configuration's and each step's,
// and the unhandled exception's ending. Links point at a root-owned file that must not
// change either.
TEST(Helper, EachFailureEndsWithItsLineAndStatus) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string job = dir / "job.xml";
  const std::string file = dir.Write("target file", "x");
  const std::string rootFile = dir.Write("root-owned", "x");
  const std::string link = dir / "link";
  ASSERT_EQ(::symlink(rootFile.c_str(), link.c_str()), 0);
  const std::string missing = dir / "missing";
  const std::string secret = dir.Write("secret.xml", "<r/>");
  ASSERT_EQ(::chmod(secret.c_str(), 0), 0);
  const std::string usage = "Unhandled or missing required arguments.\nFound Arguments: \n" + HelperPath() + "\n";
  const std::vector<std::string> many(20000, "\xFF\xFE-x");
  std::string manyOut = usage;
  for (const std::string& arg : many) manyOut += arg + "\n";
  const std::string cannotRead = "The chosen file cannot be read.\n\n";
  const std::string badXml = "Failed to read XML from config file!\n";
  const std::string unhandled = "Unhandled exception: NilObjectException\n";
  const RunOptions asNobody{.uid = 65534, .gid = 65534};
  struct Row {
    std::vector<std::string> args;
    std::string config;  // written to `job` before the run
    int status;
    std::string out;
    std::string log = "";  // what standard error must hold
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
      {{"-f", dir.path()}, "", 254, "Failed to read config file!\n",
       cannotRead + "Please ensure you have adequate permissions to access this file.\n"},
      {{"-f", "/dev/null"}, "", 254, "Failed to read config file!\n"},  // no regular file
      {{"-f", secret}, "", 254, "Failed to read config file!\n",
       cannotRead + "ReadContentsSmartZRN() failed as the file was not found or readable.\n", asNobody},
      {{"-f", job}, "", 254, badXml},
      // The configuration's size bound: up to it the file is read, past it not.
      {{"-f", job}, std::string(ConfigurationFile::kMaxBytes, ' '), 254, badXml},
      {{"-f", job}, std::string(ConfigurationFile::kMaxBytes + 1, ' '), 254, "Failed to read config file!\n",
       "Configuration file is larger than 16777216 bytes, not read: " + job + "\n"},
      {{"-f", job}, std::string(100000, '\0'), 254, badXml},
      {{"-f", job}, "<config><Owner datatype=\"String\">root</Own", 254, badXml},
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
      {{"-f", job}, Job("daemon", "daemon", link, 0777), 254,
       "Failed to set file owner to \"daemon\" on: " + link + "\n"},
      // -a without a usable list ends unhandled (each kind of unusable list: HelperOutcomeTest).
      {{"-a", "-f", job}, Job("", "", file, 0, "user:gw-no-such-user:rwx"), 253, unhandled, unhandled},
  };
  const std::string plain = " 604\nuser::rw-\ngroup::---\nother::r--\n\n";
  for (const Row& row : rows) {
    SCOPED_TRACE(row.out.substr(0, 200));
    for (const std::string& path : {file, rootFile}) {
      ASSERT_EQ(::chown(path.c_str(), 0, 0), 0);
      ASSERT_EQ(::chmod(path.c_str(), 0604), 0);
    }
    dir.Write("job.xml", row.config);
    RunOptions options = row.options;
    options.env.push_back("GRANTWRIGHT_LOG=stderr");
    const ProcessResult r = RunHelper(row.args, options);
    EXPECT_EQ(r.status, row.status);
    EXPECT_EQ(r.out, row.out);
    EXPECT_NE(r.err.find(row.log), std::string::npos) << r.err;
    EXPECT_EQ(StateOf(file), row.ids + plain);
    EXPECT_EQ(StateOf(rootFile), "0 0" + plain);
  }
}

// A folder whose access list fits but whose default list does not (on ext4 both share one
// attribute block: 300 named entries each are too many) keeps both lists as they were.
TEST(Helper, ListsThatDoNotBothFitLeaveTheFolderAsItWas) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string image = dir / "ext4.img";
  const std::string mounted = dir / "mnt";
  ASSERT_EQ(::mkdir(mounted.c_str(), 0755), 0);
  if (::grantwright::testing::Run({"/usr/bin/truncate", "-s", "16M", image}).status != 0 ||
      ::grantwright::testing::Run({"/sbin/mkfs.ext4", "-q", "-F", "-b", "4096", image}).status != 0 ||
      ::grantwright::testing::Run({"/bin/mount", "-o", "loop", image, mounted}).status != 0) {
    GTEST_SKIP() << "no loop device to mount an ext4 image on";
  }
  const struct Unmount {
    std::string path;
    ~Unmount() { ::grantwright::testing::Run({"/bin/umount", path}); }
  } unmount{mounted};
  const std::string folder = mounted + "/d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0750), 0);
  Setfacl({"-m", "u:daemon:rwx", "-d", "-m", "g:bin:r-x", folder});
  const std::string before = Getfacl(folder);
  std::string list;
  for (int i = 0; i < 300; ++i) {
    list += "user:" + std::to_string(300000 + i) + ":r--\ndefault:user:" + std::to_string(300000 + i) + ":r-x\n";
  }
  const ProcessResult r = RunHelper({"-a", "-f", dir.Write("job.xml", Job("", "", folder, 0, list))});
  EXPECT_EQ(r.out, "Failed to set ACL on: " + folder + "\n");
  EXPECT_EQ(r.status, 254);
  EXPECT_EQ(Getfacl(folder), before);
}

// Two things the kernel decides, and that mode tokens are read ignoring case. Setting a
// list on a set-group-id file keeps the bit for root, but a caller outside the file's group
// loses it, as with chmod. And "UID", "Gid", "STICKY", "Read" set their bits.
TEST(Helper, WhatTheKernelDecidesAndTokensInAnyCase) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  const std::string file = dir.Write("file", "x");
  const std::string list = "user::rwx\nuser:daemon:r--\ngroup::r-x\nmask::r-x\nother::---\n";
  const RunOptions asNobody{.uid = 65534, .gid = 65534};
  const struct {
    RunOptions options;
    const char* after;
  } cases[] = {
      {{}, "65534 0 2750"},       // root keeps set-group-id
      {asNobody, "65534 0 750"},  // nobody, outside group root, loses it
  };
  for (const auto& c : cases) {
    ASSERT_EQ(::chown(file.c_str(), 65534, 0), 0);
    ASSERT_EQ(::chmod(file.c_str(), 02700), 0);
    const ProcessResult r = RunHelper({"-a", "-f", dir.Write("job.xml", Job("", "", file, 0, list))}, c.options);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(StateOf(file), c.after + ("\n" + list) + "\n");
  }

  const std::string tokens =
      "<r><Owner datatype=\"String\">root</Owner><Group datatype=\"String\">root</Group>"
      "<UnixFilePath datatype=\"String\">" + EncodingToURL(file).Bytes() + "</UnixFilePath>"
      "<PermsOwner datatype=\"Array\"><array_0 datatype=\"String\">Read</array_0>"
      "<array_1 datatype=\"String\">WRITE</array_1></PermsOwner>"
      "<PermsOthers datatype=\"Array\"><array_0 datatype=\"String\">eXecute</array_0></PermsOthers>"
      "<PermsExtras datatype=\"Array\"><array_0 datatype=\"String\">UID</array_0>"
      "<array_1 datatype=\"String\">Gid</array_1><array_2 datatype=\"String\">STICKY</array_2></PermsExtras></r>";
  const ProcessResult r = RunHelper({"-f", dir.Write("job.xml", tokens)});
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(::grantwright::testing::Run({"/usr/bin/stat", "-c", "%a", file}).out, "7601\n");
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
  int ended = 0;
  int applied = 0;
  for (size_t limit = least; limit < least + (10u << 20); limit += 128 << 10) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"-f", job}, {"-a", "-f", job}, {"-f", wideJob}}) {
      const ProcessResult r = RunHelper(args, {.addressSpace = limit});
      if (r.status == 0 && r.out.empty()) {
        ++applied;
        continue;
      }
      ++ended;
      EXPECT_EQ(r.out, "Unhandled exception: OutOfMemoryException\n") << args[0] << " " << args.back() << " under " << limit;
      EXPECT_EQ(r.status, 253) << args[0] << " " << args.back() << " under " << limit;
    }
  }
  EXPECT_GT(ended, 0);
  EXPECT_GT(applied, 0);
}

// What a helper run did, as strace saw it: the programs it executed (itself first), the
// processes it started, and the files it opened.
struct Trace {
  std::vector<std::string> executed;
  int started = 0;
  std::vector<std::string> opened;
};

// The trace of a helper run with `args`, or why there is none (for a skip).
std::string TraceHelper(const std::vector<std::string>& args, ProcessResult& result, Trace& trace) {
#if defined(GRANTWRIGHT_SANITIZED)
  // Linked with the sanitizers' runtime the helper is not static (and LeakSanitizer stops a
  // traced process).
  return "the helper is not linked statically in this build";
#endif
  if (::access("/usr/bin/strace", X_OK) != 0) return "strace is not installed";
  if (Run({"/usr/bin/strace", "-o", "/dev/null", "/bin/true"}).status != 0) return "strace cannot trace here";
  TempDir dir;
  std::vector<std::string> argv{"/usr/bin/strace", "-f", "-qq", "-o", dir / "log",
                                "-e", "trace=execve,fork,vfork,clone,clone3,open,openat,openat2", HelperPath()};
  argv.insert(argv.end(), args.begin(), args.end());
  result = Run(argv);
  std::ifstream log(dir / "log");
  for (std::string line; std::getline(log, line);) {
    // "<pid> <call>(<arguments>": a resumed half of a call reads "<pid> <... call resumed>".
    const size_t nameAt = line.find_first_not_of("0123456789 ");
    const size_t open = line.find('(', nameAt);
    if (nameAt == std::string::npos || open == std::string::npos || line[nameAt] == '<') continue;
    const std::string name = line.substr(nameAt, open - nameAt);
    const size_t quote = line.find('"', open);
    const std::string path = quote == std::string::npos ? "" : line.substr(quote + 1, line.find('"', quote + 1) - quote - 1);
    if (name.rfind("syscall_", 0) == 0) {
      continue;  // a call this strace knows by number only (fchmodat2) passes any filter
    } else if (name == "execve") {
      trace.executed.push_back(path);
    } else if (name.rfind("open", 0) == 0) {
      trace.opened.push_back(path);
    } else {
      ++trace.started;
    }
  }
  return "";
}

// An account and a group that only a second source of the account database knows are
// named in a configuration: the helper sets them, asking that source apart from itself,
// and `grantwright capture` writes the names back.
TEST(Helper, NamesAnAccountOnlyASecondSourceKnows) {
  const std::string name = "gw19x" + std::to_string(::getpid());
  const uint32_t id = 1900000 + static_cast<uint32_t>(::getpid() % 100000);
  const ExtraAccounts accounts(name, id);
  if (!accounts.unavailable().empty()) GTEST_SKIP() << accounts.unavailable();
  TempDir dir;
  const std::string file = dir.Write("file", "x");
  const std::string job = dir.Write("job.xml", Job(name, name, file, 0640));
  ProcessResult r;
  Trace trace;
  const std::string noTrace = TraceHelper({"-f", job}, r, trace);
  if (!noTrace.empty()) r = RunHelper({"-f", job});
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(StateOf(file), std::to_string(id) + " " + std::to_string(id) + " 640\nuser::rw-\ngroup::r--\nother::---\n\n");
  if (noTrace.empty()) {
    // One question for the owner and one for the group, each to getent.
    EXPECT_EQ(trace.executed, (std::vector<std::string>{HelperPath(), "/usr/bin/getent", "/usr/bin/getent"}));
  }
  const ProcessResult captured = ::grantwright::testing::Run({CommandPath(), "capture", file});
  EXPECT_EQ(captured.status, 0) << captured.err;
  EXPECT_NE(captured.out.find("<Owner datatype=\"String\">" + name + "</Owner>"), std::string::npos) << captured.out;
  EXPECT_NE(captured.out.find("<Group datatype=\"String\">" + name + "</Group>"), std::string::npos) << captured.out;
}

// Names the files hold cost nothing more: no process, no file beyond those the job needs.
TEST(Helper, AFilesOnlyRunStartsNoProcessAndReadsNothingMore) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("file", "x");
  ProcessResult r;
  Trace trace;
  const std::string noTrace =
      TraceHelper({"-f", dir.Write("job.xml", Job("daemon", "nogroup", file, 0600, "user:bin:r--\ngroup:sys:r--"))}, r, trace);
  if (!noTrace.empty()) GTEST_SKIP() << noTrace;
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(trace.executed, std::vector<std::string>{HelperPath()});
  EXPECT_EQ(trace.started, 0);
  // The preference store is opened one name at a time from "/": its first folder by its
  // absolute path, then each name below it relative to the folder before. A first run also
  // opens the folders it makes ("."), the file's lock and its temporary file.
  std::vector<std::string> store;
  std::istringstream names(std::string(std::getenv("XDG_CONFIG_HOME")) +
                           "/grantwright/preferences/com.tarnvale.Grantwright.plist");
  for (std::string name; std::getline(names, name, '/');) {
    if (!name.empty()) store.push_back(store.empty() ? "/" + name : name);
  }
  store.insert(store.end(), {".", store.back() + ".lock", store.back() + ".tmp"});
  // The account files are read once each, by the helper itself: not even nsswitch.conf is
  // read, also not by libacl as it reads the list.
  int accountReads = 0;
  for (const std::string& path : trace.opened) {
    if ((path == "/etc/passwd" || path == "/etc/group") && ++accountReads <= 2) continue;
    if (path.rfind(dir.path() + "/", 0) == 0) continue;
    if (std::find(store.begin(), store.end(), path) != store.end()) continue;
    ADD_FAILURE() << "opened " << path;
  }
}

}  // namespace
}  // namespace grantwright::testing
