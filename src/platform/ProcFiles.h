#pragma once
// ProcFiles: the few things only /proc gives, taken from it only when it is the kernel's
// process file system. A /proc that is anything else (a tmpfs mounted over it in a private
// mount namespace, holding planted links) is not used: the caller's step fails instead.

#include <sys/stat.h>

#include <optional>
#include <string>

namespace grantwright {

// A path that reaches the very item the descriptor `fd` holds, for calls that take no
// descriptor ("/proc/self/fd/<fd>"). Empty, with errno set, when /proc is not procfs
// (EXDEV) or the path does not reach that item (ESTALE). `examined` is the item's fstat,
// when the caller has taken it already.
std::string ProcPathOf(int fd);
std::string ProcPathOf(int fd, const struct stat& examined);

// The value of the integer setting /proc/sys/<name> ("fs/protected_hardlinks"); nothing
// when it cannot be read from a procfs.
std::optional<long> KernelSetting(const std::string& name);

}  // namespace grantwright
