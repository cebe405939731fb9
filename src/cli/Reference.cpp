#include <cerrno>

#include "cli/Commands.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "platform/FileIO.h"
#include "platform/Log.h"

namespace grantwright::Commands {

namespace {

int Fail(const std::string& message) {
  MsgBox(String("grantwright: " + message));
  return 1;
}

}  // namespace

int Reference(const std::string& file, const std::string& output) {
  const FolderItemRef item = PathToFolderItem(String(file, nullptr));
  if (!item || !item->Exists()) return Fail(file + ": " + ErrorText(ENOENT));
  const SmartFolderItemZRNRef reference = SmartFolderItemZRN::Create(item);
  const std::string stored = reference->GetXML().Bytes() + "\n";
  if (output.empty()) {
    const int error = WriteStandardOutput(stored);
    return error == 0 ? 0 : Fail("cannot write: " + ErrorText(error));
  }
  const FolderItemRef target = PathToFolderItem(String(output, nullptr));
  if (!target) return Fail(output + ": " + ErrorText(ENOENT));
  if (const int error = ReplaceFileBeside(target->NativePath(), stored, 0600); error != 0) {
    return Fail("cannot write " + output + ": " + ErrorText(error));
  }
  return 0;
}

}  // namespace grantwright::Commands
