#pragma once
// GlobalMethods: the system's module of shared free functions.

#include "platform/FolderItem.h"
#include "platform/String.h"

namespace grantwright::GlobalMethods {

// Writes `text` as one line on standard output; when the process has no standard output,
// the text goes to the system log instead. Nothing is reported back.
void WriteStdOut(const String& text);

// Whether the process runs confined in a container: its documents folder lies inside a
// Snap confinement ("/snap/") or a Flatpak application folder ("/.var/app/"). Those are
// the places where a confined process on Linux sees its own home instead of the user's,
// as a sandboxed process elsewhere sees a container. Raises NilObjectException when there
// is no documents folder (no home folder is known).
bool IsSandboxed();

// The user's real home folder: SpecialFolder::UserHome outside a container; inside one,
// the folder named after ShortUsername under SpecialFolder::Home (nil when its parent is
// missing).
FolderItemRef UserHomeActualZRN();

// The debug switch, Startup::CachedDebugMode. Makes sure the table of preference defaults
// exists (an empty one when CorePreferences has not been loaded yet).
bool DebuggingEnabledZRN();

}  // namespace grantwright::GlobalMethods
