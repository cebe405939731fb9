// grantwright-helper [-a] -f <config path>
//
// Restores one file's owner, group and mode (or, with -a, its access control list) from
// a typed XML configuration. Writes one line on standard output per failure and exits
// 0 (applied), 255 (bad command line) or 254 (job failed). An exception that reaches the
// top ends the process with one line "Unhandled exception: <class>[: <message>]" on
// standard output and in the system log, and status 253.

#include <csignal>
#include <exception>
#include <vector>

#include "global/GlobalMethods.h"
#include "platform/Log.h"
#include "platform/UnhandledException.h"
#include "tool/App.h"

namespace {

int ReportUnhandled(const std::exception& e) {
  const grantwright::String line(grantwright::UnhandledExceptionLine(e));
  grantwright::GlobalMethods::WriteStdOut(line);
  grantwright::System::DebugLog(line);
  return grantwright::kUnhandledExceptionStatus;
}

}  // namespace

int main(int argc, char** argv) {
  if (!grantwright::OpenStandardDescriptors()) {
    grantwright::System::DebugLog("The standard descriptors could not be opened on /dev/null.");
    return grantwright::kUnhandledExceptionStatus;
  }
  // A parent that closes its end of the pipe must not kill the job half way.
  std::signal(SIGPIPE, SIG_IGN);
  std::vector<grantwright::String> args;
  args.reserve(static_cast<size_t>(argc));
  for (int i = 0; i < argc; ++i) args.emplace_back(argv[i]);
  try {
    grantwright::App app;
    return static_cast<int>(app.Event_Run(args) & 0xFF);
  } catch (const std::exception& e) {
    return ReportUnhandled(e);
  }
}
