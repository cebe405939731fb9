// grantwright: capture a file's access rights into a configuration, explain a
// configuration as the helper reads it, make and resolve references to files, and show
// what the desktop knows of a file.

#include <climits>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "cli/Commands.h"
#include "cli/DesktopServices.h"
#include "fileutil/FileIcons.h"
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
    "                        [--icon <size> -o <png path>] [--route <n>]\n"
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
    "            display name, its kind and its content type; status as for resolve.\n"
    "            --icon writes its icon, <size> pixels square, as a PNG file; --route\n"
    "            chooses how: -1 or 3 the file's own icon (the default), 1 or 2 its type's,\n"
    "            4 a preview, any other number the theme's picture of exactly that size\n"
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

// A whole decimal number from `min` to `max`; nothing for any other text.
std::optional<int64_t> Number(const std::string& text, int64_t min, int64_t max) {
  size_t used = 0;
  try {
    const long long value = std::stoll(text, &used, 10);
    if (used == text.size() && value >= min && value <= max) return value;
  } catch (const std::logic_error&) {
  }
  return std::nullopt;
}

// info's arguments: a path or --reference and a stored path, then options in any order.
std::optional<grantwright::Commands::InfoRequest> InfoRequestOf(const std::vector<std::string>& args) {
  grantwright::Commands::InfoRequest request;
  bool routed = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool hasValue = i + 1 < args.size();
    if (arg == "--reference" && hasValue && request.target.empty()) {
      request.reference = true;
      request.target = args[++i];
    } else if (arg == "--icon" && hasValue) {
      const auto size = Number(args[++i], 1, grantwright::kMaxIconSize);
      if (!size) return std::nullopt;
      request.iconSize = *size;
    } else if (arg == "-o" && hasValue) {
      request.iconOutput = args[++i];
    } else if (arg == "--route" && hasValue) {
      const auto route = Number(args[++i], INT64_MIN, INT64_MAX);
      if (!route) return std::nullopt;
      request.route = *route;
      routed = true;
    } else if (request.target.empty() && !arg.starts_with("-")) {
      request.target = arg;
    } else {
      return std::nullopt;
    }
  }
  // An icon needs its file and a file its icon; a reference shows its own icon.
  if (request.target.empty() || (request.iconSize == 0) != request.iconOutput.empty() ||
      (routed && (request.reference || request.iconSize == 0))) {
    return std::nullopt;
  }
  return request;
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
  if (command == "info") {
    const std::optional<grantwright::Commands::InfoRequest> request = InfoRequestOf(args);
    if (!request) return Usage();
    if (const std::string why = grantwright::Commands::LoadDesktopServices(); !why.empty()) {
      grantwright::MsgBox(grantwright::String("grantwright: the desktop's services cannot be loaded: " + why));
      return 1;
    }
    return grantwright::Commands::Info(*request);
  }
  return Usage();
}

}  // namespace

int main(int argc, char** argv) {
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
