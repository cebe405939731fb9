#include "global/GlobalMethods.h"

#include "global/Startup.h"
#include "platform/Exceptions.h"
#include "platform/Log.h"
#include "platform/UserFolders.h"

namespace grantwright::GlobalMethods {

void WriteStdOut(const String& text) {
  if (!StandardOutputIsOpen()) {
    System::DebugLog(text);
    return;
  }
  // A parent that stopped listening gets nothing; the job itself goes on.
  WriteStandardOutputLine(text.Bytes());
}

bool CBool(const Variant& value) {
  const String text = value.StringValue();
  if (text.IsEmpty() || text == "false" || text == "no" || text == "off") return false;
  return !(IsNumeric(text) && Val(text) == 0.0);
}

bool IsSandboxed() {
  const String documents(NonNil(SpecialFolder::Documents())->NativePath());
  return InStr(documents, "/snap/") != 0 || InStr(documents, "/.var/app/") != 0;
}

FolderItemRef UserHomeActualZRN() {
  if (!IsSandboxed()) return SpecialFolder::UserHome();
  const FolderItemRef homes = SpecialFolder::Home();
  if (!homes || !homes->Exists()) return nullptr;
  return homes->Child(SystemInformation::ShortUsername());
}

bool DebuggingEnabledZRN() { return Startup::CachedDebugMode; }

}  // namespace grantwright::GlobalMethods
