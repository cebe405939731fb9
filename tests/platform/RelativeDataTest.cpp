// Relative data: its stored bytes, read back or refused, and finding an item from them.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "platform/FolderItem.h"
#include "platform/RelativeData.h"
#include "support/TestSupport.h"

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
  RelativeData tooLong{std::string(kMaxDataPath + 1, 'a'), "/b", {}, {}, FileHandle{1, ""}, {}};
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

// As this process may: with CAP_DAC_READ_SEARCH through the handle, else through the scan.
TEST(RelativeData, FindsTheItemRenamedButNeverAnotherWithItsInode) {
  TempDir dir;
  const auto base = std::make_shared<FolderItem>(dir.path());
  const std::string old = dir.Write("old", "x");
  const String data = FolderItem(old).GetSaveInfo(base, 0);
  const std::optional<RelativeData> read = DecodeRelativeData(data.Bytes());
  ASSERT_TRUE(read);
  EXPECT_EQ(read->relativePath, "old");
  ASSERT_TRUE(read->itemHandle) << "the test folder's file system gives no handles";

  ASSERT_EQ(std::rename(old.c_str(), (dir / "new").c_str()), 0);
  const FolderItemRef renamed = base->GetRelative(data);
  ASSERT_NE(renamed, nullptr);
  EXPECT_EQ(renamed->NativePath(), dir / "new");

  // A file written at the old path is taken there: the path comes first.
  dir.Write("old", "y");
  EXPECT_EQ(base->GetRelative(data)->NativePath(), dir / "old");

  // Once the file is gone, a new file that gets its inode number is not it.
  ASSERT_EQ(::unlink((dir / "old").c_str()), 0);
  ASSERT_EQ(::unlink((dir / "new").c_str()), 0);
  struct stat st {};
  for (int i = 0; i < 50 && st.st_ino != *read->inode; ++i) {
    const std::string other = dir.Write("other" + std::to_string(i), "z");
    ASSERT_EQ(::stat(other.c_str(), &st), 0);
  }
  if (st.st_ino != *read->inode) GTEST_SKIP() << "the file system gave the inode number to no new file";
  const FolderItemRef found = base->GetRelative(data);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->NativePath(), dir / "old");
  EXPECT_FALSE(found->Exists());
  EXPECT_EQ(base->GetRelative(String("not relative data")), nullptr);
}

}  // namespace
}  // namespace grantwright::testing
