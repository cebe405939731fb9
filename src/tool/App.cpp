#include "tool/App.h"

#include "config/ConfigurationFile.h"
#include "global/GlobalMethods.h"
#include "permissions/TraditionalPermissionsZRN.h"
#include "platform/Acl.h"
#include "platform/Exceptions.h"
#include "platform/FolderItem.h"
#include "prefs/CorePreferences.h"

namespace grantwright {

using GlobalMethods::WriteStdOut;

namespace {

// The access control list alone. A record without a usable list has nothing to apply:
// using its nil list raises NilObjectException, which ends the process unhandled.
bool ApplyACL(const TraditionalPermissionsZRN& record, const FolderItemRef& target) {
  if (!NonNil(record.ACLRights)->SetFile(target, Acl::kExtended)) {
    WriteStdOut("Failed to set ACL on: " + record.UnixFilePath);
    return false;
  }
  return true;
}

// Owner, group, then mode: a change of owner clears the set-id bits, so the mode comes last.
bool ApplyOwnerGroupMode(const TraditionalPermissionsZRN& record, const FolderItemRef& target) {
  target->SetOwner(record.Owner);
  if (target->LastErrorCode() != 0) {
    WriteStdOut("Failed to set file owner to \"" + record.Owner + "\" on: " + record.UnixFilePath);
    return false;
  }
  target->SetGroup(record.Group);
  if (target->LastErrorCode() != 0) {
    WriteStdOut("Failed to set file group to \"" + record.Group + "\" on: " + record.UnixFilePath);
    return false;
  }
  target->SetPermissions(record.xPermissions);
  if (target->LastErrorCode() != 0) {
    WriteStdOut("Failed to set file permissions on: " + record.UnixFilePath);
    return false;
  }
  return true;
}

// Applies `record` to the file it names: with `applyACL` its list, else its owner, group
// and mode. The file is located once; every change goes to the item found then.
bool ApplyRecord(const TraditionalPermissionsZRN& record, bool applyACL) {
  const FolderItemRef target = PathToFolderItem(record.UnixFilePath);
  if (!target || !target->Locate()) {
    WriteStdOut("File not found: " + record.UnixFilePath);
    return false;
  }
  return applyACL ? ApplyACL(record, target) : ApplyOwnerGroupMode(record, target);
}

}  // namespace

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
  const DictionaryRef config = ConfigurationFile::Read(configPath, WriteStdOut);
  if (!config) return false;
  const TraditionalPermissionsZRN record(config);
  return ApplyRecord(record, applyACL);
}

}  // namespace grantwright
