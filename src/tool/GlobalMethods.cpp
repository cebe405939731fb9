#include "tool/GlobalMethods.h"

#include "platform/Log.h"

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

}  // namespace grantwright::GlobalMethods
