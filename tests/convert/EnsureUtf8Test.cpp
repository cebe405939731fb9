#include <gtest/gtest.h>

#include "convert/UniversalExtension.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using UniversalExtension::DecodingFromURLZRN;
using UniversalExtension::EnsureUTF8EncodingZRN;

TEST(EnsureUTF8Encoding, PicksTheFirstEncodingThatFitsAndDropsNul) {
  struct Case {
    String in;
    std::string out;
    const char* why;
  };
  const Case cases[] = {
      {String(std::string("a\0b", 3), Encodings::UTF8()), std::string("a\0b", 3), "tagged UTF-8 is left alone"},
      {String("plain", nullptr), "plain", "ASCII is UTF-8"},
      {String("", nullptr), "", "empty"},
      {String("caf\xC3\xA9", nullptr), "caf\xC3\xA9", "UTF-8"},
      {String(std::string("h\0i\0", 4), nullptr), "hi", "UTF-16LE before UTF-16BE"},
      {String(std::string("\xD8\x3D\xDE\x00\x00\xE9", 6), nullptr), "\xF0\x9F\x98\x80\xC3\xA9", "UTF-16BE"},
      {String("caf\xE9 cr\xE8me", nullptr), "caf\xC3\xA9 cr\xC3\xA8me", "windows-1252"},
      {String("\x93quoted\x94", nullptr), "\xE2\x80\x9Cquoted\xE2\x80\x9D", "windows-1252 quotes"},
      {String("\xE9", Encodings::SystemDefault()), "\xC3\xA9", "tagged text is converted"},
      {String(std::string("\0a\0\0\0b", 6), Encodings::UTF16BE()), "ab", "NUL after conversion"},
  };
  for (const Case& c : cases) {
    LogCapture log;
    const String out = EnsureUTF8EncodingZRN(c.in);
    EXPECT_EQ(out.Bytes(), c.out) << c.why;
    EXPECT_EQ(out.Encoding(), Encodings::UTF8()) << c.why;
    EXPECT_TRUE(log.lines().empty()) << c.why;
  }
}

TEST(EnsureUTF8Encoding, AnyBytesComeOutValidUtf8WithoutNul) {
  std::string all;
  for (int i = 0; i < 256; ++i) all.push_back(static_cast<char>(i));
  for (const std::string& bytes : {all, all.substr(1), std::string(1001, '\xFF'), std::string("\xFF\xFE\x00", 3)}) {
    const String out = EnsureUTF8EncodingZRN(String(bytes, nullptr));
    EXPECT_TRUE(utf8::IsValid(out.Bytes()));
    EXPECT_EQ(out.Bytes().find('\0'), std::string::npos);
  }
}

TEST(DecodingFromURL, DecodesThenNormalises) {
  // The typed decoder's String rows read windows-1252 and UTF-8 escapes and drop NUL.
  EXPECT_EQ(DecodingFromURLZRN("a+b%2Bc").Bytes(), "a+b+c");
  EXPECT_EQ(DecodingFromURLZRN("100%%4%zz%00x").Bytes(), "100%%4%zzx");
}

}  // namespace
}  // namespace grantwright::testing
