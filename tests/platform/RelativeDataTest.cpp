// Relative data: its stored bytes, read back or refused. Finding items from them is
// tested as users do it, through `grantwright resolve` (tests/cli).

#include <gtest/gtest.h>
#include <string>

#include "platform/RelativeData.h"

namespace grantwright::testing {
namespace {

const std::string kHeader("GWrd\x01", 5);

std::string Field(char tag, const std::string& value) {
  return std::string(1, tag) + static_cast<char>(value.size() & 0xFF) +
         static_cast<char>(value.size() >> 8) + value;
}

TEST(RelativeData, RoundTripsEveryByteAndRefusesWhatIsNoData) {
  const RelativeData full{"../a\x80\xFF/b", "/x/\x01y", 0xFFEEDDCCBBAA9988u, 0x8000000000000001u,
                          FileHandle{-2, std::string("\0\x80\xFF", 3)},
                          FileHandle{1, std::string(128, '\xFF')}};
  EXPECT_EQ(DecodeRelativeData(EncodeRelativeData(full)), full);
  EXPECT_EQ(DecodeRelativeData(EncodeRelativeData(RelativeData{})), RelativeData{});
  // What cannot be stored is left out rather than stored wrong.
  const RelativeData tooLong{std::string(kMaxDataPath + 1, 'a'), "/b", {}, {}, FileHandle{1, ""}, {}};
  EXPECT_EQ(DecodeRelativeData(EncodeRelativeData(tooLong)), (RelativeData{"", "/b", {}, {}, {}, {}}));

  const std::string eight(8, '\x01');
  const struct {
    std::string bytes;
    bool reads;
  } cases[] = {
      {kHeader, true},
      {kHeader + Field(9, "later") + Field(2, "/p"), true},     // unknown tags are skipped
      {kHeader + Field(2, "/p") + Field(2, "/q"), true},        // the first value stands
      {"", false},
      {"GWrd", false},
      {std::string("GWrd\x02", 5), false},                      // another version
      {std::string("GWRD\x01", 5), false},
      {kHeader + "\x02", false},                                // a field cut short
      {kHeader + std::string("\x02\x05\x00/p", 5), false},      // a length past the end
      {kHeader + Field(4, "1234567"), false},                   // an inode of 7 bytes
      {kHeader + Field(3, eight + "x"), false},
      {kHeader + Field(5, "1234"), false},                      // a handle without bytes
      {kHeader + Field(6, "1234" + std::string(129, 'h')), false},
      {kHeader + Field(2, std::string("/a\0b", 4)), false},     // a path holding NUL
      {kHeader + Field(1, ""), false},
      {kHeader + Field(9, std::string(kMaxRelativeDataSize, 'z')), false},  // too long
  };
  for (const auto& c : cases) EXPECT_EQ(DecodeRelativeData(c.bytes).has_value(), c.reads) << c.bytes;
  EXPECT_EQ(DecodeRelativeData(kHeader + Field(2, "/p") + Field(2, "/q"))->absolutePath, "/p");
}

}  // namespace
}  // namespace grantwright::testing
