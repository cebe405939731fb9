#include "platform/Acl.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

// Text comes out in libacl's order and form. A qualifier is a name or plain decimal in range,
// as the Owner and Group keys are read; any other spelling, like a list longer than any file
// system stores, makes the whole list unusable rather than another id. Whole getfacl
// listings and unknown accounts go through the helper's runs (tests/tool), lists read from
// files through the capture round trip (tests/cli); any bytes' round trip is a fuzz target's.
TEST(Acl, TextComesOutInLibaclsOrderAndFormOrNotAtAll) {
  const std::pair<const char*, const char*> cases[] = {
      {"other::r--\nuser:54321:r--\nuser::rwx\n", "user::rwx\nuser:54321:r--\nother::r--\n"},
      {"u:bin:rw,g:sys:r\nd:group::r-x\ndefault:user:daemon:r-x\n",
       "user:bin:rw-\ngroup:sys:r--\ndefault:user:daemon:r-x\ndefault:group::r-x\n"},
      {"u:1:r,g:4294967294:r\n", "user:daemon:r--\ngroup:4294967294:r--\n"},
  };
  for (const auto& [text, expected] : cases) {
    const AclRef acl = Acl::NewACLFromText(text);
    ASSERT_NE(acl, nullptr) << text;
    EXPECT_EQ(acl->Text().Bytes(), expected);
  }
  std::vector<std::string> refused = {
      "user:daemon:r--\nuser:daemon:rwx\n",
      "default:group:bin:r--\ndefault:group:bin:r-x\n",
      std::string("user::rw-\0user:daemon:rwx\n", 27),
      ",\nd:, # no entry\n",
  };
  for (const char* id : {"4294967296", "010", "0x3e9", "-2", "+5", " 1"}) {
    refused.push_back(std::string("user:") + id + ":r--\n");
    refused.push_back(std::string("default:group:") + id + ":r--\n");
  }
  std::string longest;
  for (size_t i = 0; i < Acl::kMaxEntries; ++i) longest += "user:" + std::to_string(100000 + i) + ":r--\n";
  EXPECT_NE(Acl::NewACLFromText(longest), nullptr);
  refused.push_back(longest + "user:1:r--\n");
  for (const std::string& text : refused) EXPECT_EQ(Acl::NewACLFromText(String(text)), nullptr) << text;
}

TEST(Acl, FilesGiveAndTakeWholeLists) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const std::string folder = dir / "d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  EXPECT_EQ(Acl::NewACLFromFile(file, Acl::kExtended), nullptr);  // a plain mode is no list

  // Default lines without base entries take the folder's current ones.
  Setfacl({"-d", "-m", "u:sys:rwx", folder});
  const FolderItemRef item = PathToFolderItem(folder);
  ASSERT_TRUE(Acl::NewACLFromText("default:user:daemon:rw-\n")->SetFile(item, Acl::kExtended));
  EXPECT_EQ(Getfacl(folder),
            "user::rwx\ngroup::r-x\nother::r-x\ndefault:user::rwx\ndefault:user:daemon:rw-\n"
            "default:group::r-x\ndefault:mask::rwx\ndefault:other::r-x\n\n");
  // A list without default lines removes the default list.
  ASSERT_TRUE(Acl::NewACLFromText("user:daemon:r-x\n")->SetFile(item, Acl::kExtended));
  EXPECT_EQ(Getfacl(folder), "user::rwx\nuser:daemon:r-x\ngroup::r-x\nmask::r-x\nother::r-x\n\n");

  // A list lacking only some base entries takes just those from the file; a whole one
  // takes nothing from it.
  ASSERT_EQ(::chmod(file.c_str(), 0654), 0);
  ASSERT_TRUE(Acl::NewACLFromText("user::rwx\nuser:daemon:r--\n")->SetFile(PathToFolderItem(file), Acl::kExtended));
  EXPECT_EQ(Getfacl(file), "user::rwx\nuser:daemon:r--\ngroup::r-x\nmask::r-x\nother::r--\n\n");
  ASSERT_TRUE(Acl::NewACLFromText("user::r--\ngroup::---\nother::---\nuser:daemon:rw-\n")
                  ->SetFile(PathToFolderItem(file), Acl::kExtended));
  EXPECT_EQ(Getfacl(file), "user::r--\nuser:daemon:rw-\ngroup::---\nmask::rw-\nother::---\n\n");

  // Default lines for a file change nothing.
  const std::string before = Getfacl(file);
  EXPECT_FALSE(Acl::NewACLFromText("user:bin:rwx\ndefault:user::rwx\n")
                   ->SetFile(PathToFolderItem(file), Acl::kExtended));
  EXPECT_EQ(Getfacl(file), before);
}

}  // namespace
}  // namespace grantwright::testing
