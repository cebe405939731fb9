#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "convert/UniversalExtension.h"
#include "platform/Date.h"
#include "platform/Dictionary.h"
#include "platform/FolderItem.h"
#include "platform/TextEncoding.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using UniversalExtension::ArrayValueZRN;
using UniversalExtension::EnsureUTF8EncodingZRN;
using UniversalExtension::StringArrayValueZRN;

// Any bytes coming out as valid UTF-8 without NUL is a property of the URL fuzz target,
// which feeds them through DecodingFromURLZRN.
TEST(EnsureUTF8Encoding, PicksTheFirstEncodingThatFitsAndDropsNul) {
  const std::tuple<String, std::string, const char*> cases[] = {
      {String(std::string("a\0b", 3), Encodings::UTF8()), std::string("a\0b", 3), "tagged UTF-8 is left alone"},
      {String("", nullptr), "", "empty"},
      {String("caf\xC3\xA9", nullptr), "caf\xC3\xA9", "UTF-8"},
      {String(std::string("h\0i\0", 4), nullptr), "hi", "UTF-16LE before UTF-16BE"},
      {String(std::string("\xD8\x3D\xDE\x00\x00\xE9", 6), nullptr), "\xF0\x9F\x98\x80\xC3\xA9", "UTF-16BE"},
      {String("caf\xE9 cr\xE8me", nullptr), "caf\xC3\xA9 cr\xC3\xA8me", "windows-1252"},
      {String("\xE9", Encodings::SystemDefault()), "\xC3\xA9", "tagged text is converted"},
      {String(std::string("\0a\0\0\0b", 6), Encodings::UTF16BE()), "ab", "NUL after conversion"},
  };
  for (const auto& [in, out, why] : cases) {
    const LogCapture log;
    EXPECT_EQ(Describe(EnsureUTF8EncodingZRN(in)), "'" + out + "'") << why;  // tagged UTF-8
    EXPECT_TRUE(log.lines().empty()) << why;
  }
}

// StringArrayValueZRN gives the text of the usable elements of an array of Variant or of
// objects; ArrayValueZRN takes every element type.
TEST(ArrayValueZRN, EveryElementTypeArrivesAsItsValueAndUsableOnesAsText) {
  const auto date = std::make_shared<Date>(2024, 2, 29, 13, 5, 9, 0.0);
  const auto dict = std::make_shared<Dictionary>();
  const std::pair<Variant, const char*> cases[] = {
      {NewArray<bool>({true, false}), "[true,false]"},
      {NewArray<Color>({Color{0xFF00FF00}}), "[c4278255360]"},
      {ObjectArray{NewArray<ObjectRef>({date}), "Date"}, "[t1709211909]"},
      {NewArray<double>({2.5}), "[d2.5]"},
      {NewArray<int32_t>({-7, 2147483647}), "[i-7,i2147483647]"},
      {NewArray<int64_t>({int64_t{1} << 40}), "[i1099511627776]"},
      {NewArray<float>({0.5f}), "[f0.5]"},
      {NewArray<String>({"read"}), "['read']"},
      // Objects: an array of Dictionary, or one of any class or of Variant, whose arrays nest.
      {ObjectArray{NewArray<ObjectRef>({dict}), "Dictionary"}, "[{}]"},
      {ObjectArray{NewArray<ObjectRef>({nullptr, dict}), "Object"}, "[nil,{}]"},
      {NewArray<Variant>({"read", nullptr, NewArray<int32_t>({4, 5}), dict}), "['read',nil,[i4,i5],{}]"},
      // No array, or an empty one of any type, gives an empty result.
      {Variant(), "[]"}, {"read", "[]"}, {dict, "[]"}, {NewArray<String>(), "[]"}, {NewArray<Variant>(), "[]"},
      {ObjectArray{NewArray<ObjectRef>(), "FolderItem"}, "[]"},
  };
  const LogCapture log;
  for (const auto& [value, elements] : cases) EXPECT_EQ(Describe(NewArray(ArrayValueZRN(value))), elements);
  EXPECT_TRUE(log.lines().empty());
  // Integers arrive as Int64; objects are shared, not copied.
  EXPECT_EQ(ArrayValueZRN(NewArray<int32_t>({1}))[0].Type(), Variant::kInt64);
  EXPECT_EQ(ArrayValueZRN(ObjectArray{NewArray<ObjectRef>({date}), "Date"})[0].ObjectValue(), date);

  // An array of a class that is neither: the log line, then element 0 is no array.
  const Variant files = ObjectArray{NewArray<ObjectRef>({PathToFolderItem("/tmp")}), "FolderItem"};
  EXPECT_THROW(ArrayValueZRN(files), TypeMismatchException);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Failed to convert variant to correct type."});

  const auto keys = std::make_shared<Dictionary>();
  keys->SetValue("Mixed", NewArray<Variant>({"read", int64_t{5}, std::make_shared<Dictionary>(), nullptr, true,
                                             2.5, date, NewArray<Variant>({"x"})}));
  keys->SetValue("Text", "read");
  keys->SetValue("Typed", NewArray<String>({"read"}));
  keys->SetValue("Dicts", ObjectArray{NewArray<ObjectRef>({}), "Dictionary"});
  EXPECT_EQ(Describe(NewArray(StringArrayValueZRN(keys, "mixed"))), "['read','5','True','2.5','2024-02-29 13:05:09']");
  EXPECT_TRUE(StringArrayValueZRN(nullptr, "Mixed").empty());
  EXPECT_TRUE(StringArrayValueZRN(keys, "Missing").empty());
  EXPECT_TRUE(StringArrayValueZRN(keys, "Text").empty());
  // Only arrays of Variant or of objects are read; ArrayValueZRN takes the rest.
  EXPECT_THROW(StringArrayValueZRN(keys, "Typed"), TypeMismatchException);
  EXPECT_THROW(StringArrayValueZRN(keys, "Dicts"), TypeMismatchException);
}

}  // namespace
}  // namespace grantwright::testing
