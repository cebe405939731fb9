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

}  // namespace

int Capture(const std::string& file, const std::string& output) {
  const FolderItemRef item = PathToFolderItem(String(file));
  if (!item) return Fail(file + ": " + ErrorText(ENOENT));
  // A record of an item that cannot be examined would hold nothing true: examining it
  // first tells why.
  item->PermissionsMode();
  if (item->LastErrorCode() != 0) return Fail(file + ": " + ErrorText(item->LastErrorCode()));
  const TraditionalPermissionsZRN record(item);
  const String xml = XMLExtension::AsXMLStringFromDictionaryZRN(record.GetDictionary(), "config");

  if (output.empty()) {
    const int error = WriteStandardOutput(xml.Bytes());
    return error == 0 ? 0 : Fail("cannot write: " + ErrorText(error));
  }
  const FolderItemRef target = PathToFolderItem(String(output));
  if (!target) return Fail(output + ": " + ErrorText(ENOENT));
  if (const int error = ReplaceFileBeside(target->NativePath(), xml.Bytes(), 0600); error != 0) {
    return Fail("cannot write " + output + ": " + ErrorText(error));
  }
  MsgBox(String("Captured ") + FolderItemExtension::PathZRN(item, /*abbreviateHome=*/true) +
         " into " + FolderItemExtension::PathZRN(target, /*abbreviateHome=*/true));
  return 0;
}

}  // namespace grantwright::Commands
