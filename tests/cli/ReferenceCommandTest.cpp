// `grantwright reference` and `grantwright resolve` as real processes: a reference finds
// its file after the changes people make, as root (who may open files by handle) and as
// an unprivileged user (who may not), and never takes another file for it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const RunOptions kAsNobody{.uid = 65534, .gid = 65534};

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

Resolved Resolve(const std::string& stored, const RunOptions& options = {},
                 const std::string& program = CommandPath()) {
  const ProcessResult r = Run({program, "resolve", stored}, options);
  EXPECT_TRUE(r.status == 0 || r.status == 1) << r.err;
  return {r.status, r.out.empty() ? json() : json::parse(r.out)};
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
       [](const TempDir& d, const std::string& f) { fs::rename(f, d / "a/g"); return d / "a/g"; }, true, true},
      {"a name that is no UTF-8, renamed", "caf\xE9",
       [](const TempDir& d, const std::string& f) { fs::rename(f, d / "a/\xFF"); return d / "a/\xFF"; }, true, true},
      {"moved to another folder", "f",
       [](const TempDir& d, const std::string& f) { fs::rename(f, d / "b/g"); return d / "b/g"; }, true, false},
      {"deleted and written anew at its path", "f",
       [](const TempDir& d, const std::string& f) {
         ::unlink(f.c_str());
         d.Write("a/other", "1");
         return d.Write("a/f", "2");
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
      for (const char* folder : {"a", "b"}) fs::create_directory(dir / folder);
      const std::string file = dir.Write(std::string("a/") + c.name, "x");
      const std::string stored = dir.Write("stored", ReferenceTo(file));
      const std::string expected = c.change(dir, file);
      const bool found = root ? c.asRoot : c.asUser;
      const Resolved r = Resolve(stored, root ? RunOptions{} : kAsNobody);
      const std::string who = std::string(c.what) + (root ? " (root)" : " (unprivileged)");
      EXPECT_EQ(r.status, found ? 0 : 1) << who << "\n" << r.out.dump();
      // JSON holds text: a byte that is no UTF-8 shows as U+FFFD.
      const json path = json::parse(json(expected).dump(-1, ' ', false, json::error_handler_t::replace));
      if (found) {
        EXPECT_EQ(r.out["path"], path) << who;
      }
      EXPECT_EQ(r.out["exists"], found) << who;
      EXPECT_EQ(r.out["via"], found ? json("relative data") : json()) << who;
    }
  }
}

// The relative data is taken against the program's folder: a tree holding the program and
// the file may move as a whole. Resolved as the unprivileged user, who cannot open the file
// by its handle, so only the relative path can find it.
TEST(ResolveCommand, FollowsATreeMovedWithTheProgramUnlessTheBaseIsTheRoot) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  for (const char* folder : {"tree/bin", "tree/data", "cfg/grantwright/preferences"}) fs::create_directories(dir / folder);
  fs::copy_file(CommandPath(), dir / "tree/bin/grantwright");
  fs::permissions(dir / "tree/bin/grantwright", fs::perms(0755));
  const std::string file = dir.Write("tree/data/file", "x");
  const std::string stored = dir.Write("stored", ReferenceTo(file, dir / "tree/bin/grantwright"));
  fs::rename(dir / "tree", dir / "moved");
  dir.Write("cfg/grantwright/preferences/com.tarnvale.Grantwright.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>ResolveFileLocationsExtensively</key><true/>"
            "<key>NSApplicationShowExceptions</key><true/></dict></plist>\n");
  const Resolved moved = Resolve(stored, kAsNobody, dir / "moved/bin/grantwright");
  EXPECT_EQ(moved.status, 0) << moved.out.dump();
  EXPECT_EQ(moved.out["path"], dir / "moved/data/file");
  EXPECT_EQ(moved.out["via"], "relative data");
  RunOptions rooted = kAsNobody;
  rooted.env = {"XDG_CONFIG_HOME=" + dir / "cfg"};
  EXPECT_EQ(Resolve(stored, rooted, dir / "moved/bin/grantwright").status, 1);
}

TEST(ResolveCommand, TakesPlainPathsAndWritesItsOutputWhole) {
  TempDir dir;
  const std::string file = dir.Write("it's here", "x");
  const Resolved existing = Resolve(dir.Write("plain", file + "\n"));
  EXPECT_EQ(existing.status, 0);
  EXPECT_EQ(existing.out["path"], file);
  EXPECT_EQ(existing.out["displayName"], "it's here");
  // The updated reference it prints is one resolve takes back.
  EXPECT_EQ(Resolve(dir.Write("updated", existing.out["reference"].get<std::string>())).out["via"], "relative data");
  const Resolved missing = Resolve(dir.Write("missing", dir / "nothing"));
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out["path"], nullptr);
  EXPECT_EQ(missing.out["displayName"], "nothing");

  const std::string out = dir / "ref.xml";
  ASSERT_EQ(::grantwright::testing::Run({CommandPath(), "reference", file, "-o", out}).status, 0);
  EXPECT_EQ(fs::status(out).permissions(), fs::perms(0600));
  EXPECT_EQ(Resolve(out).out["via"], "relative data");
  for (const auto& [command, path] : std::vector<std::pair<std::string, std::string>>{
           {"reference", dir / "nothing"}, {"resolve", dir / "nothing"}, {"resolve", dir.Write("empty", "\n")},
           {"resolve", dir.path()}}) {
    const ProcessResult r = ::grantwright::testing::Run({CommandPath(), command, path});
    EXPECT_EQ(r.status, 1) << command << " " << path;
    EXPECT_EQ(r.out, "") << path;
    EXPECT_NE(r.err, "") << path;
  }
}

}  // namespace
}  // namespace grantwright::testing
