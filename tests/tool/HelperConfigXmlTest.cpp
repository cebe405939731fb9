#include <gtest/gtest.h>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

TEST(HelperConfigXml, ReportsOnlyAConfigurationThatDoesNotDecode) {
  const TempDir dir;
  const RunOptions options{.env = {"GRANTWRIGHT_LOG=stderr"}};
  const ProcessResult truncated =
      RunHelper({"-f", dir.Write("bad.xml", "<config><Owner datatype=\"String\">root</Own")}, options);
  EXPECT_EQ(truncated.out, "Failed to read XML from config file!\n");
  EXPECT_NE(truncated.err.find("Error Code: 14"), std::string::npos) << truncated.err;

  const ProcessResult decoded = RunHelper(
      {"-f", dir.Write("good.xml", "<config><UnixFilePath datatype=\"String\">%2Ftmp%2Fx</UnixFilePath></config>")},
      options);
  EXPECT_EQ(decoded.out.find("Failed to read XML"), std::string::npos);
  EXPECT_EQ(decoded.err.find("Error Code"), std::string::npos);
}

}  // namespace
}  // namespace grantwright::testing
