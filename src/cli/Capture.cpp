#include <cerrno>

#include "cli/Commands.h"
#include "fileutil/FolderItemExtension.h"
#include "permissions/TraditionalPermissionsZRN.h"
#include "platform/FileIO.h"
#include "platform/Log.h"
#include "xml/XMLExtension.h"

namespace grantwright::Commands {

namespace {

int Fail(const std::string& message) {
  MsgBox(String("grantwright: " + message));
  return 1;
}

// Writes the configuration into `output`, unless that would destroy what was captured or
// cannot be a file. The file is replaced by renaming a new one over its name, so a name of
// the captured file would lose the captured file's content, or that name, to the
// configuration.
int WriteInto(const std::string& output, const FolderItemRef& captured, const String& xml) {
  if (output.empty()) return Fail("cannot write \"\": the output path is empty");
  const FolderItemRef target = PathToFolderItem(String(output));
  if (!target) return Fail(output + ": " + ErrorText(ENOENT));
  if (target->IsSameItem(*captured)) return Fail("cannot write " + output + ": it is the captured file");
  if (target->Directory()) return Fail("cannot write " + output + ": it is a folder");
  if (const int error = ReplaceFileBeside(target->NativePath(), xml.Bytes(), 0600); error != 0) {
    return Fail("cannot write " + output + ": " + ErrorText(error));
  }
  MsgBox(String("Captured ") + FolderItemExtension::PathZRN(captured, /*abbreviateHome=*/true) +
         " into " + FolderItemExtension::PathZRN(target, /*abbreviateHome=*/true));
  return 0;
}

}  // namespace

int Capture(const std::string& file, const std::optional<std::string>& output) {
  const FolderItemRef item = PathToFolderItem(String(file));
  if (!item) return Fail(file + ": " + ErrorText(ENOENT));
  // A record of an item that cannot be examined would hold nothing true: examining it
  // first tells why.
  item->PermissionsMode();
  if (item->LastErrorCode() != 0) return Fail(file + ": " + ErrorText(item->LastErrorCode()));
  const TraditionalPermissionsZRN record(item);
  const String xml = XMLExtension::AsXMLStringFromDictionaryZRN(record.GetDictionary(), "config");
  if (output) return WriteInto(*output, item, xml);
  const int error = WriteStandardOutput(xml.Bytes());
  return error == 0 ? 0 : Fail("cannot write: " + ErrorText(error));
}

}  // namespace grantwright::Commands
