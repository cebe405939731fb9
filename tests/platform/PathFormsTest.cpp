// The URL and shell forms of paths, checked against independent readers (Python's
// urllib.parse, a POSIX shell), GetFolderItem reading all three forms, and relative data's
// stored bytes. Finding items from relative data, against the program's folder or the root,
// is tested as users do it, through `grantwright resolve` (tests/cli).

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "platform/GetFolderItem.h"
#include "platform/PathForms.h"
#include "platform/RelativeData.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

// Paths of arbitrary bytes 1 to 255, names between slashes, "." and ".." among them.
std::vector<std::string> RandomPaths(size_t count) {
  std::mt19937 random(17);
  std::vector<std::string> paths{"/", "/a b/'q'\"d\"/\\/$HOME/`x`/*?[a]/~u/-n/%41/\xC3\xA9/\xFF"};
  while (paths.size() < count + 2) {
    std::string& path = paths.emplace_back();
    for (int names = 1 + static_cast<int>(random() % 4); names > 0; --names) {
      path += '/';
      for (int length = 1 + static_cast<int>(random() % 12); length > 0; --length) {
        const char c = static_cast<char>(1 + random() % 255);
        path += c == '/' ? '\n' : c;
      }
    }
  }
  return paths;
}

TEST(PathForms, ReadersInvertWritersAndAgreeWithUrllibAndTheShell) {
  // Python takes the URLs apart as any URL reader would: no host, the path byte for byte;
  // one shell prints every shell form back.
  std::vector<std::string> python{"/usr/bin/python3", "-c",
                                  "import sys, urllib.parse as u\n"
                                  "for url in sys.argv[1:]:\n"
                                  "  p = u.urlparse(url)\n"
                                  "  assert p.scheme == 'file' and not (p.netloc or p.query or p.fragment), url\n"
                                  "  sys.stdout.buffer.write(u.unquote_to_bytes(p.path) + b'\\0')\n"};
  std::string shell = "printf '%s\\0'", all;
  for (const std::string& path : RandomPaths(300)) {
    python.push_back(URLPathOf(path, false));
    shell += " " + ShellPathOf(path);
    (all += path) += '\0';
    EXPECT_EQ(PathFromURL(URLPathOf(path, false)), path);
    EXPECT_EQ(PathFromShell(ShellPathOf(path)), path);
    EXPECT_EQ(PathFromURL(URLPathOf(path, true)), path == "/" ? path : path + "/");
  }
  using ::grantwright::testing::Run;
  for (const ProcessResult& read : {Run(python), Run({"/bin/sh", "-c", shell})}) {
    EXPECT_EQ(read.status, 0) << read.err;
    EXPECT_EQ(read.out, all);
  }
}

TEST(GetFolderItem, ReadsEachFormAndRefusesWhatNamesNoPath) {
  TempDir dir;
  const std::string file = dir.Write("a b", "x");
  const struct { std::string text; int mode; const char* path; } cases[] = {  // path null: nil
      {URLPathOf(file, false), kPathTypeURL, file.c_str()}, {"FILE://LocalHost" + file, kPathTypeURL, file.c_str()},
      {URLPathOf(dir.path(), true), kPathTypeURL, dir.path().c_str()}, {"file:///x/y?q#f", kPathTypeURL, "/x/y"},
      {"file://example.com/x", kPathTypeURL, nullptr},  {"file:///x/a%00b", kPathTypeURL, nullptr},
      {"file:///x/a%2Fb", kPathTypeURL, nullptr},       {"file:///x/%zz%4", kPathTypeURL, "/x/%zz%4"},
      {"http:///x", kPathTypeURL, nullptr},             {ShellPathOf(file), kPathTypeShell, file.c_str()},
      {"/a\\\nb/'c d'/'open", kPathTypeShell, "/ab/c d/open"}, {file, kPathTypeNative, file.c_str()},
      {file, 4, nullptr},                               {std::string("/a\0b", 4), kPathTypeNative, nullptr},
  };
  for (const auto& c : cases) {
    const FolderItemRef item = GetFolderItem(String(c.text, nullptr), c.mode);
    EXPECT_EQ(item ? item->NativePath() : "nil", c.path ? c.path : "nil") << c.text;
  }
  // The item's own forms: a folder's URL ends in "/", Name is the raw last component.
  EXPECT_EQ(PathToFolderItem(String(dir.path()))->URLPath().Bytes(), URLPathOf(dir.path(), false) + "/");
  EXPECT_EQ(FolderItem(dir.path() + "/caf\xE9").Name().Encoding(), nullptr);  // raw, untagged
}

const std::string kHeader("GWrd\x01", 5);

std::string Field(char tag, const std::string& value) {
  return std::string(1, tag) + static_cast<char>(value.size() & 0xFF) +
         static_cast<char>(value.size() >> 8) + value;
}

TEST(RelativeData, RoundTripsEveryByteAndRefusesWhatIsNoData) {
  const RelativeData full{"../a\x80\xFF/b", "/x/\x01y", 0xFFEEDDCCBBAA9988u, 0x8000000000000001u,
                          FileHandle{-2, std::string("\0\x80\xFF", 3)},
                          FileHandle{1, std::string(128, '\xFF')}};
  EXPECT_EQ(DecodeRelativeData(EncodeRelativeData(full)), full);
  EXPECT_EQ(DecodeRelativeData(EncodeRelativeData(RelativeData{})), RelativeData{});
  // What cannot be stored is left out rather than stored wrong.
  const RelativeData tooLong{std::string(kMaxDataPath + 1, 'a'), "/b", {}, {}, FileHandle{1, ""}, {}};
  EXPECT_EQ(DecodeRelativeData(EncodeRelativeData(tooLong)), (RelativeData{"", "/b", {}, {}, {}, {}}));

  const std::pair<std::string, bool> cases[] = {  // the bytes, and whether they read
      {kHeader, true},
      {kHeader + Field(9, "later") + Field(2, "/p"), true},     // unknown tags are skipped
      {kHeader + Field(2, "/p") + Field(2, "/q"), true},        // the first value stands
      {"", false}, {"GWrd", false}, {std::string("GWRD\x01", 5), false},
      {std::string("GWrd\x02", 5), false},                      // another version
      {kHeader + "\x02", false},                                // a field cut short
      {kHeader + std::string("\x02\x05\x00/p", 5), false},      // a length past the end
      {kHeader + Field(4, "1234567"), false},                   // an inode of 7 bytes
      {kHeader + Field(3, std::string(8, '\x01') + "x"), false}, {kHeader + Field(1, ""), false},
      {kHeader + Field(5, "1234"), false},                      // a handle without bytes
      {kHeader + Field(6, "1234" + std::string(129, 'h')), false},
      {kHeader + Field(2, std::string("/a\0b", 4)), false},     // a path holding NUL
      {kHeader + Field(9, std::string(kMaxRelativeDataSize, 'z')), false},  // too long
  };
  for (const auto& [bytes, reads] : cases) EXPECT_EQ(DecodeRelativeData(bytes).has_value(), reads) << bytes;
  EXPECT_EQ(DecodeRelativeData(kHeader + Field(2, "/p") + Field(2, "/q"))->absolutePath, "/p");
}

}  // namespace
}  // namespace grantwright::testing
