// `grantwright reference` and `grantwright resolve` as real processes: a reference finds
// its file after the changes people make, as root (who may open files by handle) and as
// an unprivileged user (who may not), and never takes another file for it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using nlohmann::json;

constexpr uid_t kNobody = 65534;

// The stored form of a reference to `file`, made by `program`.
std::string ReferenceTo(const std::string& file, const std::string& program = CommandPath()) {
  const ProcessResult r = Run({program, "reference", file});
  EXPECT_EQ(r.status, 0) << r.err;
  return r.out;
}

struct Resolved {
  int status;
  json out;
};

Resolved Resolve(const std::string& stored, uid_t uid, const std::string& program = CommandPath(),
                 std::vector<std::string> env = {}) {
  RunOptions options{.env = std::move(env)};
  if (uid != ::geteuid()) options = RunOptions{.env = options.env, .uid = uid, .gid = uid};
  const ProcessResult r = Run({program, "resolve", stored}, options);
  EXPECT_TRUE(r.status == 0 || r.status == 1) << r.err;
  return {r.status, r.out.empty() ? json() : json::parse(r.out)};
}

void Rename(const std::string& from, const std::string& to) {
  ASSERT_EQ(std::rename(from.c_str(), to.c_str()), 0) << from << " -> " << to;
}

TEST(ResolveCommand, FindsTheFileAfterRenameMoveAndRecreationButNeverAnotherFile) {
  GRANTWRIGHT_REQUIRE_ROOT();
  const struct {
    const char* what;
    const char* name;  // the file's name when the reference is made
    // Changes the folder (`a/` holds the file, `b/` is empty) and gives the path at which
    // resolve must find the file, or "" when it must find none.
    std::function<std::string(const TempDir&, const std::string&)> change;
    bool asRoot, asUser;  // whether it is found as root, and as the unprivileged user
  } cases[] = {
      {"renamed in its folder", "f",
       [](const TempDir& d, const std::string& f) { Rename(f, d / "a/g"); return d / "a/g"; }, true, true},
      {"a name that is no UTF-8, renamed", "caf\xE9",
       [](const TempDir& d, const std::string& f) { Rename(f, d / "a/\xFF"); return d / "a/\xFF"; }, true, true},
      {"moved to another folder", "f",
       [](const TempDir& d, const std::string& f) { Rename(f, d / "b/g"); return d / "b/g"; }, true, false},
      {"deleted and written anew at its path", "f",
       [](const TempDir& d, const std::string& f) {
         ::unlink(f.c_str());
         d.Write("a/other", "1");
         d.Write("a/f", "2");
         return f;
       },
       true, true},
      {"deleted, and its inode number given to a new file", "f",
       [](const TempDir& d, const std::string& f) {
         struct stat gone {}, st {};
         ::stat(f.c_str(), &gone);
         ::unlink(f.c_str());
         for (int i = 0; i < 50 && st.st_ino != gone.st_ino; ++i) ::stat(d.Write("a/" + std::to_string(i), "y").c_str(), &st);
         EXPECT_EQ(st.st_ino, gone.st_ino) << "no new file got the inode number: nothing was tested";
         return std::string();
       },
       false, false},
  };
  for (const auto& c : cases) {
    for (const bool root : {true, false}) {
      TempDir dir;
      std::filesystem::create_directory(dir / "a");
      std::filesystem::create_directory(dir / "b");
      const std::string file = dir.Write(std::string("a/") + c.name, "x");
      const std::string stored = dir.Write("stored", ReferenceTo(file));
      const std::string expected = c.change(dir, file);
      const bool found = root ? c.asRoot : c.asUser;
      const Resolved r = Resolve(stored, root ? 0 : kNobody);
      const std::string who = std::string(c.what) + (root ? " (root)" : " (unprivileged)");
      EXPECT_EQ(r.status, found ? 0 : 1) << who << "\n" << r.out.dump();
      if (found) {
        // JSON holds text: a byte that is no UTF-8 shows as U+FFFD.
        EXPECT_EQ(r.out["path"], json::parse(json(expected).dump(-1, ' ', false, json::error_handler_t::replace)))
            << who;
        EXPECT_TRUE(r.out["exists"].get<bool>()) << who;
        EXPECT_EQ(r.out["via"], "relative data") << who;
      } else {
        EXPECT_FALSE(r.out["exists"].get<bool>()) << who;
        EXPECT_EQ(r.out["via"], nullptr) << who;
      }
    }
  }
}

// The relative data is taken against the program's folder: a tree holding the program and
// the file may move as a whole. Resolved as the unprivileged user, who cannot open the file
// by its handle, so only the relative path can find it.
TEST(ResolveCommand, FollowsATreeMovedWithTheProgramUnlessTheBaseIsTheRoot) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  for (const char* folder : {"tree", "tree/bin", "tree/data", "cfg", "cfg/grantwright",
                             "cfg/grantwright/preferences"}) {
    std::filesystem::create_directory(dir / folder);
  }
  std::filesystem::copy_file(CommandPath(), dir / "tree/bin/grantwright");
  ::chmod((dir / "tree/bin/grantwright").c_str(), 0755);
  const std::string file = dir.Write("tree/data/file", "x");
  const std::string stored = dir.Write("stored", ReferenceTo(file, dir / "tree/bin/grantwright"));
  Rename(dir / "tree", dir / "moved");
  dir.Write("cfg/grantwright/preferences/com.tarnvale.Grantwright.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>ResolveFileLocationsExtensively</key><true/>"
            "<key>NSApplicationShowExceptions</key><true/></dict></plist>\n");

  const Resolved moved = Resolve(stored, kNobody, dir / "moved/bin/grantwright");
  EXPECT_EQ(moved.status, 0) << moved.out.dump();
  EXPECT_EQ(moved.out["path"], dir / "moved/data/file");
  EXPECT_EQ(moved.out["via"], "relative data");
  const Resolved rooted =
      Resolve(stored, kNobody, dir / "moved/bin/grantwright", {"XDG_CONFIG_HOME=" + dir / "cfg"});
  EXPECT_EQ(rooted.status, 1) << rooted.out.dump();
}

TEST(ResolveCommand, TakesPlainPathsAndWritesItsOutputWhole) {
  TempDir dir;
  const std::string file = dir.Write("it's here", "x");
  const std::string plain = dir.Write("plain", file + "\n");
  const Resolved existing = Resolve(plain, ::geteuid());
  EXPECT_EQ(existing.status, 0);
  EXPECT_EQ(existing.out["path"], file);
  EXPECT_EQ(existing.out["displayName"], "it's here");
  // The updated reference it prints is one resolve takes back.
  const std::string updated = dir.Write("updated", existing.out["reference"].get<std::string>());
  EXPECT_EQ(Resolve(updated, ::geteuid()).out["via"], "relative data");

  const Resolved missing = Resolve(dir.Write("missing", dir / "nothing"), ::geteuid());
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out["path"], nullptr);
  EXPECT_EQ(missing.out["displayName"], "nothing");

  const std::string out = dir / "ref.xml";
  ASSERT_EQ(::grantwright::testing::Run({CommandPath(), "reference", file, "-o", out}).status, 0);
  struct stat st {};
  ASSERT_EQ(::stat(out.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0600u);
  EXPECT_EQ(Resolve(out, ::geteuid()).out["via"], "relative data");

  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {CommandPath(), "reference", dir / "nothing"}, {CommandPath(), "resolve", dir / "nothing"},
           {CommandPath(), "resolve", dir.Write("empty", "\n")}, {CommandPath(), "resolve", dir.path()}}) {
    const ProcessResult r = ::grantwright::testing::Run(args);
    EXPECT_EQ(r.status, 1) << args.back();
    EXPECT_EQ(r.out, "") << args.back();
    EXPECT_NE(r.err, "") << args.back();
  }
}

}  // namespace
}  // namespace grantwright::testing
