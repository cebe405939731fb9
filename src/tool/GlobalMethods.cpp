#include "tool/GlobalMethods.h"

#include "fileutil/FolderItemExtension.h"
#include "platform/Exceptions.h"
#include "platform/Log.h"
#include "platform/UserFolders.h"
#include "prefs/CorePreferences.h"
#include "tool/Startup.h"

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
  const String documents = FolderItemExtension::PathZRN(NonNil(SpecialFolder::Documents()), false);
  return InStr(documents, "/snap/") != 0 || InStr(documents, "/.var/app/") != 0;
}

FolderItemRef UserHomeActualZRN() {
  if (!IsSandboxed()) return SpecialFolder::UserHome();
  return FolderItemExtension::GetSubFolderItemZRN(SpecialFolder::Home(),
                                                  {SystemInformation::ShortUsername()});
}

bool DebuggingEnabledZRN() {
  if (!CorePreferences::dPreferenceDefaults) {
    CorePreferences::dPreferenceDefaults = std::make_shared<Dictionary>();
  }
  return Startup::CachedDebugMode;
}

}  // namespace grantwright::GlobalMethods
