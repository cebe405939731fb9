#pragma once
// GlobalMethods: the system's module of shared free functions, the services every floor
// above the platform may call: one way of writing a line, one reading of a value as a
// Boolean, and what the process knows about where it runs.

#include "platform/FolderItem.h"
#include "platform/String.h"
#include "platform/Variant.h"

namespace grantwright::GlobalMethods {

// Writes `text` as one line on standard output; when the process has no standard output,
// the text goes to the system log instead. Nothing is reported back.
void WriteStdOut(const String& text);

// The one reading of a value as a Boolean. False when the value's text form is empty (nil
// included), is "false", "no" or "off" (ignoring case), or reads as a number (IsNumeric)
// whose value is exactly 0; true otherwise. So False, OFF, 0, 0.0, "00" and "0e0" are
// false, and true, on, 1, -1, 0.5, blanks and any other text are true. A Boolean counts by
// its text form ("True"/"False"), a number by its value. A value without a text form (an
// object other than a Date, an array) raises TypeMismatchException.
bool CBool(const Variant& value);

// Whether the process runs confined in a container: its documents folder lies inside a
// Snap confinement ("/snap/") or a Flatpak application folder ("/.var/app/"). Those are
// the places where a confined process on Linux sees its own home instead of the user's,
// as a sandboxed process elsewhere sees a container. Raises NilObjectException when there
// is no documents folder (no home folder is known).
bool IsSandboxed();

// The user's real home folder: SpecialFolder::UserHome outside a container; inside one,
// the folder named after ShortUsername under SpecialFolder::Home, whether or not it exists
// (nil when SpecialFolder::Home is missing).
FolderItemRef UserHomeActualZRN();

// The debug switch, Startup::CachedDebugMode. It only reads the switch: nothing else
// changes.
bool DebuggingEnabledZRN();

}  // namespace grantwright::GlobalMethods
