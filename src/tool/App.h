#pragma once
// App: the helper process's application object. One run does one job: read the
// configuration named on the command line and apply it to one file.

#include <cstdint>
#include <vector>

#include "platform/String.h"

namespace grantwright {

class App {
 public:
  // Process results: the exit status keeps the low eight bits (0, 255, 254).
  static constexpr int64_t kApplied = 0;
  static constexpr int64_t kBadCommandLine = -1;
  static constexpr int64_t kJobFailed = -2;

  // Runs the whole job for the command line `args` (element 0 is the program's path) and
  // gives the process result. Preferences are loaded first (CorePreferences.Load), on
  // every run. The scan takes "-a" (any case) as the ACL switch and stops at the first
  // "-f" (any case), whose next argument is the configuration path.
  // - "-f" last: "Missing path argument", -1.
  // - no "-f": "Unhandled or missing required arguments.", "Found Arguments: " and the
  //   arguments one a line, -1.
  // - otherwise 0 when Handle_Helper succeeded, -2 when it failed.
  int64_t Event_Run(const std::vector<String>& args);

  // Reads the configuration at `configPath` and applies it; false after a failure, whose
  // line has been written to standard output.
  bool Handle_Helper(const String& configPath, bool applyACL);
};

}  // namespace grantwright
