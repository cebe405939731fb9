#include "platform/String.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/TextEncoding.h"

namespace grantwright {
namespace {

// CaseFolded must agree with ==: dictionaries index keys by it.
TEST(String, EqualityFoldsCaseSimplyAndComparesBadBytesExactly) {
  const struct {
    String a, b;
    bool equal;
  } cases[] = {
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
}

TEST(String, TextFunctionsCountCharactersOfTextAndBytesOtherwise) {
  EXPECT_EQ(Len("héllo"), 5);
  EXPECT_EQ(Len(String("h\xC3\xA9llo", nullptr)), 6);
  EXPECT_EQ(InStr("héllo wörld", "WÖR"), 7);
  EXPECT_EQ(InStr(8, "héllo wörld", "wör"), 0);
  EXPECT_EQ(InStr("abc", ""), 0);
  EXPECT_EQ(InStrB(1, "aXa", "x"), 0);  // bytes compare exactly
  EXPECT_EQ(ReplaceAll("aXbxc", "x", "--").Bytes(), "a--b--c");
  // The typed decoder's "array_N" names and the time stamps' "T" take NthField's common paths.
  EXPECT_EQ(NthField("a--b", "-", 2).Bytes(), "");
  EXPECT_EQ(NthField("abc", "-", 0).Bytes(), "");
  EXPECT_EQ(NthField("é-ü", "-", 2).Bytes(), "ü");
}

// The typed decoder reads Integer, Double and Color values through Val (tests/xml).
TEST(String, ValReadsTheLeadingNumber) {
  const struct {
    const char* text;
    double value;
  } cases[] = {
      {"3.9abc", 3.9}, {"  -42", -42}, {"+7", 7},     {"1e3", 1000}, {"1e", 1},
      {".5", 0.5},     {"-", 0},       {"&hFF", 255}, {"&o17", 15},  {"&b101", 5},
      {"&hzz", 0},     {"inf", 0},     {"nan", 0},    {"0x10", 0},
  };
  for (const auto& c : cases) EXPECT_EQ(Val(c.text), c.value) << c.text;
  EXPECT_EQ(TruncateToInt64(-1e300), INT64_MIN);
  EXPECT_EQ(TruncateToInt64(std::nan("")), 0);
}

}  // namespace
}  // namespace grantwright
