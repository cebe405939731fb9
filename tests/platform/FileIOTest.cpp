// Reading an open file whole when its length from fstat is only a guess: a file that grew
// since is read to its end, one that shrank stops at its end, and one over the bound is
// refused whole.

#include <gtest/gtest.h>
#include <fcntl.h>
#include <unistd.h>

#include "platform/FileIO.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

TEST(FileIO, ReadsAnOpenFileToItsEndWhateverItsLengthWasSaidToBe) {
  TempDir dir;
  const std::string bytes(100000, 'x');
  const std::string path = dir.Write("file", bytes);
  for (const auto& [guess, bound, error, content] : std::vector<std::tuple<size_t, size_t, int, std::string>>{
           {100000, 1 << 20, 0, bytes}, {10, 1 << 20, 0, bytes}, {0, 1 << 20, 0, bytes},
           {250000, 1 << 20, 0, bytes}, {100000, 100000, 0, bytes}, {100000, 99999, EFBIG, ""},
           {10, 99999, EFBIG, ""}}) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    std::string read = "left over";
    EXPECT_EQ(ReadOpenFile(fd, guess, bound, read), error) << guess << " " << bound;
    EXPECT_TRUE(read == content) << guess << " " << bound << ": " << read.size() << " bytes";
    ::close(fd);
  }
  std::string read;
  EXPECT_EQ(ReadWholeFile(dir.path(), 1 << 20, read), EINVAL);
  EXPECT_EQ(ReadWholeFile(dir / "none", 1 << 20, read), ENOENT);
}

}  // namespace
}  // namespace grantwright::testing
