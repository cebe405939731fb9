#include "platform/TextEncoding.h"

#include <gtest/gtest.h>

namespace grantwright {
namespace {

std::string Bytes(std::initializer_list<int> values) {
  std::string s;
  for (int v : values) s.push_back(static_cast<char>(v));
  return s;
}

// What makes untagged bytes pass for UTF-16, so that ordinary single-byte text falls
// through to windows-1252. Surrogate pairs and windows-1252 words are read by the
// normaliser's tests (tests/convert).
TEST(TextEncoding, Utf16RejectsWhatIsNoText) {
  const struct {
    const TextEncoding* encoding;
    std::string bytes;
    bool valid;
    const char* why;
  } cases[] = {
      {Encodings::UTF16LE(), Bytes({'h', 0, 'i'}), false, "odd length"},
      {Encodings::UTF16BE(), Bytes({0x65, 0xE5, 0x67, 0x2C}), false, "no code point below U+0100"},
      {Encodings::UTF16BE(), Bytes({0x65, 0xE5, 0x67, 0x2C, 0, '\n'}), true, "ideographs and a line end"},
      {Encodings::UTF16LE(), Bytes({0x3D, 0xD8, 'a', 0}), false, "unpaired high surrogate"},
      {Encodings::UTF16BE(), Bytes({0xE0, 0x00}), false, "private use"},
      {Encodings::UTF16BE(), Bytes({0xFF, 0xFF}), false, "noncharacter"},
      {Encodings::UTF16BE(), Bytes({0x03, 0x78}), false, "unassigned"},
      {Encodings::UTF16BE(), Bytes({0x00, 0x01}), false, "C0 control"},
      {Encodings::UTF16BE(), Bytes({0x00, '\t', 0x00, '\r', 0x00, '\n'}), true, "TAB CR LF"},
      {Encodings::UTF16(), Bytes({'a', 0, 0, ' '}), true, "U+6100, an ideograph: big-endian without a mark"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.encoding->IsValidData(c.bytes), c.valid) << c.why;
}

// Round trips through every Unicode form are read back by ReadContentsSmart's tests.
TEST(TextEncoding, ConversionsMapEveryByteAndReplaceWhatIsInvalid) {
  // The five bytes windows-1252 leaves undefined stand for the C1 controls of their value.
  EXPECT_EQ(ConvertEncoding(String("\x81\x9D", Encodings::SystemDefault()), Encodings::UTF8()).Bytes(),
            "\xC2\x81\xC2\x9D");
  // Invalid input becomes U+FFFD, so the result is always valid UTF-8.
  const String badUtf16(Bytes({'a', 0, 0x00, 0xDC, 'b'}), Encodings::UTF16LE());
  EXPECT_EQ(ConvertEncoding(badUtf16, Encodings::UTF8()).Bytes(), "a\xEF\xBF\xBD\xEF\xBF\xBD");
  // A high surrogate before a character that is no low one, and UTF-32 above U+10FFFF.
  EXPECT_EQ(ConvertEncoding(String(Bytes({0xD8, 0x3D, 0, 'a'}), Encodings::UTF16BE()), Encodings::UTF8()).Bytes(),
            "\xEF\xBF\xBD" "a");
  EXPECT_EQ(ConvertEncoding(String(Bytes({0, 0, 0x11, 0, 'a', 0, 0, 0}), Encodings::UTF32LE()), Encodings::UTF8()).Bytes(),
            "\xEF\xBF\xBD" "a");
  // Characters beyond the first plane take a surrogate pair in UTF-16; "UTF-16" is written
  // with its mark, little-endian, and read back through it.
  const String text("a\xF0\x9F\x98\x80", Encodings::UTF8());
  EXPECT_EQ(ConvertEncoding(text, Encodings::UTF16()).Bytes(), Bytes({0xFF, 0xFE, 'a', 0, 0x3D, 0xD8, 0x00, 0xDE}));
  EXPECT_EQ(ConvertEncoding(text, Encodings::UTF32BE()).Bytes(), Bytes({0, 0, 0, 'a', 0, 1, 0xF6, 0}));
  for (const TextEncoding* wide : {Encodings::UTF16(), Encodings::UTF16LE(), Encodings::UTF16BE(),
                                   Encodings::UTF32LE(), Encodings::UTF32BE()}) {
    EXPECT_EQ(ConvertEncoding(ConvertEncoding(text, wide), Encodings::UTF8()).Bytes(), text.Bytes()) << wide->InternetName();
  }
  // Untagged text has nothing to convert from.
  EXPECT_EQ(ConvertEncoding(String("\xE9", nullptr), Encodings::UTF8()).Encoding(), nullptr);
}

}  // namespace
}  // namespace grantwright
