#include <gtest/gtest.h>

#include <string>

#include "platform/Dictionary.h"
#include "platform/TextEncoding.h"

namespace grantwright {
namespace {

// Keys compare as Strings do, however many entries the dictionary holds.
TEST(DictionaryKeys, MatchIgnoringCaseBelowAndAboveTheIndex) {
  for (int filler : {0, 40}) {
    Dictionary dict;
    for (int i = 0; i < filler; ++i) dict.SetValue(String("filler" + std::to_string(i)), int64_t{i});
    dict.SetValue(String("Owner"), String("root"));
    dict.SetValue(String("OWNER"), String("daemon"));            // replaces, keeps "Owner"
    dict.SetValue(String("s\xC5\xBFk"), int64_t{1});            // "sſk"
    dict.SetValue(String("SS\xE2\x84\xAA"), int64_t{2});        // "SSK" with a Kelvin sign
    dict.SetValue(String(std::string("\xC9t\xC9"), Encodings::SystemDefault()), int64_t{3});
    dict.SetValue(String("\xC3\xA9T\xC3\xA9"), int64_t{4});     // "éTé" in UTF-8
    dict.SetValue(int64_t{7}, String("seven"));
    dict.SetValue(7.0, String("seven again"));
    dict.SetValue(String("7"), String("text"));

    EXPECT_EQ(dict.Count(), static_cast<size_t>(filler) + 5);
    EXPECT_EQ(dict.Key(static_cast<size_t>(filler)).StringValue(), "Owner");
    EXPECT_TRUE(Identical(dict.Value(String("owner")).StringValue(), "daemon"));
    EXPECT_EQ(dict.Value(String("ssk")).Int64Value(), 2);
    EXPECT_EQ(dict.Value(String("\xC3\x89t\xC3\xA9")).Int64Value(), 4);
    EXPECT_TRUE(Identical(dict.Value(int64_t{7}).StringValue(), "seven again"));
    EXPECT_TRUE(Identical(dict.Value(String("7")).StringValue(), "text"));
    EXPECT_FALSE(dict.HasKey(String("Owners")));
    EXPECT_FALSE(dict.HasKey(Variant()));
  }
}

}  // namespace
}  // namespace grantwright
