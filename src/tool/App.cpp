#include "tool/App.h"

#include "fileutil/FolderItemExtension.h"
#include "platform/FolderItem.h"
#include "prefs/CorePreferences.h"
#include "tool/GlobalMethods.h"
#include "xml/XMLExtension.h"

namespace grantwright {

using GlobalMethods::WriteStdOut;

int64_t App::Event_Run(const std::vector<String>& args) {
  CorePreferences::Load();
  bool applyACL = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "-a") {
      applyACL = true;
    } else if (args[i] == "-f") {
      if (i + 1 == args.size()) {
        WriteStdOut("Missing path argument");
        return kBadCommandLine;
      }
      return Handle_Helper(args[i + 1], applyACL) ? kApplied : kJobFailed;
    }
  }
  WriteStdOut("Unhandled or missing required arguments.");
  WriteStdOut("Found Arguments: ");
  WriteStdOut(Join(args, EndOfLine));
  return kBadCommandLine;
}

bool App::Handle_Helper(const String& configPath, bool applyACL) {
  const FolderItemRef configFile = PathToFolderItem(configPath);
  if (!configFile || !configFile->Exists()) {
    WriteStdOut("Missing config file!");
    return false;
  }
  String text;
  if (!FolderItemExtension::ReadContentsSmartZRN(configFile, text, nullptr, false, false, true)) {
    WriteStdOut("Failed to read config file!");
    return false;
  }

  const DictionaryRef config = XMLExtension::AsDictionaryFromXMLStringZRN(text);
  if (!config) {
    WriteStdOut("Failed to read XML from config file!");
    return false;
  }

  // the permission record is built and applied here
  (void)applyACL;
  return false;
}

}  // namespace grantwright
