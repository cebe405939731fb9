// SmartFolderItemZRN on real files: the order in which it finds its file, what a search
// leaves in the record, the queries, the stored form and the file values built on it;
// and sandbox access over a fake bookmark service.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "filerefs/SmartFolderItemZRN.h"
#include "filerefs/StoredReference.h"
#include "global/Startup.h"
#include "platform/Dictionary.h"
#include "platform/PathForms.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"
#include "support/TestSupport.h"
#include "xml/XMLData.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

using Route = SmartFolderItemZRN::Route;

SmartFolderItemZRNRef Record(std::function<void(SmartFolderItemZRN&)> fill) {
  auto record = std::make_shared<SmartFolderItemZRN>();
  fill(*record);
  return record;
}

std::string Url(const std::string& path) { return URLPathOf(path, false); }
SmartFolderItemZRNRef Created(const std::string& path) {
  return SmartFolderItemZRN::Create(PathToFolderItem(String(path)));
}

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
       [&] { auto r = Created(file); r->LocatePath = gone; r->LocateURLPath = Url(gone); return r; }, file, true,
       Route::kCached, gone, "file"},
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
         auto r = Created(dir.Write("doomed", "x"));
         ::unlink((dir / "doomed").c_str());
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

std::string Fields(const SmartFolderItemZRN& r) {
  return r.LocateRelativeData.Bytes() + "|" + r.LocateURLPath.Bytes() + "|" + r.LocateShellPath.Bytes() +
         "|" + r.LocatePath.Bytes() + "|" + r.BackupFileName.Bytes() + "|" + r.LocateMacBookmarkData.Bytes();
}

std::string Element(const char* name, const std::string& value) {
  return std::string("<") + name + ">" + EncodingToURL(String(value, nullptr)).Bytes() + "</" + name + ">";
}

TEST(StoredReference, ReadsBackEveryFieldAndTextsAsValidUtf8) {
  SmartFolderItemZRN written;
  written.LocateRelativeData = String(std::string("\0\x01\x80\xFF<&>", 7), nullptr);
  written.LocateURLPath = "file:///x%20y";
  written.LocateShellPath = "/x\\ y";
  written.LocatePath = "/x y/\xC3\xA9";
  written.BackupFileName = "\xC3\xA9";
  written.LocateMacBookmarkData = String(std::string("\xFF\0\x80", 3), nullptr);
  SmartFolderItemZRN read;
  ASSERT_TRUE(StoredReference::Read(StoredReference::Write(written), read));
  EXPECT_EQ(Fields(read), Fields(written));
  EXPECT_EQ(read.LocatePath.Encoding(), Encodings::UTF8());
  EXPECT_EQ(read.LocateRelativeData.Encoding(), nullptr);

  const std::pair<std::string, std::string> cases[] = {  // a stored form, and the fields read from it
      {"<root>" + Element("mac_bookmark_data", "b") + Element("path", "/p") + Element("rel_data", "r") + "</root>",
       "r|||/p||b"},
      {"<root>" + Element("path", "/p") + "<other>x</other></root>", "|||/p||"},
      {"<root/>", "|||||"},
      // Texts that are no UTF-8 come back as UTF-8 (windows-1252 here), NUL bytes dropped.
      {"<root>" + Element("path", std::string("/caf\xE9\0\0", 7)) + "</root>", "|||/caf\xC3\xA9||"},
  };
  for (const auto& [document, fields] : cases) {
    SmartFolderItemZRN r;
    ASSERT_TRUE(StoredReference::Read(document, r)) << document;
    EXPECT_EQ(Fields(r), fields) << document;
  }
  SmartFolderItemZRN untouched;
  EXPECT_FALSE(StoredReference::Read("/just/a path", untouched));
  EXPECT_EQ(Fields(untouched), "|||||");
}

// A form holding only the path finds the file and fills every field from it (plain paths,
// found or missing: tests/cli). XMLData and the typed format read and write the stored
// form; which keys XMLData finds is tests/xml's.
TEST(StoredReference, CreateFromDataFillsEveryFieldAndFileValuesUseIt) {
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const auto original = Created(file);
  const String stored = original->GetXML();
  const auto record = SmartFolderItemZRN::Create(String("<root>" + Element("path", file) + "</root>", nullptr));
  EXPECT_EQ(record->GetFile()->NativePath(), file);
  EXPECT_EQ(Fields(*record), Fields(*original));
  EXPECT_EQ(SmartFolderItemZRN::Create(String()), nullptr);

  const std::string value = EncodingToURL(stored).Bytes();
  const XMLDataRef xml = XMLData::CreateFromString("<r a=\"\"><ref>" + value + "</ref></r>", false);
  const auto fallback = std::make_shared<SmartFolderItemZRN>();
  const auto fallbackFile = std::make_shared<FolderItem>("/fallback");
  EXPECT_EQ(xml->GetFile("ref", fallbackFile)->NativePath(), file);
  EXPECT_EQ(xml->GetSmartFile("ref", fallback)->GetFile()->NativePath(), file);
  // A key that is there but makes no reference gives nil; a missing key the default.
  EXPECT_EQ(xml->GetSmartFile("missing", fallback), fallback);
  EXPECT_EQ(xml->GetFile("missing", fallbackFile), fallbackFile);
  EXPECT_EQ(xml->GetSmartFile("@a", fallback), nullptr);
  EXPECT_EQ(xml->GetFile("@a", fallbackFile), nullptr);
  // The decoder makes a reference, and the writer writes it back as the same row.
  const std::string row = "<Ref datatype=\"SmartFolderItemZRN\">" + value + "</Ref>";
  const DictionaryRef decoded = XMLExtension::AsDictionaryFromXMLStringZRN("<c>" + row + "</c>");
  const auto reference = decoded->Value("Ref").ObjectAs<SmartFolderItemZRN>();
  ASSERT_NE(reference, nullptr);
  EXPECT_EQ(reference->GetFile()->NativePath(), file);
  EXPECT_NE(XMLExtension::AsXMLStringFromDictionaryZRN(decoded, "c").Bytes().find(row), std::string::npos);
}

// Bookmarks and sandbox access, over a fake bookmark service: Linux has none, so the
// rules are held to here, where the service can grant, refuse and fail on demand.
class FakeBookmarks final : public BookmarkService {
 public:
  std::optional<BookmarkError> createError, resolveError;
  std::string resolvesTo;  // empty: resolving gives nil
  bool grants = true;
  std::vector<std::string> calls;

  bool Available() const override { return true; }
  String CreateBookmarkData(const FolderItemRef& file, uint32_t options, const FolderItemRef&) override {
    calls.push_back("create " + std::to_string(options));
    last_ = createError;
    return createError ? String("partial") : String("bm:" + file->NativePath() + std::string("\0\xFF", 2), nullptr);
  }
  BookmarkURLRef ResolveBookmarkData(const String&, uint32_t options, bool& isStale) override {
    calls.push_back("resolve " + std::to_string(options));
    isStale = true;
    last_ = resolveError;
    return resolveError || resolvesTo.empty() ? nullptr : std::make_shared<BookmarkURL>(String(resolvesTo));
  }
  std::optional<BookmarkError> LastError() const override { return last_; }
  bool StartAccessingSecurityScopedResource(const BookmarkURL& url) override {
    calls.push_back("start " + url.Path().Bytes());
    return grants;
  }
  void StopAccessingSecurityScopedResource(const BookmarkURL& url) override {
    calls.push_back("stop " + url.Path().Bytes());
  }

 private:
  std::optional<BookmarkError> last_;
};

// Installs a fake for its lifetime.
struct ScopedBookmarks {
  std::shared_ptr<FakeBookmarks> fake = std::make_shared<FakeBookmarks>();
  std::shared_ptr<BookmarkService> previous = SetBookmarkService(fake);
  ~ScopedBookmarks() { SetBookmarkService(previous); }
};

const char kRefused[] =
    "CFBookmarkMBS.StartAccessingSecurityScopedResource failed in SmartFolderItemZRN.StartAccessing";

// A record whose file was renamed since: its next GetFile passes the bookmark step and
// then finds the file through its relative data.
SmartFolderItemZRNRef StaleRecord(const TempDir& dir, const std::string& name) {
  const std::string file = dir.Write(name, "x");
  auto record = Created(file);
  EXPECT_EQ(::rename(file.c_str(), (file + ".moved").c_str()), 0);
  return record;
}

TEST(SandboxAccess, OpensOnlyOutsideLibraryAndClosesOnce) {
  TempDir dir;
  const struct {
    std::string url;
    bool grants;
    std::vector<std::string> calls;  // after Create and the first call that resolves
    bool logsRefusal;
  } cases[] = {
      {"/home/u/Library/x", true, {"create 2048", "resolve 1280", "start /home/u/Library/x"}, false},
      {"/Library/Preferences/x", true, {"create 2048", "resolve 1280"}, true},
      {"/library/x", true, {"create 2048", "resolve 1280"}, true},
      {"/LibraryOld/x", true, {"create 2048", "resolve 1280"}, true},
      {"/srv/x", false, {"create 2048", "resolve 1280", "start /srv/x"}, true},
  };
  for (const auto& c : cases) {
    ScopedBookmarks bookmarks;
    bookmarks.fake->resolvesTo = c.url;
    bookmarks.fake->grants = c.grants;
    LogCapture log;
    {
      auto record = StaleRecord(dir, "f");
      EXPECT_FALSE(record->LocateMacBookmarkData.IsEmpty());
      EXPECT_TRUE(record->GetFileExists()) << c.url;  // found by the paths all the same
      EXPECT_EQ(bookmarks.fake->calls, c.calls) << c.url;
      EXPECT_EQ(log.lines(), c.logsRefusal ? std::vector<std::string>{kRefused} : std::vector<std::string>{})
          << c.url;
      // A copy starts closed: dropping it closes nothing.
      record->DuplicateMe().reset();
      bookmarks.fake->calls.clear();
    }
    // Dropping the record closes an open access once, and a closed one not at all.
    const bool opened = c.calls.size() == 3 && c.grants;
    EXPECT_EQ(bookmarks.fake->calls, opened ? std::vector<std::string>{"stop " + c.url} : std::vector<std::string>{})
        << c.url;
  }
}

TEST(SandboxAccess, ABookmarkThatFailsEndsTheSearchAndOneThatCannotBeMadeIsLeftOut) {
  TempDir dir;
  {
    ScopedBookmarks bookmarks;
    bookmarks.fake->resolveError = BookmarkError{"gone", "no such file", -43};
    LogCapture log;
    auto record = StaleRecord(dir, "a");
    EXPECT_EQ(record->GetFile(), nullptr);  // although the path names an existing file
    bookmarks.fake->resolveError.reset();
    EXPECT_EQ(record->GetFile(), nullptr);  // resolves to nil
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"SmartFolderItemZRN.GetFile failed: gone; no such file; -43",
                                                     "SmartFolderItemZRN.GetFile failed as URL was Nil."}));
    // Writing it keeps what it held.
    EXPECT_NE(record->GetXML().Bytes().find(">%2F"), std::string::npos);
  }
  {
    ScopedBookmarks bookmarks;
    bookmarks.fake->createError = BookmarkError{"denied", "sandbox", 1};
    LogCapture log;
    auto record = StaleRecord(dir, "b");
    EXPECT_TRUE(record->LocateMacBookmarkData.IsEmpty());
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "SmartFolderItemZRN.Create: Error Creating Sandbox Bookmark: denied; sandbox", "partial"}));
    EXPECT_TRUE(record->GetFileExists());  // no bookmark step at all
    EXPECT_EQ(bookmarks.fake->calls, std::vector<std::string>{"create 2048"});
  }
  // Where bookmarks do not exist, bookmark bytes from elsewhere are kept and skipped.
  auto record = StaleRecord(dir, "c");
  record->LocateMacBookmarkData = String(std::string("\0\x80", 2), nullptr);
  EXPECT_TRUE(record->GetFileExists());
  EXPECT_EQ(SmartFolderItemZRN::Create(record->GetXML())->LocateMacBookmarkData.Bytes(), std::string("\0\x80", 2));
}

}  // namespace
}  // namespace grantwright::testing
