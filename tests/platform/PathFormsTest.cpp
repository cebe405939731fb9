// The URL and shell forms of paths, checked against independent readers (Python's
// urllib.parse, a POSIX shell), and GetFolderItem reading all three forms.

#include <gtest/gtest.h>
#include <unistd.h>

#include <random>
#include <string>
#include <vector>

#include "platform/ConsoleApplication.h"
#include "platform/GetFolderItem.h"
#include "platform/PathForms.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

// Paths of arbitrary bytes 1 to 255, names between slashes, "." and ".." among them.
std::vector<std::string> RandomPaths(size_t count) {
  std::mt19937 random(17);
  std::vector<std::string> paths;
  for (size_t i = 0; i < count; ++i) {
    std::string path;
    const int names = 1 + static_cast<int>(random() % 4);
    for (int n = 0; n < names; ++n) {
      path += '/';
      const int length = 1 + static_cast<int>(random() % 12);
      for (int k = 0; k < length; ++k) {
        char c = static_cast<char>(1 + random() % 255);
        if (c == '/') c = '\n';
        path += c;
      }
    }
    paths.push_back(path);
  }
  paths.push_back("/");
  paths.push_back("/a b/'q'\"d\"/\\/$HOME/`x`/*?[a]/~u/-n/%41/\xC3\xA9/\xFF");
  return paths;
}

std::string Joined(const std::vector<std::string>& items, char separator) {
  std::string out;
  for (const std::string& item : items) (out += item) += separator;
  return out;
}

TEST(PathForms, ReadersInvertWritersAndAgreeWithUrllibAndTheShell) {
  const std::vector<std::string> paths = RandomPaths(300);
  std::vector<std::string> urls, shells;
  for (const std::string& path : paths) {
    urls.push_back(URLPathOf(path, false));
    shells.push_back(ShellPathOf(path));
    EXPECT_EQ(PathFromURL(urls.back()), path);
    EXPECT_EQ(PathFromShell(shells.back()), path);
    EXPECT_EQ(PathFromURL(URLPathOf(path, true)), path == "/" ? path : path + "/");
  }
  // Python takes the URLs apart as any URL reader would: no host, the path byte for byte.
  std::vector<std::string> python{"/usr/bin/python3", "-c",
                                  "import sys, urllib.parse as u\n"
                                  "for url in sys.argv[1:]:\n"
                                  "  p = u.urlparse(url)\n"
                                  "  assert p.scheme == 'file' and not (p.netloc or p.query or p.fragment), url\n"
                                  "  sys.stdout.buffer.write(u.unquote_to_bytes(p.path) + b'\\0')\n"};
  python.insert(python.end(), urls.begin(), urls.end());
  const ProcessResult parsed = ::grantwright::testing::Run(python);
  EXPECT_EQ(parsed.status, 0) << parsed.err;
  EXPECT_EQ(parsed.out, Joined(paths, '\0'));
  // One shell prints every shell form back.
  std::string words;
  for (const std::string& shell : shells) words += " " + shell;
  const ProcessResult printed = ::grantwright::testing::Run({"/bin/sh", "-c", "printf '%s\\0'" + words});
  EXPECT_EQ(printed.status, 0) << printed.err;
  EXPECT_EQ(printed.out, Joined(paths, '\0'));
}

TEST(GetFolderItem, ReadsEachFormAndRefusesWhatNamesNoPath) {
  TempDir dir;
  const std::string file = dir.Write("a b", "x");
  const struct {
    std::string text;
    int mode;
    const char* path;  // null: nil
  } cases[] = {
      {URLPathOf(file, false), kPathTypeURL, file.c_str()},
      {"FILE://LocalHost" + file, kPathTypeURL, file.c_str()},
      {URLPathOf(dir.path(), true), kPathTypeURL, dir.path().c_str()},
      {"file:///x/y?q#f", kPathTypeURL, "/x/y"},
      {"file://example.com/x", kPathTypeURL, nullptr},
      {"file:///x/a%00b", kPathTypeURL, nullptr},
      {"file:///x/a%2Fb", kPathTypeURL, nullptr},
      {"file:///x/%zz%4", kPathTypeURL, "/x/%zz%4"},
      {"http:///x", kPathTypeURL, nullptr},
      {ShellPathOf(file), kPathTypeShell, file.c_str()},
      {"/a\\\nb/'c d'/'open", kPathTypeShell, "/ab/c d/open"},
      {file, kPathTypeNative, file.c_str()},
      {file, 4, nullptr},
      {std::string("/a\0b", 4), kPathTypeNative, nullptr},
  };
  for (const auto& c : cases) {
    const FolderItemRef item = GetFolderItem(String(c.text, nullptr), c.mode);
    EXPECT_EQ(item ? item->NativePath() : "nil", c.path ? c.path : "nil") << c.text;
  }
  // The item's own forms: a folder's URL ends in "/", Name is the raw last component.
  const FolderItemRef folder = PathToFolderItem(String(dir.path()));
  EXPECT_EQ(folder->URLPath().Bytes(), URLPathOf(dir.path(), false) + "/");
  EXPECT_EQ(FolderItem(dir.path() + "/caf\xE9").Name().Encoding(), nullptr);  // raw, untagged
  EXPECT_EQ(Volume(0)->NativePath(), "/");
  EXPECT_EQ(Volume(1), nullptr);
  char self[4096] = {};
  ASSERT_GT(::readlink("/proc/self/exe", self, sizeof self - 1), 0);
  EXPECT_EQ(ConsoleApplication::ExecutableFile()->NativePath(), self);
}

}  // namespace
}  // namespace grantwright::testing
