#include "platform/Acl.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/Exceptions.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

struct stat StatOf(const std::string& path) {
  struct stat st {};
  EXPECT_EQ(::lstat(path.c_str(), &st), 0) << path;
  return st;
}

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

TEST(Acl, SetFileAppliesTheWholeListAndNothingElse) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  ASSERT_EQ(::chown(file.c_str(), 1, 1), 0);
  ASSERT_EQ(::chmod(file.c_str(), 06644), 0);
  Setfacl({"-m", "u:sys:rwx", file});  // a named entry the list does not have

  const std::string full =
      "user::rw-\nuser:daemon:r--\nuser:bin:rwx\ngroup::r-x\ngroup:sys:rw-\nmask::rwx\n"
      "other::---\n";
  ASSERT_TRUE(Acl::NewACLFromText(full)->SetFile(PathToFolderItem(file), Acl::kExtended));
  EXPECT_EQ(Getfacl(file), full + "\n");
  struct stat st = StatOf(file);
  EXPECT_EQ(st.st_mode & 07777, 06670u);  // group bits show the mask; set-id bits stay
  EXPECT_EQ(st.st_uid, 1u);
  EXPECT_EQ(st.st_gid, 1u);

  // A partial list: the base entries it leaves out keep their values, the mask is
  // computed, and named entries it lacks are gone.
  ASSERT_TRUE(Acl::NewACLFromText("user:daemon:rw-\nother::r--\n")
                  ->SetFile(PathToFolderItem(file), Acl::kExtended));
  EXPECT_EQ(Getfacl(file), "user::rw-\nuser:daemon:rw-\ngroup::r-x\nmask::rwx\nother::r--\n\n");
  EXPECT_EQ(StatOf(file).st_mode & 07777, 06674u);

  // Only base entries: the list becomes the mode again.
  ASSERT_TRUE(Acl::NewACLFromText("group::r--\n")->SetFile(PathToFolderItem(file), Acl::kExtended));
  EXPECT_EQ(Acl::NewACLFromFile(file, Acl::kExtended), nullptr);
  EXPECT_EQ(StatOf(file).st_mode & 07777, 06644u);
}

TEST(Acl, SetFileReplacesAFoldersDefaultList) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string folder = dir / "d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  Setfacl({"-d", "-m", "u:sys:rwx", folder});

  const std::string text =
      "user::rwx\nuser:daemon:r-x\ngroup::r-x\nmask::r-x\nother::r-x\n"
      "default:user::rwx\ndefault:user:bin:rwx\ndefault:group::r-x\ndefault:group:daemon:r--\n"
      "default:mask::rwx\ndefault:other::---\n";
  const AclRef acl = Acl::NewACLFromText(text);
  ASSERT_TRUE(acl->SetFile(PathToFolderItem(folder), Acl::kExtended));
  EXPECT_EQ(Getfacl(folder), text + "\n");
  EXPECT_EQ(Acl::NewACLFromFile(folder, Acl::kExtended)->Text().Bytes(), text);

  // Default lines without base entries take the folder's current ones.
  ASSERT_TRUE(Acl::NewACLFromText("default:user:daemon:rw-\n")
                  ->SetFile(PathToFolderItem(folder), Acl::kExtended));
  EXPECT_EQ(Getfacl(folder),
            "user::rwx\ngroup::r-x\nother::r-x\ndefault:user::rwx\ndefault:user:daemon:rw-\n"
            "default:group::r-x\ndefault:mask::rwx\ndefault:other::---\n\n");

  // A list without default lines removes the default list.
  ASSERT_TRUE(Acl::NewACLFromText("user:daemon:r-x\n")
                  ->SetFile(PathToFolderItem(folder), Acl::kExtended));
  EXPECT_EQ(Getfacl(folder), "user::rwx\nuser:daemon:r-x\ngroup::r-x\nmask::r-x\nother::r-x\n\n");
}

TEST(Acl, SetFileRefusalsChangeNothing) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  Setfacl({"-m", "u:daemon:r", file});
  const std::string target = dir.Write("target", "x");
  Setfacl({"-m", "u:daemon:r", target});
  const std::string link = dir / "link";
  ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0);
  const std::string before = Getfacl(file);
  const AclRef plain = Acl::NewACLFromText("user:bin:rwx\n");
  const AclRef withDefault = Acl::NewACLFromText("user:bin:rwx\ndefault:user::rwx\n");
  EXPECT_FALSE(plain->SetFile(PathToFolderItem(file), 0));
  EXPECT_FALSE(plain->SetFile(PathToFolderItem(file), 1));
  EXPECT_FALSE(withDefault->SetFile(PathToFolderItem(file), Acl::kExtended));
  EXPECT_FALSE(plain->SetFile(PathToFolderItem(link), Acl::kExtended));
  EXPECT_FALSE(plain->SetFile(PathToFolderItem(dir / "missing"), Acl::kExtended));
  EXPECT_EQ(Getfacl(file), before);
  EXPECT_EQ(Getfacl(target), before);
  EXPECT_THROW(plain->SetFile(nullptr, Acl::kExtended), NilObjectException);

  // Refused by the kernel: a process that does not own the file.
  const pid_t child = ::fork();
  if (child == 0) {
    _exit(::setuid(65534) == 0 && !plain->SetFile(PathToFolderItem(file), Acl::kExtended) ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(Getfacl(file), before);
}

TEST(Acl, NewACLFromFileGivesNilForAPlainMode) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string plain = dir.Write("plain", "x");
  const std::string folder = dir / "d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0750), 0);
  Setfacl({"-d", "-m", "g:bin:r", folder});

  EXPECT_EQ(Acl::NewACLFromFile(plain, Acl::kExtended), nullptr);
  EXPECT_EQ(Acl::NewACLFromFile(dir / "missing", Acl::kExtended), nullptr);
  EXPECT_EQ(Acl::NewACLFromFile(folder, 0), nullptr);
  const AclRef fromFolder = Acl::NewACLFromFile(folder, Acl::kExtended);
  ASSERT_NE(fromFolder, nullptr);
  EXPECT_EQ(fromFolder->Text().Bytes(),
            "user::rwx\ngroup::r-x\nother::---\ndefault:user::rwx\ndefault:group::r-x\n"
            "default:group:bin:r--\ndefault:mask::r-x\ndefault:other::---\n");
}

}  // namespace
}  // namespace grantwright::testing
