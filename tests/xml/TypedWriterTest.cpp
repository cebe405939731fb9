#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/Dictionary.h"
#include "platform/UrlCoding.h"
#include "support/TestSupport.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

using XMLExtension::AsDictionaryFromXMLStringZRN;
using XMLExtension::AsXMLStringFromDictionaryZRN;

DictionaryRef DictionaryOf(std::initializer_list<std::pair<const char*, Variant>> entries) {
  auto dict = std::make_shared<Dictionary>();
  for (const auto& [key, value] : entries) dict->SetValue(key, value);
  return dict;
}

TEST(TypedWriter, EveryKindNestedReadsBackEqualAndOthersAreRefused) {
  const auto when = std::make_shared<Date>(2018, 6, 1, 9, 5, 7, -4.0);
  when->SetTotalSeconds(when->TotalSeconds() + 0.75);
  const DictionaryRef inner = DictionaryOf({
      {"Strings", NewArray<String>({"read", "write"})}, {"Numbers", NewArray<int64_t>({3, 1, 2})},
      {"Flags", NewArray<bool>({true, false})}, {"NoItems", NewArray<Variant>()},
      {"NoEntries", std::make_shared<Dictionary>()},
  });
  const DictionaryRef all = DictionaryOf({
      {"Text", "a b+c%d/\xC3\xBC\n<&>\"'"}, {"Empty", ""}, {"Yes", true}, {"No", false},
      {"Small", int32_t{-7}}, {"Big", int64_t{9007199254740992}}, {"Ratio", 0.1}, {"Tiny", 5e-324},
      {"Third", 1.0f / 3.0f}, {"When", when}, {"Tint", Integer2Color(0xFF8000FF)},
      {"Outer", NewArray<Variant>({inner, NewArray<Variant>({1.5})})},
  });
  // Equal as the format carries them: Int32 as Int64, dates to the whole second in GMT,
  // typed arrays as arrays of Variant. Nil is left out; an array closes up around it.
  const std::string expected = Describe(all);
  all->SetValue("Gone", Variant());
  inner->SetValue("Strings", NewArray<Variant>({Variant(), "read", Variant(), "write"}));
  const String xml = AsXMLStringFromDictionaryZRN(all, "config");
  EXPECT_EQ(Describe(AsDictionaryFromXMLStringZRN(xml)), expected) << xml.Bytes();
  EXPECT_NE(xml.Bytes().find(R"(<When datatype="GMTTimeStampZRN">2018-06-01T13:05:07<)"), std::string::npos);
  // A key that is no XML name, and a value of a kind the format has no row for, are refused.
  EXPECT_THROW(AsXMLStringFromDictionaryZRN(DictionaryOf({{"two words", "x"}}), "r"), XmlException);
  EXPECT_THROW(AsXMLStringFromDictionaryZRN(DictionaryOf({{"File", std::make_shared<FolderItem>("/tmp")}}), "r"),
               TypeMismatchException);
}

// What the writers encode, the decoder gives back byte for byte.
TEST(UrlCoding, RoundTripsEveryByteAndSetStringUsesIt) {
  std::string all;
  for (int c = 0; c < 256; ++c) all.push_back(static_cast<char>(c));
  const String encoded = EncodingToURL(String(all, nullptr));
  EXPECT_EQ(encoded.Bytes().find_first_not_of("%0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-_.~"),
            std::string::npos);
  EXPECT_TRUE(Identical(DecodingFromURL(encoded), String(all, nullptr)));
  XmlDocument doc;
  XmlNode root = doc.AppendChild(doc.CreateElement("config"));
  XMLExtension::SetString(root, "Path", "a b+/~", true);
  XMLExtension::SetString(root, "Raw", "a<b", false);
  EXPECT_TRUE(Identical(root.ToString(), "<config><Path>a%20b%2B%2F~</Path><Raw>a&lt;b</Raw></config>"));
  EXPECT_TRUE(Identical(DecodingFromURL("%41%4a+%zz%4"), "AJ+%zz%4"));
}

// The decoder looks for escapes 64 bytes at a time: each escape, whole or broken, reads the
// same at every offset, across the edge of a block and next to the end of the text.
TEST(UrlCoding, EscapesReadTheSameAtEveryOffset) {
  const std::pair<std::string, std::string> fragments[] = {
      {"%41", "A"}, {"%4a", "J"}, {"%00", std::string(1, '\0')}, {"%FF", "\xFF"}, {"%", "%"},
      {"%4", "%4"}, {"%4G", "%4G"}, {"%zz", "%zz"}, {"%%41", "%A"}, {"%41%42", "AB"},
  };
  for (const auto& [fragment, decoded] : fragments) {
    for (size_t before = 0; before <= 70; ++before) {
      for (size_t after = 0; after <= 9; ++after) {
        const std::string head(before, 'x'), tail(after, 'q');
        EXPECT_EQ(DecodedURLBytes(head + fragment + tail), head + decoded + tail)
            << fragment << " after " << before << " bytes, before " << after;
      }
    }
  }
}

}  // namespace
}  // namespace grantwright::testing
