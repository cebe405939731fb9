// Bookmarks and sandbox access, over a fake bookmark service: Linux has none, so the
// rules are held to here, where the service can grant, refuse and fail on demand.

#include <gtest/gtest.h>
#include <cstdio>

#include <string>
#include <vector>

#include "filerefs/SmartFolderItemZRN.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

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
  auto record = SmartFolderItemZRN::Create(PathToFolderItem(String(file)));
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
