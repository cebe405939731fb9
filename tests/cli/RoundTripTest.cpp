#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

#if defined(__SANITIZE_ADDRESS__)
// Sanitized processes start slowly: every 16th mode still covers each bit set and clear.
constexpr uint32_t kModeStep = 16;
#else
constexpr uint32_t kModeStep = 1;
#endif

// What a restore must bring back, for each item: numeric owner, group and mode, and the
// whole list (one getfacl run for all, whose blocks come in the order of the paths).
std::vector<std::string> States(const std::vector<std::string>& items) {
  std::vector<std::string> argv{"/usr/bin/getfacl", "-n", "-p"};
  argv.insert(argv.end(), items.begin(), items.end());
  const std::string listing = Run(argv).out;
  std::vector<std::string> states;
  size_t at = 0;
  for (const std::string& item : items) {
    const size_t end = listing.find("\n\n", at);
    struct stat st;
    char head[64] = "missing";
    if (::lstat(item.c_str(), &st) == 0) {
      std::snprintf(head, sizeof head, "%u %u %o\n", st.st_uid, st.st_gid, st.st_mode & 07777);
    }
    states.push_back(head + listing.substr(at, end - at));
    at = end == std::string::npos ? listing.size() : end + 2;
  }
  return states;
}

void ExpectAllSucceeded(const std::vector<ProcessResult>& results, const std::vector<std::string>& items,
                        const char* step) {
  for (size_t i = 0; i < results.size(); ++i) {
    ASSERT_EQ(results[i].status, 0) << step << " " << items[i] << ": " << results[i].out << results[i].err;
    ASSERT_EQ(results[i].out, "") << step << " " << items[i];
  }
}

// Captures every item, scrambles it, restores it with the helper (owner branch, then the
// list where the item had one: a configuration without a list has nothing for -a), and
// compares the whole state before and after.
void RoundTrip(const TempDir& dir, const std::vector<std::string>& items) {
  const std::vector<std::string> before = States(items);
  std::vector<std::vector<std::string>> capture, restoreOwner, restoreAcl;
  for (const std::string& item : items) {
    const std::string config = dir / ("config-" + std::to_string(capture.size()) + ".xml");
    capture.push_back({CommandPath(), "capture", item, "-o", config});
    restoreOwner.push_back({HelperPath(), "-f", config});
  }
  for (const ProcessResult& r : RunAll(capture)) ASSERT_EQ(r.status, 0) << r.err;
  std::vector<std::string> withList;
  for (size_t i = 0; i < items.size(); ++i) {
    const std::string config = restoreOwner[i].back();
    if (before[i].find("mask::") == std::string::npos && before[i].find("default:") == std::string::npos) {
      continue;  // only the entries of its mode: no list was captured
    }
    restoreAcl.push_back({HelperPath(), "-a", "-f", config});
    withList.push_back(items[i]);
  }

  std::vector<std::string> setfacl{"/usr/bin/setfacl", "-b", "-k"};
  for (const std::string& item : items) {
    ASSERT_EQ(::chown(item.c_str(), 65534, 65534), 0);
    ASSERT_EQ(::chmod(item.c_str(), 0602), 0);
    setfacl.push_back(item);
  }
  ASSERT_EQ(Run(setfacl).status, 0);

  ExpectAllSucceeded(RunAll(restoreOwner), items, "-f");
  ExpectAllSucceeded(RunAll(restoreAcl), withList, "-a -f");
  const std::vector<std::string> after = States(items);
  for (size_t i = 0; i < items.size(); ++i) EXPECT_EQ(after[i], before[i]) << items[i];
}

TEST(RoundTrip, EveryModeOwnerGroupAndListComesBack) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  // 4242 and 4343 are ids with no account or group name.
  const char* owners[] = {"0", "1", "65534", "4242"};
  const char* groups[] = {"0", "1", "65534", "4343"};
  const std::vector<std::string> lists[] = {
      {},
      {"-m", "u:daemon:r-x"},
      {"-m", "g:nogroup:rw-,u:nobody:--x"},
      {"-m", "g:daemon:r--", "-d", "-m", "u:nobody:rwx,g:daemon:r-x"},  // default list: folders only
  };
  std::vector<std::string> items;
  for (uint32_t mode = 0; mode < 4096; mode += kModeStep) {
    const std::string item = dir / ("item-" + std::to_string(mode));
    const bool folder = mode % 2 == 1;
    ASSERT_TRUE(folder ? ::mkdir(item.c_str(), 0700) == 0 : !dir.Write(item.substr(dir.path().size() + 1), "x").empty());
    const size_t k = (mode / kModeStep) % 4;
    ASSERT_EQ(::chown(item.c_str(), std::stoul(owners[k]), std::stoul(groups[(mode / 3) % 4])), 0);
    const std::vector<std::string>& list = lists[(mode / 5) % 4];
    if (!list.empty() && (folder || list.size() == 2)) {
      std::vector<std::string> args = list;
      args.push_back(item);
      Setfacl(args);
    }
    ASSERT_EQ(::chmod(item.c_str(), mode), 0);
    items.push_back(item);
  }
  ASSERT_GE(items.size(), 100u);
  RoundTrip(dir, items);
}

TEST(RoundTrip, NamesWithBlanksPercentPlusUnicodeAndLineEnds) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  std::vector<std::string> items;
  for (const std::string name : {"notes v2.txt", "100% + more", "Grüße 日本", "line\nbreak", "&lt;<tag>\"'"}) {
    items.push_back(dir.Write(name, "x"));
    ASSERT_EQ(::chown(items.back().c_str(), 1, 1), 0);
    ASSERT_EQ(::chmod(items.back().c_str(), 02750), 0);
    Setfacl({"-m", "u:nobody:rw-", items.back()});
  }
  RoundTrip(dir, items);
}

}  // namespace
}  // namespace grantwright::testing
