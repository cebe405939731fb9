// The account database beyond the files: which nsswitch.conf lines send a lookup there,
// and what getent's answers (the real one, and stand-ins that misbehave) come to.

#include "platform/AccountDatabase.h"
#include "platform/AccountFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using AccountDatabase::kGroups;
using AccountDatabase::kUsers;

std::string Describe(const std::optional<AccountDatabase::Entry>& entry) {
  return entry ? entry->name + "=" + std::to_string(entry->id) : "none";
}

// A stand-in for getent: a shell script with `body`.
std::string FakeGetent(const TempDir& dir, const std::string& name, const std::string& body) {
  const std::string path = dir.Write(name, "#!/bin/sh\n" + body + "\n");
  ::chmod(path.c_str(), 0755);
  return path;
}

TEST(AccountDatabase, NamesOtherSourcesReadsTheDatabasesLastLine) {
  const struct { const char* text; std::string_view database; bool others; } cases[] = {
      {"passwd:         files systemd\ngroup:          files\n", kUsers, true},
      {"passwd:         files systemd\ngroup:          files\n", kGroups, false},
      {"passwd: files\n", kUsers, false},                      {"passwd:files sss", kUsers, true},
      {"  passwd  :\tcompat\r\n", kUsers, true},               {"passwd: files [NOTFOUND=return] ldap\n", kUsers, true},
      {"passwd: [NOTFOUND=return] files [SUCCESS=merge]\n", kUsers, false},
      {"passwd: files # ldap\n", kUsers, false},               {"# passwd: ldap\npasswd: files\n", kUsers, false},
      {"passwd: ldap\npasswd: files\n", kUsers, false},
      {"passwd: files\npasswd: files extrausers\n", kUsers, true},
      {"passwdx: ldap\ngroupy: ldap\n", kUsers, false},        {"passwdx: ldap\ngroupy: ldap\n", kGroups, false},
      {"passwd:\n", kUsers, false},                            {"", kUsers, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(AccountDatabase::NamesOtherSources(c.text, c.database), c.others) << c.database << " in " << c.text;
  }
}

// The real getent's answers; keys no entry can have are refused before anything starts, a
// stand-in's answer counts only when it ends well, and getent is asked only when needed.
TEST(AccountDatabase, AskTakesTheAnswerOfASuccessfulRunOnlyAndOnlyWhenNsswitchNamesOtherSources) {
  TempDir dir;
  const std::string always = FakeGetent(dir, "always", "echo 'someone:x:1:'");
  const struct { std::string_view database; std::string key; const char* getent; const char* entry; } asked[] = {
      {kUsers, "root", AccountDatabase::kGetent, "root=0"},     {kUsers, "0", AccountDatabase::kGetent, "root=0"},
      {kGroups, "nogroup", AccountDatabase::kGetent, "nogroup=65534"},
      {kUsers, "gw19-nobody-by-this-name", AccountDatabase::kGetent, "none"},
      {kUsers, "-gw19", AccountDatabase::kGetent, "none"},     {kUsers, "root", "/nonexistent/getent", "none"},
      {kUsers, "", always.c_str(), "none"},                    {kUsers, "ro:ot", always.c_str(), "none"},
      {kUsers, "root\n", always.c_str(), "none"},             {kUsers, std::string("ro\0ot", 5), always.c_str(), "none"},
  };
  for (const auto& c : asked) EXPECT_EQ(Describe(AccountDatabase::Ask(c.database, c.key, c.getent)), c.entry) << c.key;

  const ScopedEnv probe("GW19_PROBE", "inherited");
  const struct { const char* body; const char* entry; } cases[] = {
      // A group's members may run long: the rest is read and dropped.
      {"printf 'big:x:77:'; head -c 1000000 /dev/zero | tr '\\0' a; echo", "big=77"},
      {"printf '%05000d:x:1:\\n' 0", "none"},  // no entry within the bytes read
      // The program sees "--" before its arguments, and none of our environment.
      {"echo \"$1$2$3${GW19_PROBE}:x:5:\"", "--passwdkey=5"},
      {"echo 'someone:x:1234:'; exit 2", "none"},
      {"echo 'someone:x:1234:'; kill -9 $$", "none"},
  };
  int n = 0;
  for (const auto& c : cases) {
    const std::string getent = FakeGetent(dir, "getent" + std::to_string(n++), c.body);
    EXPECT_EQ(Describe(AccountDatabase::Ask(kUsers, "key", getent.c_str())), c.entry) << c.body;
  }

  // Looking beyond the files asks only when nsswitch.conf names other sources.
  const std::string marker = dir / "asked";
  const std::string asker = FakeGetent(dir, "asker", "touch " + marker + "; echo \"$3:x:42:\"");
  const struct { const char* nsswitch; const char* entry; } confs[] = {  // nsswitch null: no such file
      {"passwd: files\ngroup: files ldap\n", "none"}, {nullptr, "none"}, {"passwd: files ldap\n", "remote=42"},
  };
  for (const auto& c : confs) {
    ::unlink(marker.c_str());
    const std::string conf = c.nsswitch ? dir.Write("nsswitch.conf", c.nsswitch) : dir / "missing.conf";
    const auto entry = AccountDatabase::LookUpBeyondFiles(kUsers, "remote", conf.c_str(), asker.c_str());
    EXPECT_EQ(Describe(entry), c.entry) << (c.nsswitch ? c.nsswitch : "(missing)");
    EXPECT_EQ(::access(marker.c_str(), F_OK) == 0, entry.has_value()) << "getent started for nothing";
  }
}

// getent's answers and the files a static process reads itself: the first line with the
// name or id answers, and in the files lines that are no entry are passed over, not taken
// as the end.
TEST(AccountDatabase, EntriesAreTheFirstLineWithAUsableNameAndId) {
  const std::pair<std::string_view, const char*> answers[] = {
      {"someone:x:1234:1234::/home/someone:/bin/sh\n", "someone=1234"},
      {"last:*:4294967294:", "last=4294967294"}, {"first:x:1:\nsecond:x:2:\n", "first=1"},
      {"someone:x:4294967295:", "none"},         {"someone:x:99999999999:", "none"},
      {"someone:x:-1:", "none"},                 {"someone:x::", "none"},
      {"someone:x:12", "none"},                  {"someone:x:12\n:", "none"},
      {":x:12:", "none"},                        {"someone", "none"},
      {"", "none"},
  };
  for (const auto& [answer, entry] : answers) EXPECT_EQ(Describe(AccountDatabase::EntryOf(answer)), entry) << answer;

  const std::string_view text =
      "# comment:x:5:\n+nis::::\nbroken:x:07:\nalice:x:1000:1000::/home/alice:/bin/sh\n\n"
      "bob:x:1001:\nalice:x:1002:\ncarol:x:1000:";
  EXPECT_EQ(Describe(AccountFiles::FindName(text, "alice")), "alice=1000");
  EXPECT_EQ(Describe(AccountFiles::FindName(text, "carol")), "carol=1000");
  EXPECT_EQ(Describe(AccountFiles::FindName(text, "broken")), "none");
  EXPECT_EQ(Describe(AccountFiles::FindName(text, "alic")), "none");
  EXPECT_EQ(Describe(AccountFiles::FindId(text, 1000)), "alice=1000");
  EXPECT_EQ(Describe(AccountFiles::FindId(text, 7)), "none");
  EXPECT_EQ(Describe(AccountFiles::FindId("", 0)), "none");
}

}  // namespace
}  // namespace grantwright::testing
