// The helper's job as the parent program sees it: a configuration file, a real helper
// process, and the file looked at afterwards. Every mode, across owner changes, goes
// through the helper in tests/cli/RoundTripTest.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "permissions/TraditionalPermissionsZRN.h"
#include "platform/UrlCoding.h"
#include "support/TestSupport.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

// A job as `grantwright capture` writes it; an empty text is written as an empty value.
struct JobConfig {
  std::string owner = "", group = "", path = "", acl = "";
  uint32_t mode = 0;
};

std::string ConfigXml(const JobConfig& job) {
  TraditionalPermissionsZRN record;
  record.Owner = job.owner;
  record.Group = job.group;
  record.UnixFilePath = job.path;
  record.xPermissions = std::make_shared<Permissions>(job.mode);
  const DictionaryRef dict = record.GetDictionary();
  if (!job.acl.empty()) dict->SetValue("RawACLRights", String(job.acl));
  return XMLExtension::AsXMLStringFromDictionaryZRN(dict, "Permissions").Bytes();
}

struct FileState {
  unsigned uid;
  unsigned gid;
  unsigned mode;
  std::string acl;
  friend bool operator==(const FileState&, const FileState&) = default;
};

FileState StateOf(const std::string& path) {
  struct stat st {};
  EXPECT_EQ(::lstat(path.c_str(), &st), 0) << path;
  const bool link = S_ISLNK(st.st_mode);
  return {st.st_uid, st.st_gid, st.st_mode & 07777u, link ? std::string() : Getfacl(path)};
}

void PrepareFile(const std::string& path, uid_t uid, gid_t gid, mode_t mode) {
  ASSERT_EQ(::chown(path.c_str(), uid, gid), 0);
  ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

ProcessResult RunJob(const TempDir& dir, const JobConfig& config, bool acl = false,
                     const RunOptions& options = {}) {
  const std::string cfg = dir.Write("job.xml", ConfigXml(config));
  return acl ? RunHelper({"-a", "-f", cfg}, options) : RunHelper({"-f", cfg}, options);
}

TEST(HelperJob, WorkedExampleSetsOwnerGroupAndMode) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("notes v2.txt", "notes");
  PrepareFile(file, 65534, 65534, 0606);
  // Written as the parent program writes it, "/" as %2F and the space as %20.
  std::string xml =
      "<Config><Owner datatype=\"String\">root</Owner>"
      "<Group datatype=\"String\">daemon</Group>"
      "<UnixFilePath datatype=\"String\">" + EncodingToURL(file).Bytes() + "</UnixFilePath>"
      "<PermsOwner datatype=\"Array\"><array_0 datatype=\"String\">read</array_0>"
      "<array_1 datatype=\"String\">write</array_1><array_2 datatype=\"String\">execute</array_2>"
      "</PermsOwner><PermsGroup datatype=\"Array\"><array_0 datatype=\"String\">read</array_0>"
      "<array_1 datatype=\"String\">execute</array_1></PermsGroup></Config>";
  const ProcessResult r = RunHelper({"-f", dir.Write("notes.xml", xml)});
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.status, 0);
  const FileState after = StateOf(file);
  EXPECT_EQ(after.uid, 0u);
  EXPECT_EQ(after.gid, 1u);
  EXPECT_EQ(after.mode, 0750u);
}

TEST(HelperJob, AclModeRestoresTheListExactlyAndNothingElse) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const std::string folder = dir / "d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  Setfacl({"-m", "u:daemon:rw,u:bin:r,g:daemon:rwx,g:sys:r,m:rw", file});
  Setfacl({"-m", "u:daemon:rwx,g:bin:rx", folder});
  Setfacl({"-d", "-m", "u::rwx,g::rx,o::-,u:sys:rwx,g:daemon:r", folder});

  for (const std::string& target : {file, folder}) {
    SCOPED_TRACE(target);
    // The configuration carries getfacl's whole output, header and all.
    const ProcessResult listing = ::grantwright::testing::Run({"/usr/bin/getfacl", target});
    const std::string wanted = Getfacl(target);
    Setfacl({"-b", "-k", "-m", "u:nobody:rwx", target});
    PrepareFile(target, 2, 3, 07707);
    const ProcessResult r = RunJob(dir, {.owner = "root", .group = "root", .path = target,
                                         .acl = listing.out}, true);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.status, 0);
    const FileState after = StateOf(target);
    EXPECT_EQ(after.acl, wanted);
    EXPECT_EQ(after.uid, 2u);  // owner, group and the set-id and sticky bits are not touched
    EXPECT_EQ(after.gid, 3u);
    EXPECT_EQ(after.mode & 07000u, 07000u);
  }
}

TEST(HelperJob, OwnerModeLeavesNamedEntriesAlone) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  Setfacl({"-m", "u:daemon:rwx,g:bin:r", file});
  const ProcessResult r = RunJob(dir, {.owner = "bin", .group = "sys", .path = file,
                                       .acl = "user:sys:rwx\n", .mode = 0640});
  EXPECT_EQ(r.status, 0);
  const FileState after = StateOf(file);
  EXPECT_EQ(after.uid, 2u);
  EXPECT_EQ(after.gid, 3u);
  EXPECT_EQ(after.mode, 0640u);
  // chmod sets the mask from the group bits, as on any Linux system.
  EXPECT_EQ(after.acl, "user::rw-\nuser:daemon:rwx\ngroup::r--\ngroup:bin:r--\nmask::r--\n"
                       "other::---\n\n");
}

TEST(HelperJob, EachFailureEndsWithItsLine) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("target file", "x");
  const std::string rootFile = dir.Write("root-owned", "x");
  const std::string link = dir / "link";
  ASSERT_EQ(::symlink(rootFile.c_str(), link.c_str()), 0);
  const std::string missing = dir / "missing";
  const RunOptions asNobody{.uid = 65534, .gid = 65534};
  const RunOptions noChmod{.refusedSyscalls = {SYS_chmod, SYS_fchmodat}};

  const struct {
    const char* name;
    JobConfig config;
    bool acl;
    RunOptions options;
    std::string line;
    FileState after;  // of `file`
  } rows[] = {
      {"missing file", {.owner = "daemon", .group = "daemon", .path = missing, .mode = 0644},
       false, {}, "File not found: " + missing, {0, 0, 0604, ""}},
      {"no path", {.owner = "daemon", .group = "daemon", .mode = 0644}, false, {},
       "File not found: ", {0, 0, 0604, ""}},
      {"missing file, list", {.path = missing, .acl = "user:daemon:r--"}, true, {},
       "File not found: " + missing, {0, 0, 0604, ""}},
      {"unknown owner", {.owner = "gw-no-such-user", .group = "daemon", .path = file}, false,
       {}, "Failed to set file owner to \"gw-no-such-user\" on: " + file, {0, 0, 0604, ""}},
      {"empty owner", {.owner = "", .group = "daemon", .path = file}, false, {},
       "Failed to set file owner to \"\" on: " + file, {0, 0, 0604, ""}},
      {"unknown group", {.owner = "daemon", .group = "gw-no-such-group", .path = file}, false,
       {}, "Failed to set file group to \"gw-no-such-group\" on: " + file, {1, 0, 0604, ""}},
      {"no group key", {.owner = "daemon", .path = file, .mode = 0777}, false, {},
       "Failed to set file group to \"\" on: " + file, {1, 0, 0604, ""}},
      {"mode refused", {.owner = "daemon", .group = "bin", .path = file, .mode = 0777}, false,
       noChmod, "Failed to set file permissions on: " + file, {1, 2, 0604, ""}},
      {"list refused", {.path = file, .acl = "user:daemon:rwx"}, true, asNobody,
       "Failed to set ACL on: " + file, {0, 0, 0604, ""}},
      {"list on a link", {.path = link, .acl = "user:daemon:rwx"}, true, {},
       "Failed to set ACL on: " + link, {0, 0, 0604, ""}},
      {"owner on a link", {.owner = "daemon", .group = "daemon", .path = link, .mode = 0777},
       false, {}, "Failed to set file owner to \"daemon\" on: " + link, {0, 0, 0604, ""}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PrepareFile(file, 0, 0, 0604);
    PrepareFile(rootFile, 0, 0, 0604);
    Setfacl({"-b", file});
    const FileState rootBefore = StateOf(rootFile);
    const ProcessResult r = RunJob(dir, row.config, row.acl, row.options);
    EXPECT_EQ(r.out, row.line + "\n");
    EXPECT_EQ(r.status, 254);
    FileState expected = row.after;
    expected.acl = "user::rw-\ngroup::---\nother::r--\n\n";
    EXPECT_EQ(StateOf(file), expected);
    EXPECT_EQ(StateOf(rootFile), rootBefore);
  }
}

TEST(HelperJob, AclModeWithoutAUsableListEndsUnhandled) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  PrepareFile(file, 1, 1, 0640);
  const FileState before = StateOf(file);
  const JobConfig configs[] = {
      {.owner = "root", .group = "root", .path = file, .mode = 0777},
      {.path = file, .acl = "user:gw-no-such-user:rwx"},
      {.path = file, .acl = "\n# nothing\n"},
  };
  for (const JobConfig& config : configs) {
    const ProcessResult r = RunJob(dir, config, true, {.env = {"GRANTWRIGHT_LOG=stderr"}});
    EXPECT_EQ(r.out, "Unhandled exception: NilObjectException\n");
    EXPECT_NE(r.err.find("Unhandled exception: NilObjectException\n"), std::string::npos);
    EXPECT_EQ(r.status, 253);
    EXPECT_EQ(StateOf(file), before);
  }
}

}  // namespace
}  // namespace grantwright::testing
