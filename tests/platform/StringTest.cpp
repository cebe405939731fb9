#include "platform/String.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/TextEncoding.h"

namespace grantwright {
namespace {

TEST(String, EqualityIgnoresCaseAcrossScriptsAndEncodings) {
  struct Case {
    String a, b;
    bool equal;
  };
  const Case cases[] = {
      {"-a", "-A", true},
      {"-f", "-F", true},
      {"datatype", "DataType", true},
      {"Straße", "STRASSE", false},           // simple folding: no ß -> ss
      {"ΣΊΣΥΦΟΣ", "σίσυφος", true},           // final sigma folds with sigma
      {"\xE2\x84\xAA", "k", true},             // KELVIN SIGN
      {"\xC5\xBF", "S", true},                 // LONG S
      {"abc", "abcd", false},
      {"", "", true},
      {String("\xE9t\xE9", Encodings::SystemDefault()), "ÉTÉ", true},
      {String(std::string("a\0b", 3), Encodings::UTF8()), String(std::string("A\0B", 3), nullptr), true},
      {String("\xFF", nullptr), String("\xFE", nullptr), false},  // invalid bytes compare exactly
      {String("\xFF", nullptr), String("\xFF", nullptr), true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.a == c.b, c.equal) << c.a.Bytes() << " vs " << c.b.Bytes();
    EXPECT_EQ(c.b == c.a, c.equal) << c.b.Bytes() << " vs " << c.a.Bytes();
    EXPECT_EQ(CaseFolded(c.a) == CaseFolded(c.b), c.equal) << c.a.Bytes();
  }
  EXPECT_FALSE(Identical("abc", "ABC"));
}

TEST(String, LenCountsCodePointsForUnicodeAndBytesOtherwise) {
  EXPECT_EQ(Len("héllo"), 5);
  EXPECT_EQ(Len(String("h\xE9llo", Encodings::SystemDefault())), 5);
  EXPECT_EQ(Len(String("h\xC3\xA9llo", nullptr)), 6);
  EXPECT_EQ(Len(String(std::string("\x00h\x00\xE9", 4), Encodings::UTF16BE())), 2);
  EXPECT_EQ(Len(String("\xF0\x9F\x98\x80", Encodings::UTF8())), 1);
}

TEST(String, InStrAndInStrB) {
  EXPECT_EQ(InStr("/Users/x/Library/Containers/y", "/containers/"), 17);
  EXPECT_EQ(InStr("héllo wörld", "WÖR"), 7);  // characters, not bytes
  EXPECT_EQ(InStr(8, "héllo wörld", "wör"), 0);
  EXPECT_EQ(InStr("abc", "") + InStr("abc", "x"), 0);
  EXPECT_EQ(InStrB(0, String(std::string("ab\0c", 4), nullptr), String(std::string(1, '\0'), nullptr)), 3);
  EXPECT_EQ(InStrB(1, "aXa", "x"), 0);  // bytes compare exactly
  EXPECT_EQ(InStrB(3, "abab", "ab"), 3);
}

TEST(String, NthFieldSplitsIgnoringCase) {
  struct Case {
    const char* text;
    const char* separator;
    int64_t index;
    const char* field;
  };
  const Case cases[] = {
      {"2018-06-01T09:05:07", "T", 1, "2018-06-01"}, {"2018-06-01T09:05:07", "T", 2, "09:05:07"},
      {"2018-06-01t09:05:07", "T", 2, "09:05:07"},   {"2018-06-01", "T", 2, ""},
      {"array_10", "array_", 2, "10"},               {"ARRAY_3", "array_", 2, "3"},
      {"array_1array_2", "array_", 2, "1"},          {"note", "array_", 2, ""},
      {"a--b", "-", 2, ""},                          {"a--b", "-", 3, "b"},
      {"abc", "", 1, "abc"},                         {"abc", "-", 0, ""},
      {"é-ü", "-", 2, "ü"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(NthField(c.text, c.separator, c.index).Bytes(), c.field) << c.text << " " << c.index;
  }
}

TEST(String, ValReadsTheLeadingNumber) {
  struct Case {
    const char* text;
    double value;
  };
  const Case cases[] = {
      {"3.9abc", 3.9}, {"-3.9", -3.9}, {"  42", 42},     {"+7", 7},      {"1e3", 1000},
      {"1e", 1},       {"0.25", 0.25}, {".5", 0.5},      {"5.", 5},      {"abc", 0},
      {"", 0},         {"-", 0},       {"&hFF", 255},    {"&o17", 15},   {"&b101", 5},
      {"&hzz", 0},     {"inf", 0},     {"nan", 0},       {"0x10", 0},    {"4294967296", 4294967296.0},
      {"9007199254740993", 9007199254740992.0},
  };
  for (const Case& c : cases) EXPECT_EQ(Val(c.text), c.value) << c.text;
  EXPECT_TRUE(std::isinf(Val("1e999")));
  EXPECT_EQ(Val("-1e-999"), 0.0);
  EXPECT_EQ(TruncateToInt64(-3.9), -3);
  EXPECT_EQ(TruncateToInt64(1e300), INT64_MAX);
  EXPECT_EQ(TruncateToInt64(-1e300), INT64_MIN);
  EXPECT_EQ(TruncateToInt64(std::nan("")), 0);
}

TEST(String, IsNumericStrJoinAndReplaceAll) {
  for (const char* yes : {"0", "00", "0e0", " 1.5 ", "-2", "&h1F"}) EXPECT_TRUE(IsNumeric(yes)) << yes;
  for (const char* no : {"", " ", "1a", "e5", "&h", "--1"}) EXPECT_FALSE(IsNumeric(no)) << no;
  EXPECT_EQ(Str(int64_t{-42}).Bytes(), "-42");
  EXPECT_EQ(Str(0.1).Bytes(), "0.1");
  EXPECT_EQ(Val(Str(1.0 / 3.0)), 1.0 / 3.0);
  EXPECT_EQ(Join({"a", "b", "c"}, "\n").Bytes(), "a\nb\nc");
  EXPECT_EQ(Join({}, ",").Bytes(), "");
  EXPECT_EQ(ReplaceAll("aXbxc", "x", "--").Bytes(), "a--b--c");
  EXPECT_EQ(ReplaceAll("abc", "", "x").Bytes(), "abc");
}

}  // namespace
}  // namespace grantwright
