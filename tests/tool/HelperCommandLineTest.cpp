#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

const std::string kUsage = "Unhandled or missing required arguments.\nFound Arguments: \n";

TEST(HelperCommandLine, MessagesAndStatuses) {
  TempDir dir;
  const std::string folder = dir / "folder.xml";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  const std::string secret = dir.Write("secret.xml", "<r/>");
  ASSERT_EQ(::chmod(secret.c_str(), 0), 0);
  const std::string helper = HelperPath();
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string out;
    uid_t uid = static_cast<uid_t>(-1);
  };
  std::vector<Case> cases = {
      {{}, 255, kUsage + helper + "\n"},
      {{"-a"}, 255, kUsage + helper + "\n-a\n"},
      {{"x", "-A", "y"}, 255, kUsage + helper + "\nx\n-A\ny\n"},
      {{"-a", "-f"}, 255, "Missing path argument\n"},
      {{"-F"}, 255, "Missing path argument\n"},
      {{"-f", "/no/such"}, 254, "Missing config file!\n"},
      {{"-F", "/no/such", "-f"}, 254, "Missing config file!\n"},  // the scan ends at the first -f
      {{"-f", "-a"}, 254, "Missing config file!\n"},              // "-a" is the path here
      {{"-f", ""}, 254, "Missing config file!\n"},
      {{"-f", folder}, 254, "Failed to read config file!\n"},
      {{"-f", "/dev/null"}, 254, "Failed to read config file!\n"},  // no regular file
  };
  // A file that exists but that the user cannot read.
  if (IsRoot()) cases.push_back({{"-f", secret}, 254, "Failed to read config file!\n", 65534});
  for (const Case& c : cases) {
    const ProcessResult r =
        RunHelper(c.args, {.env = {"GRANTWRIGHT_LOG=stderr"}, .uid = c.uid, .gid = c.uid});
    EXPECT_EQ(r.status, c.status) << ::testing::PrintToString(c.args);
    EXPECT_EQ(r.out, c.out) << ::testing::PrintToString(c.args);
  }
}

TEST(HelperCommandLine, ArgumentsOfAnyBytesAndLength) {
  std::vector<std::string> many(20000, "\xFF\xFE-x");
  many.push_back("\xC3");
  const ProcessResult r = RunHelper(many, {.env = {"GRANTWRIGHT_LOG=stderr"}});
  EXPECT_EQ(r.status, 255);
  EXPECT_EQ(r.out.rfind(kUsage, 0), 0u);
  EXPECT_EQ(r.out.size(), kUsage.size() + HelperPath().size() + 1 + 20000 * 5 + 2);

  const ProcessResult bytes = RunHelper({"-f", "/no/such/\xFF\xFE"}, {.env = {"GRANTWRIGHT_LOG=stderr"}});
  EXPECT_EQ(bytes.status, 254);
  EXPECT_EQ(bytes.out, "Missing config file!\n");
}

TEST(HelperCommandLine, AnyBytesAsConfigEndInAMessage) {
  TempDir dir;
  std::string noise;
  for (int i = 0; i < 4096; ++i) noise.push_back(static_cast<char>((i * 7919) % 251));
  for (const std::string& bytes : {std::string(), noise, std::string(100000, '\0'), std::string("\xFF\xFE", 2),
                                   std::string("<config><Owner datatype=\"String\">root</Own")}) {
    const ProcessResult r = RunHelper({"-f", dir.Write("c.xml", bytes)}, {.env = {"GRANTWRIGHT_LOG=stderr"}});
    EXPECT_EQ(r.status, 254);
    EXPECT_EQ(r.out, "Failed to read XML from config file!\n");
  }
  const ProcessResult truncated = RunHelper({"-f", dir / "c.xml"}, {.env = {"GRANTWRIGHT_LOG=stderr"}});
  EXPECT_NE(truncated.err.find("Error Code: 14"), std::string::npos) << truncated.err;
}

}  // namespace
}  // namespace grantwright::testing
