#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "convert/UniversalExtension.h"
#include "fileutil/FolderItemExtension.h"
#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using FolderItemExtension::ReadContentsSmartZRN;
using FolderItemExtension::ReadEncodingBitsZRN;
using FolderItemExtension::ReadRemainderZRN;

std::string Bytes(std::initializer_list<int> values) {
  std::string s;
  for (int v : values) s.push_back(static_cast<char>(v));
  return s;
}

// Every signature, read whole, is in EveryEncodingGivesTheSameUtf8Text.
TEST(ReadEncodingBits, SignaturesPositionAndRemainder) {
  struct Case {
    std::string bytes;
    const TextEncoding* encoding;
    std::string remainder;
  };
  const Case cases[] = {
      {Bytes({0xFF, 0xFE, 0, 0}), Encodings::UTF32LE(), ""},
      {Bytes({0, 0, 0xFE, 0xFF, 0, 0, 0, 'a'}), Encodings::UTF32BE(), Bytes({0, 0, 0, 'a'})},
      {Bytes({0xFE, 0xFF, 0, 'a'}), Encodings::UTF16BE(), Bytes({0, 'a'})},
      {Bytes({0, 'A', 0, 'B'}), Encodings::UTF16BE(), Bytes({0, 'A', 0, 'B'})},
      {Bytes({0}), Encodings::UTF16BE(), Bytes({0})},
      {"", nullptr, ""},
      {"\xE9t\xE9", nullptr, "t\xE9"},
      {"\xC3\xA9", nullptr, ""},
      {"<r/>", nullptr, "<r/>"},
      {"\xEF\xBB", nullptr, ""},  // half a mark: both bytes have the top bit set
  };
  TempDir dir;
  for (const Case& c : cases) {
    const auto file = PathToFolderItem(dir.Write("f", c.bytes));
    const auto stream = BinaryStream::Open(file, false);
    EXPECT_EQ(ReadEncodingBitsZRN(stream), c.encoding) << ::testing::PrintToString(c.bytes);
    const String rest = ReadRemainderZRN(stream, c.encoding);
    EXPECT_EQ(rest.Bytes(), c.remainder) << ::testing::PrintToString(c.bytes);
    EXPECT_EQ(rest.Encoding(), c.encoding);
    EXPECT_TRUE(stream->EndOfFile());
  }
  EXPECT_THROW(ReadEncodingBitsZRN(nullptr), NilObjectException);
  EXPECT_THROW(ReadRemainderZRN(nullptr, nullptr), NilObjectException);
}

TEST(ReadContentsSmart, EveryEncodingGivesTheSameUtf8Text) {
  const std::string text = "<config><Owner datatype=\"String\">Ren\xC3\xA9" "e</Owner></config>\n";
  const String utf8(text);
  const auto encode = [&](const TextEncoding* e) { return ConvertEncoding(utf8, e).Bytes(); };
  const std::pair<const char*, std::string> files[] = {
      {"utf8", text},
      {"utf8-bom", "\xEF\xBB\xBF" + text},
      {"utf16le-bom", "\xFF\xFE" + encode(Encodings::UTF16LE())},
      {"utf16be-bom", "\xFE\xFF" + encode(Encodings::UTF16BE())},
      {"utf16le", encode(Encodings::UTF16LE())},
      {"utf16be", encode(Encodings::UTF16BE())},
      {"utf32le-bom", Bytes({0xFF, 0xFE, 0, 0}) + encode(Encodings::UTF32LE())},
      {"utf32be-bom", Bytes({0, 0, 0xFE, 0xFF}) + encode(Encodings::UTF32BE())},
      {"windows-1252", encode(Encodings::SystemDefault())},
  };
  TempDir dir;
  for (const auto& [name, bytes] : files) {
    String contents;
    ASSERT_TRUE(ReadContentsSmartZRN(PathToFolderItem(dir.Write(name, bytes)), contents, nullptr,
                                     false, false, true))
        << name;
    EXPECT_EQ(contents.Bytes(), text) << name;
    EXPECT_EQ(contents.Encoding(), Encodings::UTF8()) << name;
  }
}

TEST(ReadContentsSmart, OverrideLineEndingsAndUntouchedText) {
  TempDir dir;
  const auto file = PathToFolderItem(dir.Write("f", "a\r\nb\rc"));
  String contents("left over");
  ASSERT_TRUE(ReadContentsSmartZRN(file, contents, nullptr, false, false, false));
  EXPECT_EQ(contents.Bytes(), "a\r\nb\rc");
  EXPECT_EQ(contents.Encoding(), nullptr);

  ASSERT_TRUE(ReadContentsSmartZRN(file, contents, Encodings::SystemDefault(), false, true, false));
  EXPECT_EQ(contents.Bytes(), "a\nb\nc");
  EXPECT_EQ(contents.Encoding(), Encodings::SystemDefault());

  // An override that matches what was found changes nothing; another one only retags.
  const auto bom = PathToFolderItem(dir.Write("bom", "\xEF\xBB\xBFx"));
  ASSERT_TRUE(ReadContentsSmartZRN(bom, contents, Encodings::UTF8(), false, false, false));
  EXPECT_EQ(contents.Encoding(), Encodings::UTF8());
  ASSERT_TRUE(ReadContentsSmartZRN(bom, contents, Encodings::ASCII(), false, false, false));
  EXPECT_EQ(contents.Bytes(), "x");
  EXPECT_EQ(contents.Encoding(), Encodings::ASCII());

  const auto empty = PathToFolderItem(dir.Write("empty", ""));
  ASSERT_TRUE(ReadContentsSmartZRN(empty, contents, nullptr, false, false, true));
  EXPECT_EQ(contents.Bytes(), "");
  EXPECT_EQ(contents.Encoding(), Encodings::UTF8());
}

TEST(ReadContentsSmart, FailuresLogTheirExactMessage) {
  const std::string notFound =
      "The chosen file cannot be read.\n\nReadContentsSmartZRN() failed as the file was not found or readable.";
  const std::string noAccess =
      "The chosen file cannot be read.\n\nPlease ensure you have adequate permissions to access this file.";
  TempDir dir;
  const struct {
    FolderItemRef file;
    const std::string& message;
  } cases[] = {
      {nullptr, notFound},
      {PathToFolderItem(dir / "missing"), notFound},
      {PathToFolderItem(dir.path()), noAccess},  // a folder opens but cannot be read
  };
  for (const auto& c : cases) {
    LogCapture log;
    String contents("stale");
    EXPECT_FALSE(ReadContentsSmartZRN(c.file, contents, nullptr, false, false, true));
    EXPECT_EQ(contents.Bytes(), "");
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0], c.message);
  }
}

}  // namespace
}  // namespace grantwright::testing
