#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "dates/ExtensionDate.h"
#include "platform/Dictionary.h"
#include "support/TestSupport.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

using XMLExtension::AsDictionaryFromXMLStringZRN;
using XMLExtension::AsXMLStringFromDictionaryZRN;

// Values equal as the typed format can carry them: the same type and value, Dates by their
// moment to the second, containers element by element, arrays of any type as arrays of
// Variant.
void ExpectSame(const Variant& want, const Variant& got, const std::string& where) {
  if (want.IsArray()) {
    ASSERT_TRUE(got.IsArray()) << where;
    ASSERT_EQ(got.ArraySize(), want.ArraySize()) << where;
    for (size_t i = 0; i < want.ArraySize(); ++i) {
      ExpectSame(want.ArrayElement(i), got.ArrayElement(i), where + "[" + std::to_string(i) + "]");
    }
    return;
  }
  if (const auto d = want.ObjectAs<Dictionary>()) {
    const auto g = got.ObjectAs<Dictionary>();
    ASSERT_NE(g, nullptr) << where;
    ASSERT_EQ(g->Count(), d->Count()) << where;
    for (const auto& [key, value] : d->Entries()) {
      ASSERT_TRUE(g->HasKey(key)) << where << "/" << key.StringValue().Bytes();
      ExpectSame(value, g->Value(key), where + "/" + key.StringValue().Bytes());
    }
    return;
  }
  int wantType = want.Type() == Variant::kInt32 ? Variant::kInt64 : want.Type();
  ASSERT_EQ(got.Type(), wantType) << where;
  if (const auto date = want.ObjectAs<Date>()) {
    EXPECT_EQ(got.ObjectAs<Date>()->MomentSeconds(), std::floor(date->MomentSeconds())) << where;
  } else if (want.Type() == Variant::kString) {
    EXPECT_EQ(got.Get<String>()->Bytes(), want.Get<String>()->Bytes()) << where;
  } else if (want.Type() == Variant::kSingle) {
    EXPECT_EQ(*got.Get<float>(), *want.Get<float>()) << where;
  } else {
    EXPECT_TRUE(got.KeyEquals(want)) << where << ": " << got.StringValue().Bytes();
  }
}

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
  ExpectSame(Variant(level1), Variant(back), "");
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
