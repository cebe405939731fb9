// Strings, the encodings they are read in, and the dictionary keys that compare as they do.

#include "platform/String.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/Dictionary.h"
#include "platform/TextEncoding.h"

namespace grantwright {
namespace {

std::string Bytes(std::initializer_list<int> values) { return std::string(values.begin(), values.end()); }

// CaseFolded must agree with ==: dictionaries index keys by it.
TEST(String, EqualityFoldsCaseSimplyAndComparesBadBytesExactly) {
  const struct { String a, b; bool equal; } cases[] = {
      {"Straße", "STRASSE", false},  // simple folding: no ß -> ss
      {"ΣΊΣΥΦΟΣ", "σίσυφος", true},  // final sigma folds with sigma
      {"\xE2\x84\xAA", "k", true},  // KELVIN SIGN
      {"\xC5\xBF", "S", true},      // LONG S
      {String("\xE9t\xE9", Encodings::SystemDefault()), "ÉTÉ", true},
      {String(std::string("a\0b", 3), Encodings::UTF8()), String(std::string("A\0B", 3), nullptr), true},
      {String("\xFF", nullptr), String("\xFE", nullptr), false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.a == c.b, c.equal) << c.a.Bytes() << " vs " << c.b.Bytes();
    EXPECT_EQ(c.b == c.a, c.equal) << c.b.Bytes() << " vs " << c.a.Bytes();
    EXPECT_EQ(CaseFolded(c.a) == CaseFolded(c.b), c.equal) << c.a.Bytes();
  }
  // Dictionary keys compare so too, whether it scans its entries or uses its index of folded keys.
  for (int filler : {0, 40}) {
    Dictionary dict;
    for (int i = 0; i < filler; ++i) dict.SetValue(String("filler" + std::to_string(i)), int64_t{i});
    dict.SetValue(String("Owner"), String("root"));
    dict.SetValue(String("OWNER"), String("daemon"));  // replaces, keeps "Owner"
    dict.SetValue(String("\xC3\xA9T\xC3\xA9"), int64_t{4});  // "éTé"
    EXPECT_EQ(dict.Count(), static_cast<size_t>(filler) + 2);
    EXPECT_EQ(dict.Key(static_cast<size_t>(filler)).StringValue(), "Owner");
    EXPECT_TRUE(Identical(dict.Value(String("owner")).StringValue(), "daemon"));
    EXPECT_EQ(dict.Value(String("\xC3\x89t\xC3\xA9")).Int64Value(), 4);
    EXPECT_FALSE(dict.HasKey(String("Owners")));
  }
}

// The typed decoder reads Integer, Double and Color values through Val (tests/xml), its
// "array_N" names and the time stamps' "T" take NthField's common paths.
TEST(String, TextFunctionsCountCharactersOrBytesAndValReadsTheLeadingNumber) {
  EXPECT_EQ(Len("héllo"), 5);
  EXPECT_EQ(Len(String("h\xC3\xA9llo", nullptr)), 6);
  EXPECT_EQ(InStr("héllo wörld", "WÖR"), 7);
  EXPECT_EQ(InStr(8, "héllo wörld", "wör"), 0);
  EXPECT_EQ(InStr("abc", ""), 0);
  EXPECT_EQ(InStrB(1, "aXa", "x"), 0);  // bytes compare exactly
  EXPECT_EQ(ReplaceAll("aXbxc", "x", "--").Bytes(), "a--b--c");
  EXPECT_EQ(NthField("a--b", "-", 2).Bytes() + NthField("abc", "-", 0).Bytes(), "");
  EXPECT_EQ(NthField("é-ü", "-", 2).Bytes(), "ü");
  const std::pair<const char*, double> numbers[] = {
      {"3.9abc", 3.9}, {"  -42", -42}, {"+7", 7},     {"1e3", 1000}, {"1e", 1},
      {".5", 0.5},     {"-", 0},       {"&hFF", 255}, {"&o17", 15},  {"&b101", 5},
      {"&hzz", 0},     {"inf", 0},     {"nan", 0},    {"0x10", 0},
  };
  for (const auto& [text, value] : numbers) EXPECT_EQ(Val(text), value) << text;
  EXPECT_EQ(TruncateToInt64(-1e300), INT64_MIN);
  EXPECT_EQ(TruncateToInt64(std::nan("")), 0);
}

// What makes untagged bytes pass for UTF-16, so that ordinary single-byte text falls
// through to windows-1252. Surrogate pairs and windows-1252 words are read by the
// normaliser's tests (tests/convert).
TEST(TextEncoding, Utf16RejectsWhatIsNoText) {
  const struct { const TextEncoding* encoding; std::string bytes; bool valid; const char* why; } cases[] = {
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
