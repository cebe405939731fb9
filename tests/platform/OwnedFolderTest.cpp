#include "platform/OwnedFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Every way a walk ends: folders and links of root and of this user are gone through,
// those of another user stop it with their path, and anything that is no folder fails it.
TEST(OwnedFolder, WalksOnlyThroughFoldersAndLinksOfRootOrItself) {
  GRANTWRIGHT_REQUIRE_ROOT();
  const passwd* nobody = ::getpwnam("nobody");
  ASSERT_NE(nobody, nullptr);
  TempDir dir;
  const std::string base = dir.path();
  ASSERT_EQ(::mkdir((dir / "mine").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir((dir / "theirs").c_str(), 0755), 0);
  ASSERT_EQ(::chown((dir / "theirs").c_str(), nobody->pw_uid, nobody->pw_gid), 0);
  ASSERT_EQ(::symlink("mine", (dir / "my-link").c_str()), 0);
  ASSERT_EQ(::symlink((dir / "mine").c_str(), (dir / "my-absolute-link").c_str()), 0);
  ASSERT_EQ(::symlink("mine", (dir / "their-link").c_str()), 0);
  ASSERT_EQ(::lchown((dir / "their-link").c_str(), nobody->pw_uid, nobody->pw_gid), 0);
  ASSERT_EQ(::symlink("loop", (dir / "loop").c_str()), 0);
  dir.Write("file", "x");
  const struct {
    std::string path;
    bool create;
    Status status;
    std::string culprit = "";
    std::string same = "";  // the folder the descriptor must hold
  } rows[] = {
      {base + "/mine", false, Status::kOpen, "", base + "/mine"},
      {base + "//./mine/../mine/", false, Status::kOpen, "", base + "/mine"},
      {base + "/my-link", false, Status::kOpen, "", base + "/mine"},
      {base + "/my-absolute-link/", false, Status::kOpen, "", base + "/mine"},
      {base + "/theirs", false, Status::kNotOwned, base + "/theirs"},
      {base + "/theirs/below", true, Status::kNotOwned, base + "/theirs"},
      {base + "/their-link", false, Status::kNotOwned, base + "/their-link"},
      {base + "/mine/missing", false, Status::kMissing},
      {base + "/file", false, Status::kFailed},
      {base + "/file/below", true, Status::kFailed},
      {base + "/loop", false, Status::kFailed},
      {"relative/path", true, Status::kFailed},
      {"/", false, Status::kFailed},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    const OwnedFolder folder(row.path, row.create);
    EXPECT_EQ(folder.Result(), row.status);
    EXPECT_EQ(folder.Culprit(), row.culprit);
    if (!row.culprit.empty()) {
      EXPECT_EQ(folder.OwnerId(), nobody->pw_uid);
    }
    if (!row.same.empty()) {
      EXPECT_EQ(IdOf(folder.Descriptor()), IdOf(AT_FDCWD, row.same.c_str()));
    }
    EXPECT_EQ(folder.IsOpen(), folder.Descriptor() >= 0);
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
  for (const char* made : {"a", "a/b", "a/b/c"}) {
    struct stat st {};
    ASSERT_EQ(::stat((dir / made).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0700u) << made;
    EXPECT_EQ(st.st_uid, ::geteuid()) << made;
  }
  struct stat st {};
  ASSERT_EQ(::stat(dir.path().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0755u);
  EXPECT_EQ(IdOf(folder.Descriptor()), IdOf(AT_FDCWD, (dir / "a/b/c").c_str()));
}

}  // namespace
}  // namespace grantwright::testing
