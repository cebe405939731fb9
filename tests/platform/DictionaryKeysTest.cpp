#include <gtest/gtest.h>

#include <string>

#include "platform/Dictionary.h"

namespace grantwright {
namespace {

// Keys compare as Strings do (StringTest), whether the dictionary scans its entries or
// looks them up in its index of folded keys.
TEST(DictionaryKeys, MatchIgnoringCaseBelowAndAboveTheIndex) {
  for (int filler : {0, 40}) {
    Dictionary dict;
    for (int i = 0; i < filler; ++i) dict.SetValue(String("filler" + std::to_string(i)), int64_t{i});
    dict.SetValue(String("Owner"), String("root"));
    dict.SetValue(String("OWNER"), String("daemon"));  // replaces, keeps "Owner"
    dict.SetValue(String("\xC3\xA9T\xC3\xA9"), int64_t{4});  // "éTé"

    EXPECT_EQ(dict.Count(), static_cast<size_t>(filler) + 2);
    EXPECT_EQ(dict.Key(static_cast<size_t>(filler)).StringValue(), "Owner");
    EXPECT_TRUE(Identical(dict.Value(String("owner")).StringValue(), "daemon"));
    EXPECT_EQ(dict.Value(String("\xC3\x89t\xC3\xA9")).Int64Value(), 4);
    EXPECT_FALSE(dict.HasKey(String("Owners")));
  }
}

}  // namespace
}  // namespace grantwright
