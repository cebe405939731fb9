#pragma once
// The preference folder a process opened last, kept open so that the next access to the
// same folder need not walk its path again. A helper run reaches its store twice as it
// starts (a flush with nothing to write, then the flush of a setting), and each walk opens
// the folder and checks every folder above it: 6 system calls for the bench's five names
// (11 when a link on the path makes it go name by name from "/"). Reuse costs none when the
// folder is kept (the walk brings its identity) and one when it is taken again (the path's),
// as the kept folder and those handed out share one descriptor; the last one kept stays
// open till the process ends (bench/helper_vs_c.sh, owner branch: 66 -> 55 system calls a
// run).
//
// A kept folder is taken again only while its path still leads to it (the same device and
// inode by stat): a folder removed, renamed or replaced meanwhile is walked anew, so a
// long-running process never writes into a folder that is gone. The folder taken is the
// one the walk opened and checked; a path that now leads to it another way changes
// nothing about where the store reads and writes.

#include <string>

#include "platform/OwnedFolder.h"

namespace grantwright::PreferenceFiles {

// The folder kept for `path`, as a descriptor of its own; kFailed when there is none or
// the path no longer leads to it.
OwnedFolder ReopenFolder(const std::string& path);

// Keeps the open `folder`, walked from `path`, in place of the one kept before, which is
// closed unless a holder of it is left. A folder that is not open changes nothing.
void KeepFolder(const std::string& path, const OwnedFolder& folder);

}  // namespace grantwright::PreferenceFiles
