// Kinds of files from the desktop's content-type database, in the library and as
// `grantwright info` shows them; and the helper, which must never load that database.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <cstdio>

#include "desktop/GioFileKinds.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "fileutil/FileKinds.h"
#include "platform/FolderItem.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using nlohmann::json;

// A 1 x 1 PNG image.
const std::string kPng(
    "\x89\x50\x4e\x47\x0d\x0a\x1a\x0a\x00\x00\x00\x0d\x49\x48\x44\x52\x00\x00\x00\x01\x00\x00\x00\x01\x08\x06"
    "\x00\x00\x00\x1f\x15\xc4\x89\x00\x00\x00\x0d\x49\x44\x41\x54\x78\x9c\x63\xf8\xcf\xc0\xf0\x1f\x00\x05\x00"
    "\x01\xff\x89\x99\x3d\x1d\x00\x00\x00\x00\x49\x45\x4e\x44\xae\x42\x60\x82",
    70);

// Installs the desktop's kinds for its lifetime.
class DesktopKinds {
 public:
  DesktopKinds() : before_(InstallFileKinds(&kinds_)) {}
  ~DesktopKinds() { InstallFileKinds(before_); }

 private:
  GioFileKinds kinds_;
  FileKinds* before_;
};

// A name that tells the type decides it; without one the content does: a PNG with no
// extension is an image, an empty file text. A missing file's kind comes from its name;
// one whose name says nothing has none.
TEST(FileKinds, NamesEachKindAsTheDatabaseDoes) {
  TempDir dir;
  ASSERT_EQ(::mkdir((dir / "folder").c_str(), 0755), 0);
  const struct {
    std::string path;
    const char* type;
    const char* kind;
  } rows[] = {
      {dir.Write("notes.txt", "some words\n"), "text/plain", "plain text document"},
      {dir / "folder", "inode/directory", "folder"},
      {dir.Write("picture.png", kPng), "image/png", "PNG image"},
      {dir.Write("picture", kPng), "image/png", "PNG image"},
      {dir.Write("empty", ""), "text/plain", "plain text document"},
      {dir / "gone.png", "image/png", "PNG image"},
      {dir / "gone", "application/octet-stream", "unknown"},
  };
  const DesktopKinds kinds;
  for (const auto& row : rows) {
    EXPECT_EQ(CurrentFileKinds()->ContentType(row.path), row.type) << row.path;
    EXPECT_EQ(KindMBS(PathToFolderItem(String(row.path))).Bytes(), row.kind) << row.path;
  }
  EXPECT_EQ(KindMBS(nullptr).Bytes(), "unknown");
}

// A reference's kind is its file's, found or missing; with no file, or with no database in
// the process (the helper's case), "unknown".
TEST(FileKinds, AReferenceShowsItsFilesKindOrUnknown) {
  TempDir dir;
  const std::string file = dir.Write("notes.txt", "words\n");
  const SmartFolderItemZRNRef reference = SmartFolderItemZRN::Create(PathToFolderItem(String(file)));
  ASSERT_TRUE(reference);
  EXPECT_EQ(reference->GetFileKind().Bytes(), "unknown");  // nothing installed
  const DesktopKinds kinds;
  EXPECT_EQ(reference->GetFileKind().Bytes(), "plain text document");
  auto missing = std::make_shared<SmartFolderItemZRN>();
  missing->LocatePath = dir / "gone.png";
  EXPECT_EQ(missing->GetFileKind().Bytes(), "PNG image");
  EXPECT_EQ(std::make_shared<SmartFolderItemZRN>()->GetFileKind().Bytes(), "unknown");
}

// Run of the test support; gtest's fixture has a Run of its own.
ProcessResult RunProgram(const std::vector<std::string>& argv, const RunOptions& options = {}) {
  return ::grantwright::testing::Run(argv, options);
}

// `grantwright info` as a user runs it, on a path and on a stored reference whose file was
// renamed since; and the helper holds no GLib symbol.
TEST(FileKinds, InfoShowsThePathOrTheReferencesFile) {
  TempDir dir;
  const std::string file = dir.Write("notes.txt", "words\n");
  const auto info = [](const std::vector<std::string>& args) {
    std::vector<std::string> argv{CommandPath(), "info"};
    argv.insert(argv.end(), args.begin(), args.end());
    const ProcessResult r = RunProgram(argv, {.env = {"LC_ALL=C"}});
    return std::make_pair(r.status, r.out.empty() ? json() : json::parse(r.out));
  };
  const json text{{"exists", true}, {"displayName", "notes.txt"}, {"kind", "plain text document"},
                  {"contentType", "text/plain"}};
  EXPECT_EQ(info({file}), std::make_pair(0, text));
  EXPECT_EQ(info({dir / "gone.png"}),
            std::make_pair(1, json{{"exists", false}, {"displayName", "gone.png"}, {"kind", "PNG image"},
                                   {"contentType", "image/png"}}));

  const ProcessResult made = RunProgram({CommandPath(), "reference", file, "-o", dir / "notes.ref"});
  ASSERT_EQ(made.status, 0) << made.err;
  ASSERT_EQ(std::rename(file.c_str(), (dir / "renamed.txt").c_str()), 0);
  json renamed = text;
  renamed["displayName"] = "renamed.txt";
  EXPECT_EQ(info({"--reference", dir / "notes.ref"}), std::make_pair(0, renamed));
  ASSERT_EQ(::unlink((dir / "renamed.txt").c_str()), 0);
  EXPECT_EQ(info({"--reference", dir / "notes.ref"}).second["exists"], false);

  EXPECT_EQ(RunProgram({CommandPath(), "info"}).status, 2);
  EXPECT_EQ(RunProgram({CommandPath(), "info", "--reference", dir / "none.ref"}).status, 1);

  const ProcessResult symbols = RunProgram({"/usr/bin/nm", HelperPath()});
  ASSERT_EQ(symbols.status, 0) << symbols.err;
  EXPECT_EQ(symbols.out.find(" g_"), std::string::npos) << "the helper links GLib";
}

}  // namespace
}  // namespace grantwright::testing
