#pragma once
// The text a file of a stored reference holds, as the commands that read one take it.

#include <string>

namespace grantwright::Commands {

// A stored reference is a few hundred bytes; a file far larger is no stored reference.
inline constexpr size_t kMaxStoredSize = 1 << 20;

// The whole content of `path` (at most kMaxStoredSize bytes) less one trailing line end
// (LF or CR LF) into `content`; 0, or the errno of the read.
int ReadStored(const std::string& path, std::string& content);

}  // namespace grantwright::Commands
