#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "convert/UniversalExtension.h"
#include "platform/Date.h"
#include "platform/Dictionary.h"
#include "platform/FolderItem.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using UniversalExtension::ArrayValueZRN;
using UniversalExtension::StringArrayValueZRN;

constexpr const char* kConvertFailed = "Failed to convert variant to correct type.";

std::shared_ptr<Date> SomeDate() { return std::make_shared<Date>(2024, 2, 29, 13, 5, 9, 0.0); }

TEST(ArrayValueZRN, EveryElementTypeArrivesAsItsValue) {
  const auto date = SomeDate();
  const struct {
    Variant value;
    int type;           // type code of each result element
    std::string first;  // text of element 0; "" when the result is empty
  } cases[] = {
      {NewArray<bool>({true, false}), 11, "True"},
      {NewArray<Color>({Color{0xFF00FF00}, Color{1}}), 16, "&hFF00FF00"},
      {ObjectArray{NewArray<ObjectRef>({date, date}), "Date"}, 7, "2024-02-29 13:05:09"},
      {NewArray<double>({2.5, -1}), 5, "2.5"},
      {NewArray<int32_t>({-7, 2147483647}), 3, "-7"},  // 32-bit integers arrive as 64-bit
      {NewArray<int64_t>({int64_t{1} << 40, 0}), 3, "1099511627776"},
      {NewArray<float>({0.5f, 1}), 4, "0.5"},
      {NewArray<String>({"read", "write"}), 8, "read"},
      // No array, or an empty one of any type, gives an empty result.
      {Variant(), 0, ""},
      {"read", 0, ""},
      {std::make_shared<Dictionary>(), 0, ""},
      {NewArray<Color>(), 0, ""},
      {NewArray<int32_t>(), 0, ""},
      {NewArray<String>(), 0, ""},
      {NewArray<Variant>(), 0, ""},
      {ObjectArray{NewArray<ObjectRef>(), "FolderItem"}, 0, ""},
  };
  LogCapture log;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.first);
    const std::vector<Variant> result = ArrayValueZRN(c.value);
    ASSERT_EQ(result.size(), c.first.empty() ? 0u : 2u);
    for (const Variant& element : result) EXPECT_EQ(element.Type(), c.type);
    EXPECT_EQ(result.empty() ? "" : result[0].StringValue().Bytes(), c.first);
  }
  EXPECT_TRUE(log.lines().empty());
  const std::vector<Variant> dates =
      ArrayValueZRN(ObjectArray{NewArray<ObjectRef>({date}), "Date"});
  EXPECT_EQ(dates[0].ObjectValue(), date);  // shared, not copied
}

TEST(ArrayValueZRN, ObjectArraysKeepObjectsAndNilAndNestArrays) {
  LogCapture log;
  const auto a = std::make_shared<Dictionary>();
  const auto b = std::make_shared<Dictionary>();
  const std::vector<Variant> dicts =
      ArrayValueZRN(ObjectArray{NewArray<ObjectRef>({a, b}), "Dictionary"});
  ASSERT_EQ(dicts.size(), 2u);
  EXPECT_TRUE(dicts[0].ObjectValue() == a && dicts[1].ObjectValue() == b);

  const std::vector<Variant> mixed =
      ArrayValueZRN(NewArray<Variant>({"read", nullptr, NewArray<int32_t>({4, 5}), a}));
  ASSERT_EQ(mixed.size(), 4u);
  EXPECT_EQ(Describe(mixed[0]) + Describe(mixed[1]) + Describe(mixed[2]), "'read'nil[i4,i5]");
  EXPECT_EQ(mixed[2].ObjectElements()[1].Type(), Variant::kInt64);
  EXPECT_EQ(mixed[3].ObjectValue(), a);

  const std::vector<Variant> objects =
      ArrayValueZRN(ObjectArray{NewArray<ObjectRef>({nullptr, a}), "Object"});
  ASSERT_EQ(objects.size(), 2u);
  EXPECT_TRUE(objects[0].IsNil());
  EXPECT_TRUE(log.lines().empty());

  // An array of a class that is neither: the log line, then element 0 is no array.
  const Variant files = ObjectArray{NewArray<ObjectRef>({PathToFolderItem("/tmp")}), "FolderItem"};
  EXPECT_THROW(ArrayValueZRN(files), TypeMismatchException);
  EXPECT_EQ(log.lines(), std::vector<std::string>{kConvertFailed});
}

TEST(StringArrayValueZRN, TextOfTheUsableElements) {
  auto dict = std::make_shared<Dictionary>();
  dict->SetValue("Mixed", NewArray<Variant>({"read", int64_t{5}, std::make_shared<Dictionary>(),
                                             nullptr, true, 2.5, SomeDate(),
                                             NewArray<Variant>({"x"})}));
  dict->SetValue("Objects", ObjectArray{NewArray<ObjectRef>({std::make_shared<Dictionary>(),
                                                             nullptr, SomeDate()}),
                                        "Object"});
  dict->SetValue("Text", "read");
  dict->SetValue("Typed", NewArray<String>({"read"}));
  dict->SetValue("Dicts", ObjectArray{NewArray<ObjectRef>({}), "Dictionary"});

  const auto texts = [](const std::vector<String>& strings) {
    std::vector<std::string> out;
    for (const String& s : strings) out.push_back(s.Bytes());
    return out;
  };
  EXPECT_EQ(texts(StringArrayValueZRN(dict, "mixed")),
            (std::vector<std::string>{"read", "5", "True", "2.5", "2024-02-29 13:05:09"}));
  EXPECT_EQ(texts(StringArrayValueZRN(dict, "Objects")),
            std::vector<std::string>{"2024-02-29 13:05:09"});
  EXPECT_TRUE(StringArrayValueZRN(nullptr, "Mixed").empty());
  EXPECT_TRUE(StringArrayValueZRN(dict, "Missing").empty());
  EXPECT_TRUE(StringArrayValueZRN(dict, "Text").empty());
  // Only arrays of Variant or of objects are read; the general conversion takes the rest.
  EXPECT_THROW(StringArrayValueZRN(dict, "Typed"), TypeMismatchException);
  EXPECT_THROW(StringArrayValueZRN(dict, "Dicts"), TypeMismatchException);
  EXPECT_EQ(ArrayValueZRN(dict->Value("Typed")).size(), 1u);
}

}  // namespace
}  // namespace grantwright::testing
