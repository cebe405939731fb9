#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/PropertyList.h"
#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

using PropertyList::Parse;
using PropertyList::SameContent;
using PropertyList::Serialize;

StoreStringRef Text(std::string s) { return std::make_shared<StoreString>(std::move(s)); }

StoreDictionaryRef EveryKind() {
  auto dict = std::make_shared<StoreDictionary>();
  const char* texts[] = {"", "  ", "a&b<c>d]]>e", "cr\rlf\n\ttab\x01\x1f",
                         "\xc3\xa9 \xf0\x9f\x98\x80"};
  const double reals[] = {0.1,      -0.0,          5e-324,       1.7976931348623157e308,
                          1e-300,   123456789.125, std::nan(""), HUGE_VAL,
                          -HUGE_VAL};
  const int64_t integers[] = {0, -1, std::numeric_limits<int64_t>::min(),
                              std::numeric_limits<int64_t>::max()};
  const double dates[] = {0, -1.5, 1e9, -63113904000.0 /* 0001-01-01 */, 252423993599.0};
  int n = 0;
  const auto add = [&](StoreObjectRef value) { dict->Set("k" + std::to_string(n++), value); };
  for (const char* t : texts) add(Text(t));
  for (double r : reals) add(StoreNumber::Double(r));
  for (int64_t i : integers) add(StoreNumber::Integer(i));
  add(StoreNumber::Single(0.1f));
  add(std::make_shared<StoreBoolean>(true));
  add(std::make_shared<StoreBoolean>(false));
  for (double d : dates) add(std::make_shared<StoreDate>(d));
  std::string bytes;
  for (int b = 0; b < 256; ++b) bytes += static_cast<char>(b);
  add(std::make_shared<StoreData>(bytes));
  add(std::make_shared<StoreData>(""));
  add(std::make_shared<StoreArray>());
  add(std::make_shared<StoreDictionary>());
  auto inner = std::make_shared<StoreDictionary>();
  inner->Set("deep", StoreNumber::Integer(3));
  auto middle = std::make_shared<StoreArray>();
  middle->Append(inner);
  middle->Append(Text("x"));
  auto outer = std::make_shared<StoreDictionary>();
  outer->Set("middle", middle);
  add(outer);
  return dict;
}

// What we write reads back the same, bit for bit, through our reader and through
// plistutil; and what plistutil writes of it reads back the same through ours.
TEST(PropertyList, EveryKindRoundTripsThroughOurReaderAndPlistutil) {
  const StoreDictionaryRef original = EveryKind();
  std::string xml;
  ASSERT_TRUE(Serialize(*original, xml));
  const StoreObjectRef again = Parse(xml);
  ASSERT_TRUE(again);
  EXPECT_TRUE(SameContent(*original, *again));
  const auto sign = std::dynamic_pointer_cast<StoreDictionary>(again)->Lookup("k6");
  EXPECT_TRUE(std::signbit(std::dynamic_pointer_cast<StoreNumber>(sign)->DoubleValue()));

  // plistutil prints negative zero as 0.0; everything else must survive its reading.
  original->Remove("k6");
  xml.clear();
  ASSERT_TRUE(Serialize(*original, xml));
  TempDir dir;
  std::string theirs;
  ASSERT_TRUE(PlistutilReads(dir.Write("ours.plist", xml), &theirs)) << xml;
  const StoreObjectRef fromTheirs = Parse(theirs);
  ASSERT_TRUE(fromTheirs) << theirs;
  EXPECT_TRUE(SameContent(*original, *fromTheirs)) << theirs;
}

TEST(PropertyList, ReadsLenientFormsAndRefusesMalformedDocuments) {
  const auto value = [](const std::string& body) {
    return Parse("<?xml version=\"1.0\"?>\n<plist version=\"1.0\">" + body + "</plist>");
  };
  const auto number = [&](const std::string& body) {
    return std::dynamic_pointer_cast<StoreNumber>(value(body));
  };
  EXPECT_EQ(number("<integer> +42\n</integer>")->IntegerValue(), 42);
  EXPECT_TRUE(number("<integer>18446744073709551615</integer>")->IsFloat());
  EXPECT_EQ(number("<real>-Infinity</real>")->DoubleValue(), -HUGE_VAL);
  EXPECT_EQ(std::dynamic_pointer_cast<StoreDate>(value("<date>2001-01-01T00:00:01.75Z</date>"))
                ->AbsoluteTime(),
            1.75);
  EXPECT_EQ(
      std::dynamic_pointer_cast<StoreString>(value("<string>a<![CDATA[<b>]]></string>"))->Utf8(),
      "a<b>");
  EXPECT_EQ(std::dynamic_pointer_cast<StoreData>(value("<data>\n\tAAEC\n\tAw==\n</data>"))->Bytes(),
            std::string("\0\1\2\3", 4));
  const auto twice = std::dynamic_pointer_cast<StoreDictionary>(
      value("<dict><key>a</key><true/><key>a</key><false/></dict>"));
  ASSERT_EQ(twice->Count(), 1u);
  EXPECT_FALSE(std::dynamic_pointer_cast<StoreBoolean>(twice->Lookup("a"))->Value());

  std::string deep;
  for (int i = 0; i < 600; ++i) deep = "<array>" + deep + "</array>";
  for (const std::string& bad : std::vector<std::string>{
           "", "no xml", "<dict/>", "<plist/>", "<plist><dict>", "<plist><true/><true/></plist>",
           "<plist><dict><key>a</key></dict></plist>", "<plist><dict><true/></dict></plist>",
           "<plist><integer>12x</integer></plist>", "<plist><integer></integer></plist>",
           "<plist><real>1e999</real></plist>", "<plist><real>--1</real></plist>",
           "<plist><date>yesterday</date></plist>", "<plist><data>!!</data></plist>",
           "<plist><string>a<b/></string></plist>", "<plist><array>text</array></plist>",
           "<plist><other/></plist>", "<plist>" + deep + "</plist>"}) {
    EXPECT_EQ(Parse(bad), nullptr) << bad;
  }
}

TEST(PropertyList, RefusesToWriteWhatTheFormatCannotHold) {
  auto numberKey = std::make_shared<StoreDictionary>();
  numberKey->Add(StoreNumber::Integer(5), Text("x"));
  const StoreObjectRef unwritable[] = {std::make_shared<StoreURL>("file:///tmp"),
                                       std::make_shared<StoreUUID>(std::array<uint8_t, 16>{}),
                                       numberKey, Text(std::string("a\0b", 3)),
                                       std::make_shared<StoreDate>(HUGE_VAL)};
  for (const StoreObjectRef& object : unwritable) {
    auto array = std::make_shared<StoreArray>();
    array->Append(object);
    std::string out;
    EXPECT_FALSE(Serialize(*array, out)) << object->TypeDescription();
  }
}

}  // namespace
}  // namespace grantwright::testing
