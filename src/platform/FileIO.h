#pragma once
// Small file operations shared by everything that writes files.

#include <sys/types.h>

#include <string>
#include <string_view>

namespace grantwright {

// Writes all of `bytes` to `fd`, going on after interruptions and short writes. False on
// the first failed write (errno tells why).
bool WriteAll(int fd, std::string_view bytes);

// Replaces the file at `path` by `bytes` with the mode `mode`, all or nothing: the bytes go
// to the new file `temporary` (in the same folder; it must not exist, and a symbolic link
// there is refused), which is flushed to disk and renamed over `path`, and then the folder
// is flushed. So a reader sees the old file or the new one, never a part, even when the
// process is killed. False when any step failed (errno tells why); the old file is then
// still in place and `temporary` is gone.
bool ReplaceFile(const std::string& path, const std::string& temporary, std::string_view bytes,
                 mode_t mode);

// The same inside the open folder `folder` (any descriptor of it, O_PATH too): `name` and
// `temporary` are names in that folder, and the folder flushed is the one `folder` holds.
bool ReplaceFileAt(int folder, const std::string& name, const std::string& temporary,
                   std::string_view bytes, mode_t mode);

// Closes a descriptor that was only read through, or only named an item. Nothing written
// can be lost, and Linux frees the descriptor even when close reports an error, so its
// result calls for nothing: there is nothing to retry or report.
void CloseReadDescriptor(int fd);

// ReplaceFile with a temporary file of its own beside `path` (the name with
// ".grantwright-" and the process id added). 0, or the errno of the step that failed.
int ReplaceFileBeside(const std::string& path, std::string_view bytes, mode_t mode);

// Reads the open file `fd` from its offset to its end into `content`. `size` is its length
// as fstat gave it, a first guess: a file that has grown since is still read whole, and a
// read that stops short right at `size` is its end. 0, EFBIG once more than `maxBytes`
// bytes are read, or read's errno; `content` is empty unless 0.
int ReadOpenFile(int fd, size_t size, size_t maxBytes, std::string& content);

// Reads the whole regular file at `path` into `content`. 0, or the errno of the step that
// failed: EFBIG for a file of more than `maxBytes` bytes, EINVAL for an item that is no
// regular file (read not at all, so a FIFO cannot stall the reader).
int ReadWholeFile(const std::string& path, size_t maxBytes, std::string& content);

// The system's description of the error number `errorNumber` ("No such file or
// directory").
std::string ErrorText(int errorNumber);

}  // namespace grantwright
