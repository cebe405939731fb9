// SmartFolderItemZRN on real files: the order in which it finds its file, what a search
// leaves in the record, and the queries.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

#include "filerefs/SmartFolderItemZRN.h"
#include "global/Startup.h"
#include "platform/PathForms.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using Route = SmartFolderItemZRN::Route;

SmartFolderItemZRNRef Record(std::function<void(SmartFolderItemZRN&)> fill) {
  auto record = std::make_shared<SmartFolderItemZRN>();
  fill(*record);
  return record;
}

std::string Url(const std::string& path) { return URLPathOf(path, false); }

TEST(SmartFolderItemZRN, TriesEachWayInOrderAndWritesWhatItFoundBack) {
  TempDir dir;
  const std::string file = dir.Write("file", "x");
  const std::string gone = dir / "gone";
  const std::string nul("/a\0b", 4);
  const struct {
    const char* what;
    std::function<SmartFolderItemZRNRef()> make;
    std::string found;  // the path GetFile gives, "nil" for nil
    bool exists;
    Route route;
    std::string pathAfter;  // LocatePath after the search
    std::string nameAfter;  // BackupFileName after the search
  } cases[] = {
      {"a good LastFile wins over wrong fields, which stay",
       [&] {
         auto r = SmartFolderItemZRN::Create(PathToFolderItem(String(file)));
         r->LocatePath = gone;
         r->LocateURLPath = Url(gone);
         return r;
       },
       file, true, Route::kCached, gone, "file"},
      {"the native path alone finds it and fills every field",
       [&] { return Record([&](auto& r) { r.LocatePath = file; }); }, file, true, Route::kNativePath, file, "file"},
      {"a missing URL target gives way to the shell path",
       [&] { return Record([&](auto& r) { r.LocateURLPath = Url(gone); r.LocateShellPath = ShellPathOf(file); }); },
       file, true, Route::kShellPath, file, "file"},
      {"a URL with another host gives nothing; the native path is tried",
       [&] { return Record([&](auto& r) { r.LocateURLPath = "file://host" + file; r.LocatePath = file; }); },
       file, true, Route::kNativePath, file, "file"},
      {"all paths missing: the last item made, missing, is taken by a new record",
       [&] { return Record([&](auto& r) { r.LocateURLPath = Url(dir / "u"); r.LocatePath = gone; }); },
       gone, false, Route::kNone, gone, "gone"},
      {"a missing item does not replace a known file",
       [&] {
         const std::string doomed = dir.Write("doomed", "x");
         auto r = SmartFolderItemZRN::Create(PathToFolderItem(String(doomed)));
         ::unlink(doomed.c_str());
         r->LocateRelativeData = String();
         r->LocatePath = gone;
         return r;
       },
       gone, false, Route::kNone, gone, "doomed"},
      {"paths holding NUL are skipped",
       [&] { return Record([&](auto& r) { r.LocateURLPath = nul; r.LocateShellPath = nul; r.LocatePath = nul; }); },
       "nil", false, Route::kNone, nul, ""},
      {"relative data that is no relative data gives nil, and the paths go on",
       [&] { return Record([&](auto& r) { r.LocateRelativeData = "junk"; r.LocatePath = file; }); },
       file, true, Route::kNativePath, file, "file"},
      {"an empty record gives nil and stays empty", [&] { return Record([](auto&) {}); }, "nil", false,
       Route::kNone, "", ""},
  };
  for (const auto& c : cases) {
    const SmartFolderItemZRNRef record = c.make();
    const FolderItemRef got = record->GetFile();
    EXPECT_EQ(got ? got->NativePath() : "nil", c.found) << c.what;
    EXPECT_EQ(got && got->Exists(), c.exists) << c.what;
    EXPECT_EQ(record->LastRoute(), c.route) << c.what;
    EXPECT_EQ(record->LocatePath.Bytes(), c.pathAfter) << c.what;
    EXPECT_EQ(record->BackupFileName.Bytes(), c.nameAfter) << c.what;
    EXPECT_EQ(record->GetFileExists(), c.exists) << c.what;
    if (c.exists && c.route != Route::kCached) {
      EXPECT_EQ(record->LocateURLPath.Bytes(), Url(c.found)) << c.what;
      EXPECT_EQ(record->LocateShellPath.Bytes(), ShellPathOf(c.found)) << c.what;
      EXPECT_FALSE(record->LocateRelativeData.IsEmpty()) << c.what;
    }
  }
}

TEST(SmartFolderItemZRN, ShowsValidTextAndTheLastNameAndDebugsOnlyWhenAsked) {
  TempDir dir;
  const std::string file = dir.Write("caf\xE9", "x");
  const auto record = SmartFolderItemZRN::Create(PathToFolderItem(String(file, nullptr)));
  EXPECT_EQ(record->GetFileDisplayName().Bytes(), "caf\xEF\xBF\xBD");
  ::unlink(file.c_str());
  EXPECT_EQ(record->GetFileDisplayName().Bytes(), "caf\xEF\xBF\xBD");  // the gone file's name
  EXPECT_EQ(std::make_shared<SmartFolderItemZRN>()->GetFileDisplayName().Bytes(), "unknown");
  for (const bool debugging : {false, true}) {
    Startup::CachedDebugMode = debugging;
    LogCapture log;
    Record([](auto& r) { r.LocateRelativeData = r.LocateURLPath = r.LocateShellPath = r.LocatePath = "/none"; })
        ->GetFile();
    Startup::CachedDebugMode = false;
    const std::vector<std::string> expected{"Restoring file from relative data", "Restoring file from URL path",
                                            "Restoring file from shell path", "Restoring file from native path"};
    EXPECT_EQ(log.lines(), debugging ? expected : std::vector<std::string>{});
  }
}

}  // namespace
}  // namespace grantwright::testing
