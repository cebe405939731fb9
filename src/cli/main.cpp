// grantwright: capture a file's access rights into a configuration, explain a
// configuration as the helper reads it, make and resolve references to files, and show
// what the desktop knows of a file.

#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "cli/Commands.h"
#include "desktop/GioFileKinds.h"
#include "global/GlobalMethods.h"
#include "global/Startup.h"
#include "platform/Environment.h"
#include "platform/Exceptions.h"
#include "platform/Log.h"

namespace {

constexpr const char* kHelp =
    "usage: grantwright capture <file> [-o <config path>]\n"
    "       grantwright explain <config path>\n"
    "       grantwright reference <file> [-o <stored path>]\n"
    "       grantwright resolve <stored path>\n"
    "       grantwright info <file> | --reference <stored path>\n"
    "\n"
    "  capture   writes the configuration that restores <file>'s owner, group, mode and\n"
    "            access control list, on standard output or into <config path> (mode 0600),\n"
    "            which must be neither <file> itself nor a folder\n"
    "  explain   shows, as JSON, what a configuration holds and what the helper would apply\n"
    "  reference writes a reference to <file> that finds it again after a rename or a move,\n"
    "            on standard output or into <stored path> (mode 0600)\n"
    "  resolve   finds the file of the reference (or plain path) <stored path> holds and shows\n"
    "            it as JSON; status 0 when the file exists, 1 when it was not found\n"
    "  info      shows, as JSON, whether <file> (or the file of a reference) exists, its\n"
    "            display name, its kind and its content type; status as for resolve\n"
    "\n"
    "Round trip:\n"
    "  grantwright capture /srv/data -o data.xml   # now\n"
    "  grantwright-helper -f data.xml             # later: owner, group and mode back\n"
    "  grantwright-helper -a -f data.xml          # and the access control list\n"
    "\n"
    "GRANTWRIGHT_DEBUG=1 shows the library's log lines on standard error.\n";

int Usage() {
  grantwright::MsgBox(grantwright::String(std::string(kHelp, std::strlen(kHelp) - 1)));
  return 2;
}

int Run(const std::vector<std::string>& args) {
  if (args.empty()) return Usage();
  const std::string& command = args[0];
  if (command == "--help" || command == "-h" || command == "help") {
    grantwright::WriteStandardOutputLine(std::string_view(kHelp, std::strlen(kHelp) - 1));
    return 0;
  }
  if (command == "capture" && (args.size() == 2 || (args.size() == 4 && args[2] == "-o"))) {
    return grantwright::Commands::Capture(args[1], args.size() == 4 ? std::optional(args[3]) : std::nullopt);
  }
  if (command == "explain" && args.size() == 2) return grantwright::Commands::Explain(args[1]);
  if (command == "reference" && (args.size() == 2 || (args.size() == 4 && args[2] == "-o"))) {
    return grantwright::Commands::Reference(args[1], args.size() == 4 ? args[3] : std::string());
  }
  if (command == "resolve" && args.size() == 2) return grantwright::Commands::Resolve(args[1]);
  if (command == "info" && args.size() == 2) return grantwright::Commands::Info(args[1]);
  if (command == "info" && args.size() == 3 && args[1] == "--reference") {
    return grantwright::Commands::InfoOfReference(args[2]);
  }
  return Usage();
}

}  // namespace

int main(int argc, char** argv) {
  grantwright::InstallDesktopServices();
  grantwright::Startup::CachedDebugMode = grantwright::EnvironmentValue("GRANTWRIGHT_DEBUG") == "1";
  if (grantwright::GlobalMethods::DebuggingEnabledZRN()) {
    grantwright::SetLogSink([](std::string_view line) { grantwright::MsgBox(grantwright::String(line)); });
  }
  try {
    return Run(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const std::bad_alloc&) {
    // Whatever ran short has been given back on the way here.
    grantwright::MsgBox(grantwright::String("grantwright: out of memory"));
    return 1;
  } catch (const grantwright::RuntimeException& e) {
    std::string line = std::string("grantwright: ") + e.ClassName();
    if (!e.Message().empty()) line += ": " + e.Message();
    grantwright::MsgBox(grantwright::String(line));
    return 1;
  } catch (const std::exception& e) {
    grantwright::MsgBox(grantwright::String(std::string("grantwright: ") + e.what()));
    return 1;
  }
}
