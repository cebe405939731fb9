// A search that runs out of memory ends in std::bad_alloc on every way it tries, never in
// "no file": the URL and shell forms are read under a handler that drops their failures,
// and memory running short must not be one of them. This executable's operator new is the
// seam: it fails the n-th allocation, for every n until the search needs no more.

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

#include "filerefs/SmartFolderItemZRN.h"
#include "platform/PathForms.h"
#include "support/TestSupport.h"

namespace {
// Allocations left before one fails; negative while no test counts.
long allocationsLeft = -1;
}  // namespace

void* operator new(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace grantwright::testing {
namespace {

TEST(ResolveOutOfMemory, EveryWayPassesTheFailureOn) {
  TempDir dir;
  const std::string file = dir.Write("file", "x");
  const struct {
    const char* way;
    std::function<void(SmartFolderItemZRN&)> fill;
  } ways[] = {
      {"URL path", [&](SmartFolderItemZRN& r) { r.LocateURLPath = URLPathOf(file, false); }},
      {"shell path", [&](SmartFolderItemZRN& r) { r.LocateShellPath = ShellPathOf(file); }},
      {"native path", [&](SmartFolderItemZRN& r) { r.LocatePath = file; }},
  };
  for (const auto& w : ways) {
    bool found = false;
    for (long n = 0; !found && n < 100000; ++n) {
      auto record = std::make_shared<SmartFolderItemZRN>();
      w.fill(*record);
      allocationsLeft = n;
      try {
        const FolderItemRef item = record->GetFile();
        allocationsLeft = -1;
        ASSERT_NE(item, nullptr) << w.way << ": allocation " << n << " failed and the file was lost";
        EXPECT_EQ(item->NativePath(), file) << w.way;
        found = true;
      } catch (const std::bad_alloc&) {
        allocationsLeft = -1;
      }
    }
    EXPECT_TRUE(found) << w.way;
  }
}

}  // namespace
}  // namespace grantwright::testing
