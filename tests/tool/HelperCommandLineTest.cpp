#include <gtest/gtest.h>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

TEST(HelperCommandLine, Placeholder) { EXPECT_EQ(RunHelper({}).status, 255); }

}  // namespace
}  // namespace grantwright::testing
