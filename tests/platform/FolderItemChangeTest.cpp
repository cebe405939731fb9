#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/Exceptions.h"
#include "platform/FolderItem.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

struct stat StatOf(const std::string& path) {
  struct stat st {};
  EXPECT_EQ(::lstat(path.c_str(), &st), 0) << path;
  return st;
}

TEST(FolderItemChange, OwnerAndGroupByNameOrUnusedId) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const struct {
    std::string name;
    bool accepted;
    unsigned id;  // the id the file then has
  } cases[] = {
      {"daemon", true, 1},
      {"DAEMON", false, 0},  // account names are exact
      {"54321", true, 54321},  // no account of that name: a decimal id
      {"0", true, 0},
      {"4294967294", true, 4294967294u},
      {"4294967295", false, 0},  // all bits set would mean "leave it"
      {"", false, 0},
      {"-1", false, 0},
      {"+5", false, 0},
      {"12a", false, 0},
      {"gw-no-such-name", false, 0},
      {std::string("daemon\0x", 8), false, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("name \"" + c.name + "\"");
    const std::string file = dir.Write("f", "x");
    ASSERT_EQ(::chown(file.c_str(), 2, 2), 0);
    const FolderItemRef item = PathToFolderItem(file);
    item->SetOwner(String(c.name, nullptr));
    EXPECT_EQ(item->LastErrorCode() == 0, c.accepted);
    EXPECT_EQ(StatOf(file).st_uid, c.accepted ? c.id : 2u);
    item->SetGroup(String(c.name, nullptr));
    EXPECT_EQ(item->LastErrorCode() == 0, c.accepted);
    EXPECT_EQ(StatOf(file).st_gid, c.accepted ? c.id : 2u);
  }
}

TEST(FolderItemChange, ChangesGoToTheItemFoundFirst) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string path = dir.Write("f", "first");
  const FolderItemRef item = PathToFolderItem(path);
  ASSERT_TRUE(item->Locate());
  // The path is taken over by another file after the item was found.
  ASSERT_EQ(::rename(path.c_str(), (dir / "moved").c_str()), 0);
  dir.Write("f", "second");

  item->SetOwner("daemon");
  item->SetGroup("bin");
  item->SetPermissions(std::make_shared<Permissions>(0604));
  EXPECT_EQ(item->LastErrorCode(), 0);
  const struct stat moved = StatOf(dir / "moved");
  EXPECT_EQ(moved.st_uid, 1u);
  EXPECT_EQ(moved.st_gid, 2u);
  EXPECT_EQ(moved.st_mode & 07777, 0604u);
  const struct stat replacement = StatOf(path);
  EXPECT_EQ(replacement.st_uid, 0u);
  EXPECT_EQ(replacement.st_mode & 07777, 0644u);
}

// The helper's runs check owner and list changes on links and missing files (tests/tool).
TEST(FolderItemChange, PermissionsOfALinkOrAMissingFileAreRefused) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string target = dir.Write("target", "x");
  const std::string link = dir / "link";
  ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0);
  const FolderItemRef item = PathToFolderItem(link);
  EXPECT_TRUE(item->Locate());  // found by what it points to, and then refused
  item->SetPermissions(std::make_shared<Permissions>(0777));
  EXPECT_EQ(item->LastErrorCode(), ELOOP);
  EXPECT_EQ(StatOf(target).st_mode & 07777, 0644u);

  const FolderItemRef missing = PathToFolderItem(dir / "missing");
  missing->SetPermissions(std::make_shared<Permissions>(0600));
  EXPECT_EQ(missing->LastErrorCode(), ENOENT);
  EXPECT_THROW(missing->SetPermissions(nullptr), NilObjectException);
}

}  // namespace
}  // namespace grantwright::testing
