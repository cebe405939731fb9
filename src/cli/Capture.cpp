#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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
  struct stat st;
  if (!item || ::stat(item->NativePath().c_str(), &st) != 0) {
    return Fail(file + ": " + std::strerror(item ? errno : ENOENT));
  }
  const TraditionalPermissionsZRN record(item);
  const String xml = XMLExtension::AsXMLStringFromDictionaryZRN(record.GetDictionary(), "config");
  const std::string& bytes = xml.Bytes();

  if (output.empty()) {
    return WriteAll(STDOUT_FILENO, bytes) ? 0 : Fail(std::string("cannot write: ") + std::strerror(errno));
  }
  const FolderItemRef target = PathToFolderItem(String(output));
  if (!target) return Fail(output + ": " + std::strerror(ENOENT));
  const std::string temporary = target->NativePath() + ".grantwright-" + std::to_string(::getpid());
  if (!ReplaceFile(target->NativePath(), temporary, bytes, 0600)) {
    return Fail("cannot write " + output + ": " + std::strerror(errno));
  }
  MsgBox(String("Captured ") + FolderItemExtension::PathZRN(item, true) + " into " +
         FolderItemExtension::PathZRN(target, true));
  return 0;
}

}  // namespace grantwright::Commands
