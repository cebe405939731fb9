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

}  // namespace grantwright::GlobalMethods
