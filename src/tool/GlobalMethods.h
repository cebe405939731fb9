#pragma once
// GlobalMethods: the system's module of shared free functions.

#include "platform/String.h"

namespace grantwright::GlobalMethods {

// Writes `text` as one line on standard output; when the process has no standard output,
// the text goes to the system log instead. Nothing is reported back.
void WriteStdOut(const String& text);

}  // namespace grantwright::GlobalMethods
