#include "install/Installed.h"

#include <gtest/gtest.h>

#include "support/TestSupport.h"

namespace grantwright::testing {

const std::string& InstalledPrefix() {
  static const TempDir destdir;
  static const std::string prefix = [] {
    const ProcessResult r = ::grantwright::testing::Run({GRANTWRIGHT_CMAKE, "--install", GRANTWRIGHT_BUILD_DIR},
                                {.env = {"DESTDIR=" + destdir.path()}});
    return r.status == 0 ? destdir.path() + GRANTWRIGHT_INSTALL_PREFIX : "";
  }();
  EXPECT_NE(prefix, "") << "cmake --install failed";
  return prefix;
}

}  // namespace grantwright::testing
