#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/FolderItem.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

// Owner, group and mode of `path`: "uid gid mode", the mode in octal.
std::string Ids(const std::string& path) { return Run({"/usr/bin/stat", "-c", "%u %g %a", path}).out; }

// Names the helper's runs do not try: the account lookup's own edges.
TEST(FolderItemChange, OwnerAndGroupByExactNameOrUnusedId) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const FolderItemRef item = PathToFolderItem(file);
  const std::pair<std::string, std::string> cases[] = {  // the id the file then has; "": refused
      {"daemon", "1"},
      {"4294967294", "4294967294"},
      {"DAEMON", ""},      // account names are exact
      {"4294967295", ""},  // all bits set would mean "leave it"
      {"+5", ""},
      {"12a", ""},
      {std::string("daemon\0x", 8), ""},
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
  EXPECT_EQ(Ids(dir / "moved"), "1 2 604\n");
  EXPECT_EQ(Ids(path), "0 0 644\n");
}

}  // namespace
}  // namespace grantwright::testing
