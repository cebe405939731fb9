// Acting on the file system without being led astray: walks that stop at other users'
// folders and links, and changes that go to the item found, not to what took its path since.

#include "platform/OwnedFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/Descriptor.h"
#include "platform/FolderItem.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using Status = OwnedFolder::Status;

// Device and inode of what `fd` (or, with a path, `path`) holds.
std::pair<dev_t, ino_t> IdOf(int fd, const char* path = "") {
  struct stat st {};
  ::fstatat(fd, path, &st, path[0] ? 0 : AT_EMPTY_PATH);
  return {st.st_dev, st.st_ino};
}

// Every way a walk ends: folders and links of root and of this user are gone through to the
// folder they name, those of another user stop it with their path (also above folders that
// are root's), and anything that is no folder fails it. However it ends, it leaves open no descriptor but the folder's, also when
// another descriptor sits among the numbers it was given (which it must not close).
TEST(OwnedFolder, WalksOnlyThroughFoldersAndLinksOfRootOrItself) {
  GRANTWRIGHT_REQUIRE_ROOT();
  const passwd* nobody = ::getpwnam("nobody");
  ASSERT_NE(nobody, nullptr);
  TempDir dir;
  const std::string base = dir.path();
  ASSERT_EQ(::mkdir((dir / "mine").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir((dir / "theirs").c_str(), 0755), 0);
  ASSERT_EQ(::chown((dir / "theirs").c_str(), nobody->pw_uid, nobody->pw_gid), 0);
  // Folders of root's below theirs: only their ancestry can refuse them.
  ASSERT_EQ(::mkdir((dir / "theirs/owned").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir((dir / "theirs/owned/deeper").c_str(), 0755), 0);
  ASSERT_EQ(::symlink("mine", (dir / "my-link").c_str()), 0);
  ASSERT_EQ(::symlink((dir / "mine").c_str(), (dir / "my-absolute-link").c_str()), 0);
  ASSERT_EQ(::symlink("mine", (dir / "their-link").c_str()), 0);
  ASSERT_EQ(::lchown((dir / "their-link").c_str(), nobody->pw_uid, nobody->pw_gid), 0);
  ASSERT_EQ(::symlink("loop", (dir / "loop").c_str()), 0);
  dir.Write("file", "x");
  const struct { std::string path; bool create; Status status; std::string culprit = ""; } rows[] = {
      {base + "/mine", false, Status::kOpen},          {base + "//./mine/../mine/", false, Status::kOpen},
      {base + "/my-link", false, Status::kOpen},       {base + "/my-absolute-link/", false, Status::kOpen},
      {base + "/theirs", false, Status::kNotOwned, base + "/theirs"},
      {base + "/theirs/below", true, Status::kNotOwned, base + "/theirs"},
      {base + "/theirs/owned", false, Status::kNotOwned, base + "/theirs"},
      {base + "/theirs/owned/deeper", true, Status::kNotOwned, base + "/theirs"},
      {base + "/their-link", false, Status::kNotOwned, base + "/their-link"},
      {base + "/mine/missing", false, Status::kMissing}, {base + "/file", false, Status::kFailed},
      {base + "/file/below", true, Status::kFailed},   {base + "/loop", false, Status::kFailed},
      {"relative/path", true, Status::kFailed},        {"/", false, Status::kFailed},
  };
  for (const auto& row : rows) {
    for (const bool gap : {false, true}) {
      SCOPED_TRACE(row.path + (gap ? " after a gap" : ""));
      Descriptor freed(gap ? ::open("/", O_PATH) : -1);
      const Descriptor other(gap ? ::open("/", O_PATH) : -1);
      freed.Reset(-1);
      const std::vector<int> before = OpenDescriptors();
      {
        const OwnedFolder folder(row.path, row.create);
        EXPECT_EQ(folder.Result(), row.status);
        EXPECT_EQ(folder.Culprit(), row.culprit);
        if (!row.culprit.empty()) {
          EXPECT_EQ(folder.OwnerId(), nobody->pw_uid);
        }
        std::vector<int> open = before;
        if (row.status == Status::kOpen) {
          EXPECT_EQ(IdOf(folder.Descriptor()), IdOf(AT_FDCWD, (dir / "mine").c_str()));
          EXPECT_EQ(std::make_pair(folder.Id().device, folder.Id().inode), IdOf(folder.Descriptor()));
          open.insert(std::upper_bound(open.begin(), open.end(), folder.Descriptor()), folder.Descriptor());
        }
        EXPECT_EQ(folder.IsOpen(), folder.Descriptor() >= 0);
        EXPECT_EQ(OpenDescriptors(), open);
      }
      EXPECT_EQ(OpenDescriptors(), before);
    }
  }
  // Nothing was made below another user's folder or through a file.
  EXPECT_NE(::access((dir / "theirs/below").c_str(), F_OK), 0);
}

// Folders the walk makes are the process's own with mode 0700 whatever the umask, and can
// take files; a folder that was there keeps its mode.
TEST(OwnedFolder, MakesMissingFoldersPrivate) {
  TempDir dir;
  const mode_t umask = ::umask(0277);
  const OwnedFolder folder(dir / "a/b/c", true);
  ::umask(umask);
  ASSERT_TRUE(folder.IsOpen());
  EXPECT_TRUE(folder.IsWritable());
  const std::pair<std::string, mode_t> modes[] = {{dir / "a", 0700}, {dir / "a/b", 0700}, {dir / "a/b/c", 0700},
                                                   {dir.path(), 0755}};
  for (const auto& [path, mode] : modes) {
    struct stat st {};
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode) << path;
    EXPECT_EQ(st.st_uid, ::geteuid()) << path;
  }
  EXPECT_EQ(IdOf(folder.Descriptor()), IdOf(AT_FDCWD, (dir / "a/b/c").c_str()));

  // However deep the path, the walk holds only a few descriptors at a time.
  std::string deep = dir / "deep";
  for (int depth = 0; depth < 200; ++depth) deep += "/d";
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit few{OpenDescriptors().size() + 24, limit.rlim_max};  // about 24 free numbers
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  const bool walked = OwnedFolder(deep, true).IsOpen();
  ::setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_TRUE(walked);
}

// Owner, group and mode of `path`: "uid gid mode", the mode in octal.
std::string Ids(const std::string& path) { return Run({"/usr/bin/stat", "-c", "%u %g %a", path}).out; }

// Names the helper's runs do not try, the account lookup's own edges; and changes go to
// the item found first, not to another file that took its path since.
TEST(FolderItemChange, OwnerAndGroupByExactNameOrUnusedIdOnTheItemFoundFirst) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const FolderItemRef item = PathToFolderItem(file);
  const std::pair<std::string, std::string> cases[] = {  // the id the file then has; "": refused
      {"daemon", "1"}, {"4294967294", "4294967294"},
      {"DAEMON", ""},      // account names are exact
      {"4294967295", ""},  // all bits set would mean "leave it"
      {"+5", ""}, {"12a", ""}, {std::string("daemon\0x", 8), ""},
  };
  for (const auto& [name, id] : cases) {
    ASSERT_EQ(::chown(file.c_str(), 2, 2), 0);
    item->SetOwner(String(name, nullptr));
    EXPECT_EQ(item->LastErrorCode() == 0, !id.empty()) << name;
    item->SetGroup(String(name, nullptr));
    EXPECT_EQ(item->LastErrorCode() == 0, !id.empty()) << name;
    const std::string expected = id.empty() ? "2" : id;
    EXPECT_EQ(Ids(file), expected + " " + expected + " 644\n") << name;
  }

  const std::string path = dir.Write("g", "first");
  const FolderItemRef found = PathToFolderItem(path);
  ASSERT_TRUE(found->Locate());
  ASSERT_EQ(::rename(path.c_str(), (dir / "moved").c_str()), 0);
  dir.Write("g", "second");
  found->SetOwner("daemon");
  found->SetGroup("bin");
  found->SetPermissions(std::make_shared<Permissions>(0604));
  EXPECT_EQ(found->LastErrorCode(), 0);
  EXPECT_EQ(Ids(dir / "moved"), "1 2 604\n");
  EXPECT_EQ(Ids(path), "0 0 644\n");
}

}  // namespace
}  // namespace grantwright::testing
