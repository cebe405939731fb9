#pragma once
// The build installed once per test process into a fresh folder with DESTDIR, under the
// prefix and folders the build was configured with, as a packager installs it.

#include <string>

namespace grantwright::testing {

// The DESTDIR folder's path followed by the configured prefix: where bin/, lib/, ... are.
// Fails the calling test (and gives "") when the install fails.
const std::string& InstalledPrefix();

}  // namespace grantwright::testing
