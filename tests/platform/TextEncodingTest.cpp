#include "platform/TextEncoding.h"

#include <gtest/gtest.h>

namespace grantwright {
namespace {

std::string Bytes(std::initializer_list<int> values) {
  std::string s;
  for (int v : values) s.push_back(static_cast<char>(v));
  return s;
}

TEST(TextEncoding, Utf16AndUtf32RejectWhatIsNoText) {
  struct Case {
    const TextEncoding* encoding;
    std::string bytes;
    bool valid;
    const char* why;
  };
  const Case cases[] = {
      {Encodings::UTF16LE(), Bytes({'h', 0, 'i', 0}), true, "ASCII as UTF-16LE"},
      {Encodings::UTF16LE(), Bytes({'h', 0, 'i'}), false, "odd length"},
      {Encodings::UTF16LE(), Bytes({0x3D, 0xD8, 0x00, 0xDE, ' ', 0}), true, "surrogate pair"},
      {Encodings::UTF16BE(), Bytes({0x65, 0xE5, 0x67, 0x2C}), false, "no code point below U+0100"},
      {Encodings::UTF16BE(), Bytes({0x65, 0xE5, 0x67, 0x2C, 0, '\n'}), true, "ideographs and a line end"},
      {Encodings::UTF16LE(), Bytes({0x3D, 0xD8, 'a', 0}), false, "unpaired high surrogate"},
      {Encodings::UTF16LE(), Bytes({0x00, 0xDE}), false, "lone low surrogate"},
      {Encodings::UTF16BE(), Bytes({0xE0, 0x00}), false, "private use"},
      {Encodings::UTF16BE(), Bytes({0xFF, 0xFF}), false, "noncharacter"},
      {Encodings::UTF16BE(), Bytes({0xFD, 0xD0}), false, "noncharacter FDD0"},
      {Encodings::UTF16BE(), Bytes({0x03, 0x78}), false, "unassigned"},
      {Encodings::UTF16BE(), Bytes({0x00, 0x01}), false, "C0 control"},
      {Encodings::UTF16BE(), Bytes({0x00, '\t', 0x00, '\r', 0x00, '\n'}), true, "TAB CR LF"},
      {Encodings::UTF16(), Bytes({0xFF, 0xFE, 'a', 0}), true, "little-endian by its mark"},
      {Encodings::UTF16(), Bytes({0, 'a'}), true, "big-endian without a mark"},
      {Encodings::UTF16(), Bytes({'a', 0, 0, ' '}), true, "U+6100, an ideograph, big-endian"},
      {Encodings::UTF32LE(), Bytes({'a', 0, 0, 0}), true, "UTF-32LE"},
      {Encodings::UTF32BE(), Bytes({0, 0x11, 0, 0}), false, "beyond U+10FFFF"},
      {Encodings::UTF32LE(), Bytes({'a', 0, 0}), false, "partial unit"},
      // windows-1252 text must not pass for UTF-16.
      {Encodings::UTF16LE(), "caf\xE9 cr\xE8me", false, "windows-1252 text"},
      {Encodings::UTF16LE(), "Gr\xFC\xDF" "e aus K\xF6" "ln!", false, "windows-1252 text"},
      {Encodings::UTF8(), "caf\xE9", false, "windows-1252 is no UTF-8"},
      {Encodings::UTF8(), "\xC0\xAF", false, "overlong"},
      {Encodings::UTF8(), "\xED\xA0\x80", false, "encoded surrogate"},
      {Encodings::ASCII(), "caf\xE9", false, "high byte"},
      {Encodings::SystemDefault(), Bytes({0x81, 0x8D, 0x00, 0xFF}), true, "every byte"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.encoding->IsValidData(c.bytes), c.valid) << c.why;
  }
  for (const TextEncoding* e : {Encodings::UTF8(), Encodings::UTF16(), Encodings::UTF16LE(),
                                Encodings::UTF32BE(), Encodings::ASCII()}) {
    EXPECT_TRUE(e->IsValidData("")) << e->InternetName();
  }
}

TEST(TextEncoding, ConvertEncodingMapsAndReplacesWhatIsInvalid) {
  // Round trips through every Unicode form are read back by ReadContentsSmart's tests.
  const String cp1252 = ConvertEncoding(String("€ ‚ ÿ"), Encodings::SystemDefault());
  EXPECT_EQ(cp1252.Bytes(), "\x80 \x82 \xFF");
  EXPECT_EQ(ConvertEncoding(String("\x81\x9D", Encodings::SystemDefault()), Encodings::UTF8()).Bytes(),
            "\xC2\x81\xC2\x9D");
  EXPECT_EQ(ConvertEncoding(String("日本", Encodings::UTF8()), Encodings::ASCII()).Bytes(), "??");

  // Invalid input becomes U+FFFD, so the result is always valid UTF-8.
  const String badUtf16(Bytes({'a', 0, 0x00, 0xDC, 'b'}), Encodings::UTF16LE());
  EXPECT_EQ(ConvertEncoding(badUtf16, Encodings::UTF8()).Bytes(), "a\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(ConvertEncoding(String("a\xFF", Encodings::UTF8()), Encodings::UTF8()).Bytes(), "a\xEF\xBF\xBD");

  // Untagged text has nothing to convert from; tagging never touches bytes.
  const String untagged("\xE9", nullptr);
  EXPECT_EQ(ConvertEncoding(untagged, Encodings::UTF8()).Encoding(), nullptr);
  EXPECT_EQ(DefineEncoding(untagged, Encodings::UTF16BE()).Bytes(), "\xE9");
}

TEST(TextEncoding, ReplaceLineEndingsInEveryWidth) {
  EXPECT_EQ(ReplaceLineEndings(String("a\r\nb\rc\nd"), "\n").Bytes(), "a\nb\nc\nd");
  const String wide = ConvertEncoding(String("a\r\nb\rc"), Encodings::UTF16LE());
  const String replaced = ReplaceLineEndings(wide, "\n");
  EXPECT_EQ(replaced.Encoding(), Encodings::UTF16LE());
  EXPECT_EQ(ConvertEncoding(replaced, Encodings::UTF8()).Bytes(), "a\nb\nc");
}

}  // namespace
}  // namespace grantwright
