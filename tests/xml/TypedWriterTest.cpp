#include <gtest/gtest.h>

#include "dates/ExtensionDate.h"
#include "platform/Dictionary.h"
#include "support/TestSupport.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

using XMLExtension::AsDictionaryFromXMLStringZRN;
using XMLExtension::AsXMLStringFromDictionaryZRN;

DictionaryRef EveryKind() {
  auto d = std::make_shared<Dictionary>();
  d->SetValue("Text", "a b+c%d/ü\n<&>\"'");
  d->SetValue("Empty", "");
  d->SetValue("Yes", true);
  d->SetValue("No", false);
  d->SetValue("Small", int32_t{-7});
  d->SetValue("Big", int64_t{9007199254740992});
  d->SetValue("Ratio", 0.1);
  d->SetValue("Tiny", 5e-324);
  d->SetValue("Third", 1.0f / 3.0f);
  d->SetValue("When", std::make_shared<Date>(2018, 6, 1, 9, 5, 7, -4.0));
  d->SetValue("Tint", Integer2Color(0xFF8000FF));
  return d;
}

TEST(TypedWriter, EveryKindNestedReadsBackEqual) {
  // Five levels: a dictionary in an array in a dictionary in an array in a dictionary.
  DictionaryRef innermost = EveryKind();
  innermost->SetValue("Strings", NewArray<String>({"read", "write"}));
  innermost->SetValue("Numbers", NewArray<int64_t>({3, 1, 2}));
  innermost->SetValue("Flags", NewArray<bool>({true, false}));
  innermost->SetValue("NoItems", NewArray<Variant>());
  innermost->SetValue("NoEntries", std::make_shared<Dictionary>());
  auto level3 = std::make_shared<Dictionary>();
  level3->SetValue("Inner", NewArray<Variant>({Variant(innermost), Variant("x")}));
  auto level1 = EveryKind();
  level1->SetValue("Outer", NewArray<Variant>({Variant(level3), Variant(NewArray<Variant>({Variant(1.5)}))}));

  const String xml = AsXMLStringFromDictionaryZRN(level1, "config");
  const DictionaryRef back = AsDictionaryFromXMLStringZRN(xml);
  ASSERT_NE(back, nullptr) << xml.Bytes();
  // Equal as the format carries them: Int32 as Int64, dates to the second, typed arrays as
  // arrays of Variant.
  EXPECT_EQ(Describe(back), Describe(level1));
}

TEST(TypedWriter, NilIsLeftOutAndBadKeysOrValuesAreRefused) {
  auto d = std::make_shared<Dictionary>();
  d->SetValue("Gone", Variant());
  d->SetValue("List", NewArray<Variant>({Variant("a"), Variant(), Variant("b")}));
  const DictionaryRef back = AsDictionaryFromXMLStringZRN(AsXMLStringFromDictionaryZRN(d, "r"));
  ASSERT_NE(back, nullptr);
  EXPECT_FALSE(back->HasKey("Gone"));
  EXPECT_EQ(back->Value("List").ArraySize(), 2u);

  auto badKey = std::make_shared<Dictionary>();
  badKey->SetValue("two words", "x");
  EXPECT_THROW(AsXMLStringFromDictionaryZRN(badKey, "r"), XmlException);
  auto badValue = std::make_shared<Dictionary>();
  badValue->SetValue("Fine", std::make_shared<Dictionary>());
  badValue->SetValue("Item", std::make_shared<FolderItem>("/tmp"));
  EXPECT_THROW(AsXMLStringFromDictionaryZRN(badValue, "r"), TypeMismatchException);
  EXPECT_THROW(AsXMLStringFromDictionaryZRN(nullptr, "r"), NilObjectException);
}

TEST(TypedWriter, StampsAreGmtWholeSeconds) {
  const auto date = std::make_shared<Date>(2018, 6, 1, 14, 30, 5, 2.0);
  date->SetTotalSeconds(date->TotalSeconds() + 0.75);
  EXPECT_EQ(ExtensionDate::LocalDateToGMTTimeStampZRN(date).Bytes(), "2018-06-01T12:30:05");
  EXPECT_THROW(ExtensionDate::LocalDateToGMTTimeStampZRN(nullptr), NilObjectException);
}

}  // namespace
}  // namespace grantwright::testing
