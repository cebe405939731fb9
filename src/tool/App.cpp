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

// A value as a failure line shows it: its bytes, but each control character (a line end
// above all) percent-encoded as the configuration writes it, so every line is one job's
// whole line and no value can start a line of its own.
String Shown(const String& value) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string shown;
  shown.reserve(value.LenB());
  for (const char c : value.Bytes()) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      shown += '%';
      shown += kHex[byte >> 4];
      shown += kHex[byte & 0xF];
    } else {
      shown += c;
    }
  }
  return String(std::move(shown), value.Encoding());
}

bool HoldsNul(const String& value) { return value.Bytes().find('\0') != std::string::npos; }

// The access control list alone. A record without a usable list has nothing to apply:
// using its nil list raises NilObjectException, which ends the process unhandled.
bool ApplyACL(const TraditionalPermissionsZRN& record, const FolderItemRef& target) {
  if (!NonNil(record.ACLRights)->SetFile(target, Acl::kExtended)) {
    WriteStdOut("Failed to set ACL on: " + Shown(record.UnixFilePath));
    return false;
  }
  return true;
}

void ReportOwner(const TraditionalPermissionsZRN& record) {
  WriteStdOut("Failed to set file owner to \"" + Shown(record.Owner) + "\" on: " + Shown(record.UnixFilePath));
}

void ReportGroup(const TraditionalPermissionsZRN& record) {
  WriteStdOut("Failed to set file group to \"" + Shown(record.Group) + "\" on: " + Shown(record.UnixFilePath));
}

// Owner, group, then mode: a change of owner clears the set-id bits, so the mode comes last.
// A name holding a NUL byte names no account: the job stops before its first change, with
// the line of the step that names it.
bool ApplyOwnerGroupMode(const TraditionalPermissionsZRN& record, const FolderItemRef& target) {
  if (HoldsNul(record.Owner) || HoldsNul(record.Group)) {
    HoldsNul(record.Owner) ? ReportOwner(record) : ReportGroup(record);
    return false;
  }
  target->SetOwner(record.Owner);
  if (target->LastErrorCode() != 0) {
    ReportOwner(record);
    return false;
  }
  target->SetGroup(record.Group);
  if (target->LastErrorCode() != 0) {
    ReportGroup(record);
    return false;
  }
  target->SetPermissions(record.xPermissions);
  if (target->LastErrorCode() != 0) {
    WriteStdOut("Failed to set file permissions on: " + Shown(record.UnixFilePath));
    return false;
  }
  return true;
}

// Applies `record` to the file it names: with `applyACL` its list, else its owner, group
// and mode. The file is located once; every change goes to the item found then.
bool ApplyRecord(const TraditionalPermissionsZRN& record, bool applyACL) {
  const FolderItemRef target = PathToFolderItem(record.UnixFilePath);
  if (!target || !target->Locate()) {
    WriteStdOut("File not found: " + Shown(record.UnixFilePath));
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
