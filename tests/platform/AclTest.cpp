#include "platform/Acl.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/Exceptions.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

TEST(Acl, TextGivesTheSameListBack) {
  const struct {
    const char* text;
    const char* expected;  // Text() of the list
  } cases[] = {
      {"user::rw-\nuser:daemon:r--\ngroup::r-x\ngroup:bin:rw-\nmask::rwx\nother::---\n",
       "user::rw-\nuser:daemon:r--\ngroup::r-x\ngroup:bin:rw-\nmask::rwx\nother::---\n"},
      // getfacl's whole output: header comments, effective rights, a blank line at the end.
      {"# file: x\n# owner: root\n# group: root\nuser::rw-\nuser:daemon:rwx\t#effective:r--\n"
       "group::r--\nmask::r--\nother::r--\n\n",
       "user::rw-\nuser:daemon:rwx\ngroup::r--\nmask::r--\nother::r--\n"},
      // Entries come out in libacl's order, ids without an account as numbers.
      {"other::r--\nuser:54321:r--\nuser::rwx\n", "user::rwx\nuser:54321:r--\nother::r--\n"},
      {"u:bin:rw,g:sys:r", "user:bin:rw-\ngroup:sys:r--\n"},
      {"user::rwx\ngroup::r-x\nother::r-x\ndefault:user::rwx\ndefault:user:daemon:r-x\n"
       "d:group::r-x\ndefault:mask::r-x\ndefault:other::---\n",
       "user::rwx\ngroup::r-x\nother::r-x\ndefault:user::rwx\ndefault:user:daemon:r-x\n"
       "default:group::r-x\ndefault:mask::r-x\ndefault:other::---\n"},
      {"default:user:daemon:r--\n", "default:user:daemon:r--\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const AclRef acl = Acl::NewACLFromText(c.text);
    ASSERT_NE(acl, nullptr);
    EXPECT_EQ(acl->Text().Bytes(), c.expected);
    const AclRef again = Acl::NewACLFromText(acl->Text());
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->Text().Bytes(), c.expected);
  }
}

TEST(Acl, RefusedTextGivesNil) {
  const std::string cases[] = {
      "",
      " \n\t\n# only a comment\n",
      "garbage",
      "user:gw-no-such-account:r--\n",
      "group:gw-no-such-group:r--\n",
      "user:daemon:r--\nuser:daemon:rwx\n",
      "user::rw-\nuser::r--\n",
      "default:group:bin:r--\ndefault:group:bin:r-x\n",
      "default:user:gw-no-such-account:r--\n",
      std::string("user::rw-\0user:daemon:rwx\n", 27),
  };
  for (const std::string& text : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Acl::NewACLFromText(String(text)), nullptr);
  }
}

// Links and missing files are refused by the helper's own runs (tests/tool).
TEST(Acl, FilesGiveAndTakeWholeLists) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const std::string folder = dir / "d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  EXPECT_EQ(Acl::NewACLFromFile(file, Acl::kExtended), nullptr);  // a plain mode is no list
  EXPECT_EQ(Acl::NewACLFromFile(dir / "missing", Acl::kExtended), nullptr);
  Setfacl({"-d", "-m", "u:sys:rwx", folder});
  EXPECT_EQ(Acl::NewACLFromFile(folder, 0), nullptr);
  EXPECT_EQ(Acl::NewACLFromFile(folder, Acl::kExtended)->Text().Bytes(),
            "user::rwx\ngroup::r-x\nother::r-x\ndefault:user::rwx\ndefault:user:sys:rwx\n"
            "default:group::r-x\ndefault:mask::rwx\ndefault:other::r-x\n");

  // Default lines without base entries take the folder's current ones.
  ASSERT_TRUE(Acl::NewACLFromText("default:user:daemon:rw-\n")
                  ->SetFile(PathToFolderItem(folder), Acl::kExtended));
  EXPECT_EQ(Getfacl(folder),
            "user::rwx\ngroup::r-x\nother::r-x\ndefault:user::rwx\ndefault:user:daemon:rw-\n"
            "default:group::r-x\ndefault:mask::rwx\ndefault:other::r-x\n\n");
  // A list without default lines removes the default list.
  ASSERT_TRUE(Acl::NewACLFromText("user:daemon:r-x\n")
                  ->SetFile(PathToFolderItem(folder), Acl::kExtended));
  EXPECT_EQ(Getfacl(folder), "user::rwx\nuser:daemon:r-x\ngroup::r-x\nmask::r-x\nother::r-x\n\n");

  // Without the extended flag, or with default lines for a file, nothing changes.
  const std::string before = Getfacl(file);
  const AclRef plain = Acl::NewACLFromText("user:bin:rwx\n");
  EXPECT_FALSE(plain->SetFile(PathToFolderItem(file), 0));
  EXPECT_FALSE(plain->SetFile(PathToFolderItem(file), 1));
  EXPECT_FALSE(Acl::NewACLFromText("user:bin:rwx\ndefault:user::rwx\n")
                   ->SetFile(PathToFolderItem(file), Acl::kExtended));
  EXPECT_EQ(Getfacl(file), before);
  EXPECT_THROW(plain->SetFile(nullptr, Acl::kExtended), NilObjectException);
}

}  // namespace
}  // namespace grantwright::testing
