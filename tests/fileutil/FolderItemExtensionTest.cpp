#include "fileutil/FolderItemExtension.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <tuple>

#include "platform/Exceptions.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using namespace std::string_literals;
using FolderItemExtension::GetSubFolderItemZRN;
using FolderItemExtension::PathZRN;
using FolderItemExtension::ReadContentsSmartZRN;

// The log lines of a failed read are checked on the helper's standard error (tests/tool).

// The encoding the first bytes announce and the text behind them, as read without the
// step to UTF-8 (which would hide, for one, UTF-32LE read as UTF-16LE); and with the step,
// the same UTF-8 text from every encoding.
TEST(ReadContentsSmart, FindsTheEncodingByTheFirstBytesUnlessToldAndGivesUtf8) {
  TempDir dir;
  // The bytes, the encoding told, and the encoding and text read.
  const std::tuple<std::string, const TextEncoding*, const TextEncoding*, std::string> cases[] = {
      {"\xFF\xFE\0\0"s, nullptr, Encodings::UTF32LE(), ""},  // UTF-32's mark comes first
      {"\0\0\xFE\xFF\0\0\0a"s, nullptr, Encodings::UTF32BE(), "\0\0\0a"s},
      {"\0A\0B"s, nullptr, Encodings::UTF16BE(), "\0A\0B"s},
      {"", nullptr, nullptr, ""},
      {"\xE9t\xE9", nullptr, nullptr, "t\xE9"},  // leading bytes with the top bit set are skipped
      {"\xEF\xBB", nullptr, nullptr, ""},        // half a mark
      // Told an encoding, the bytes stay and only the tag changes; line ends are replaced.
      {"\xEF\xBB\xBFx", Encodings::ASCII(), Encodings::ASCII(), "x"},
      {"a\r\nb\rc", Encodings::SystemDefault(), Encodings::SystemDefault(), "a\nb\nc"},
  };
  for (const auto& [bytes, told, encoding, text] : cases) {
    String contents;
    ASSERT_TRUE(ReadContentsSmartZRN(PathToFolderItem(dir.Write("f", bytes)), contents, told, false, true, false));
    EXPECT_EQ(contents.Bytes(), text) << ::testing::PrintToString(bytes);
    EXPECT_EQ(contents.Encoding(), encoding) << ::testing::PrintToString(bytes);
  }
  const std::string text = "<config><Owner datatype=\"String\">Ren\xC3\xA9" "e</Owner></config>\n";
  const auto encode = [&](const TextEncoding* e) { return ConvertEncoding(String(text), e).Bytes(); };
  const std::pair<const char*, std::string> files[] = {
      {"utf8", text},
      {"utf8-bom", "\xEF\xBB\xBF" + text},
      {"utf16le-bom", "\xFF\xFE" + encode(Encodings::UTF16LE())},
      {"utf16be-bom", "\xFE\xFF" + encode(Encodings::UTF16BE())},
      {"utf16le", encode(Encodings::UTF16LE())},
      {"utf16be", encode(Encodings::UTF16BE())},
      {"utf32le-bom", "\xFF\xFE\0\0"s + encode(Encodings::UTF32LE())},
      {"utf32be-bom", "\0\0\xFE\xFF"s + encode(Encodings::UTF32BE())},
      {"windows-1252", encode(Encodings::SystemDefault())},
  };
  for (const auto& [name, bytes] : files) {
    String contents;
    EXPECT_TRUE(ReadContentsSmartZRN(PathToFolderItem(dir.Write(name, bytes)), contents, nullptr, false, false,
                                     true));
    EXPECT_EQ(contents.Bytes(), text) << name;
    EXPECT_EQ(contents.Encoding(), Encodings::UTF8()) << name;
  }
}

// PathZRN abbreviates the real home by characters; GetSubFolderItemZRN walks down and needs
// the parent.
TEST(FolderItemExtension, PathZRNAndGetSubFolderItemZRN) {
  TempDir dir;
  const std::string home = dir / "Hömé";
  ASSERT_TRUE(std::filesystem::create_directory(home));
  const ScopedEnv config("XDG_CONFIG_HOME", nullptr);
  const std::array<std::string, 3> cases[] = {  // home, path, abbreviated
      {home, home, "~"},
      {home, dir / "HÖMÉ/x", "~/x"},     // the prefix compares ignoring case
      {home, home + "old/x", "~old/x"},  // a prefix of characters, not of components
      {home, "/etc/passwd", "/etc/passwd"},
      {dir / "gone", dir / "gone/x", dir / "gone/x"},  // no home folder, nothing to abbreviate
  };
  for (const auto& [homeDir, path, abbreviated] : cases) {
    const ScopedEnv homeEnv("HOME", homeDir.c_str());
    const auto item = PathToFolderItem(String(path));
    EXPECT_EQ(PathZRN(item, true).Bytes(), abbreviated) << path;
    EXPECT_EQ(PathZRN(item, false).Bytes(), path);
  }
  LogCapture log;
  EXPECT_EQ(PathZRN(std::make_shared<FolderItem>(std::string()), true).Bytes(), "");
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Failed to get native path for file: "});

  ASSERT_TRUE(std::filesystem::create_directory(dir / "a"));
  const auto root = PathToFolderItem(String(dir.path()));
  EXPECT_EQ(GetSubFolderItemZRN(root, {})->NativePath(), dir.path());
  EXPECT_EQ(GetSubFolderItemZRN(PathToFolderItem("/"), {}), nullptr);  // a top item
  EXPECT_EQ(GetSubFolderItemZRN(root, {"a", "b"})->NativePath(), dir / "a/b");
  EXPECT_FALSE(GetSubFolderItemZRN(root, {"a", "b"})->Exists());
  EXPECT_EQ(GetSubFolderItemZRN(root, {"missing", "b"}), nullptr);
  EXPECT_EQ(GetSubFolderItemZRN(root, {"a/b"}), nullptr);
  EXPECT_EQ(GetSubFolderItemZRN(root, {".."}), nullptr);
  EXPECT_EQ(GetSubFolderItemZRN(nullptr, {"a"}), nullptr);
}

}  // namespace
}  // namespace grantwright::testing
