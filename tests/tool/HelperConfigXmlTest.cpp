#include <gtest/gtest.h>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

TEST(HelperConfigXml, ReportsOnlyAConfigurationThatDoesNotDecode) {
  const TempDir dir;
  const std::string bad = dir.Write("bad.xml", "<config><Owner datatype=\"String\">root</Own");
  const ProcessResult failed = RunHelper({"-f", bad});
  EXPECT_EQ(failed.status, 254);
  EXPECT_EQ(failed.out, "Failed to read XML from config file!\n");

  const std::string good = dir.Write(
      "good.xml", "<config><UnixFilePath datatype=\"String\">%2Ftmp%2Fx</UnixFilePath></config>");
  const ProcessResult decoded = RunHelper({"-f", good});
  EXPECT_EQ(decoded.out.find("Failed to read XML"), std::string::npos);
}

}  // namespace
}  // namespace grantwright::testing
