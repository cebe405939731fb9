#include <gtest/gtest.h>

#include <cmath>

#include "convert/CoreFoundationExtension.h"
#include "platform/Dictionary.h"
#include "platform/MemoryBlock.h"
#include "platform/TextEncoding.h"
#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

using namespace CoreFoundationExtension;

// A store type the conversion does not know.
class Oddity final : public StoreObject {
 public:
  const char* ClassName() const override { return "Oddity"; }
  const char* TypeDescription() const override { return "Oddity"; }
};

StoreStringRef Text(std::string s) { return std::make_shared<StoreString>(std::move(s)); }

TEST(ValueAsRBZRN, EachStoreTypeTakesItsRow) {
  LogCapture log;
  auto keys = std::make_shared<StoreDictionary>();  // keys convert like values, meet ignoring case
  keys->Set("Key", Text("first"));
  keys->Set("KEY", Text("second"));
  keys->Add(StoreNumber::Integer(5), Text("five"));
  const std::pair<StoreObjectRef, std::string> rows[] = {
      {StoreNumber::Double(1.0), "d1"},
      {StoreNumber::Single(2.5f), "d2.5"},
      {StoreNumber::Integer(1), "i1"},
      {std::make_shared<StoreBoolean>(true), "true"},
      {Text("\xc3\xa9"), "'\xc3\xa9'"},
      {std::make_shared<StoreArray>(), "[]"},
      {keys, "{Key='second',5='five'}"},
      {std::make_shared<StoreData>(std::string("a\0b", 3)), std::string("ma\0b", 4)},
      {std::make_shared<StoreDate>(1.75), "t978307201"},
      {std::make_shared<StoreUUID>(std::array<uint8_t, 16>{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66,
                                                           0x77, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd,
                                                           0xee, 0xff}),
       "'00112233-4455-6677-8899-AABBCCDDEEFF'"},
  };
  for (const auto& [object, described] : rows) {
    EXPECT_EQ(Describe(ValueAsRBZRN(object)), described) << object->TypeDescription();
  }
  EXPECT_EQ(ValueAsRBZRN(std::make_shared<StoreDate>(1.75)).ObjectAs<Date>()->GMTOffset(), 0.0);
  const std::pair<const char*, const char*> urls[] = {{"file:///tmp/a%20b", "/tmp/a b"},
                                                      {"FILE://localhost/x?q#f", "/x"},
                                                      {"file://elsewhere/x", nullptr},
                                                      {"https://example.org/x", nullptr}};
  for (const auto& [url, path] : urls) {
    const auto file = ValueAsRBZRN(std::make_shared<StoreURL>(url)).ObjectAs<FolderItem>();
    EXPECT_EQ(file ? file->NativePath() : "nil", path ? path : "nil") << url;
  }
  EXPECT_TRUE(log.lines().empty());

  // Unknown types give nil and one line each, also inside a container, which keeps its size.
  auto array = std::make_shared<StoreArray>();
  array->Append(std::make_shared<Oddity>());
  array->Append(Text("kept"));
  EXPECT_EQ(Describe(ValueAsRBZRN(array)), "[nil,'kept']");
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Unhandled RBDictFromCFDict() of type: Oddity"});
  EXPECT_THROW(ValueAsRBZRN(nullptr), NilObjectException);
}

TEST(ValueAsCFZRN, EachValueTakesItsRowAndContainersDropWhatHasNoForm) {
  const auto width = [](const Variant& v) {
    return std::dynamic_pointer_cast<StoreNumber>(ValueAsCFZRN(v))->NumberWidth();
  };
  EXPECT_EQ(width(int32_t{7}), StoreNumber::Width::kInteger64);
  EXPECT_EQ(width(int64_t{1} << 40), StoreNumber::Width::kInteger64);
  EXPECT_EQ(width(1.5f), StoreNumber::Width::kSingle);
  EXPECT_EQ(width(1.5), StoreNumber::Width::kDouble);
  EXPECT_TRUE(std::dynamic_pointer_cast<StoreBoolean>(ValueAsCFZRN(true))->Value());
  const StoreObjectRef same = Text("x");
  EXPECT_EQ(ValueAsCFZRN(Variant(same)), same);
  const String latin1(std::string("\xe9"), Encodings::SystemDefault());
  EXPECT_EQ(std::dynamic_pointer_cast<StoreString>(ValueAsCFZRN(latin1))->Utf8(), "\xc3\xa9");
  EXPECT_EQ(std::dynamic_pointer_cast<StoreData>(
                ValueAsCFZRN(Variant(std::make_shared<MemoryBlock>("ab"))))->Bytes(),
            "ab");
  auto gmt = std::make_shared<Date>(2001, 1, 1, 0, 0, 0, 0.0);
  EXPECT_EQ(std::dynamic_pointer_cast<StoreDate>(ValueAsCFZRN(Variant(gmt)))->AbsoluteTime(), 0.0);
  for (const Variant& none :
       {Variant(), Variant(Color{1}), Variant(std::make_shared<FolderItem>("/tmp"))}) {
    EXPECT_EQ(ValueAsCFZRN(none), nullptr);
  }

  EXPECT_EQ(std::dynamic_pointer_cast<StoreArray>(ValueAsCFZRN(NewArray<int32_t>({1, 2})))->Count(),
            2u);
  auto mixed = NewArray<Variant>({"a", Variant(), Color{1}, NewArray<int64_t>({1, 2})});
  const auto array = std::dynamic_pointer_cast<StoreArray>(ValueAsCFZRN(mixed));
  ASSERT_EQ(array->Count(), 2u);
  EXPECT_EQ(std::dynamic_pointer_cast<StoreArray>(array->Item(1))->Count(), 2u);
  auto dict = std::make_shared<Dictionary>();
  dict->SetValue("colour", Color{1});
  dict->SetValue("nil", Variant());
  dict->SetValue(int64_t{5}, "five");
  dict->SetValue("nested", std::make_shared<Dictionary>());
  const auto result = std::dynamic_pointer_cast<StoreDictionary>(ValueAsCFZRN(Variant(dict)));
  ASSERT_EQ(result->Count(), 2u);
  EXPECT_EQ(std::dynamic_pointer_cast<StoreString>(result->Lookup("5"))->Utf8(), "five");
  EXPECT_EQ(std::dynamic_pointer_cast<StoreDictionary>(result->Lookup("nested"))->Count(), 0u);
}

TEST(StoreDates, ConvertBetweenEpochsWithWholeSeconds) {
  const auto at = [](double t) { return ToRBDateZRN(std::make_shared<StoreDate>(t)); };
  EXPECT_EQ(at(0)->TotalSeconds(), StoreDate::kEpochIn1904);
  EXPECT_EQ(at(-0.5)->Second(), 59);
  EXPECT_EQ(at(-0.5)->Year(), 2000);
  EXPECT_EQ(ToRBDateZRN(nullptr), nullptr);
  EXPECT_EQ(at(std::nan("")), nullptr);
  EXPECT_EQ(at(1e300), nullptr);
  EXPECT_THROW(ValueAsCFDateZRN(nullptr), NilObjectException);

  // The epoch distance does not depend on the local zone, and a date in another zone keeps
  // its offset in the absolute time.
  const ScopedEnv zone("TZ", "Asia/Kolkata");
  ::tzset();
  EXPECT_EQ(ValueAsCFDateZRN(at(123456789))->AbsoluteTime(), 123456789.0);
  auto plusTwo = std::make_shared<Date>(2001, 1, 1, 2, 0, 0, 2.0);
  EXPECT_EQ(ValueAsCFDateZRN(plusTwo)->AbsoluteTime(), 7200.0);
}

}  // namespace
}  // namespace grantwright::testing
