#pragma once
// The system log and the two other ways the process speaks without a user: standard
// output, and a "dialog", which a console process shows on standard error.
//
// System::DebugLog writes one record per call to syslog(3) with the identity
// "grantwright". With GRANTWRIGHT_LOG=stderr in the environment the text goes to standard
// error instead, followed by a line end. A sink installed with SetLogSink takes every
// record in place of both (tests read the log that way).

#include <functional>
#include <string_view>

#include "platform/String.h"

namespace grantwright {

namespace System {
void DebugLog(const String& message);
}

// Shows `message` to the user: on standard error, followed by a line end.
void MsgBox(const String& message);

// Writes the text and a line end to standard output, unbuffered. False when the write
// failed (standard output closed or full).
bool WriteStandardOutputLine(std::string_view text);

// Writes `bytes` to standard output as they are, unbuffered. 0, or the errno of the
// write that failed.
int WriteStandardOutput(std::string_view bytes);

// Whether the process has a standard output to write to: false also when standard output
// was closed at start and OpenStandardDescriptors put /dev/null there.
bool StandardOutputIsOpen();

// Opens /dev/null on each of descriptors 0, 1 and 2 that is closed, as a privileged
// program does first: otherwise the next file it opens takes that number, and a line
// meant for standard output lands in that file. False when /dev/null could not be opened
// on one of them, or the three could not be asked after (the process must not go on then).
bool OpenStandardDescriptors();

using LogSink = std::function<void(std::string_view)>;
// Installs `sink` (an empty function restores syslog/stderr); gives back the one before.
LogSink SetLogSink(LogSink sink);

}  // namespace grantwright
