#pragma once
// Relative data: the opaque byte string that describes where an item is, written by
// FolderItem::GetSaveInfo and read by FolderItem::GetRelative.
//
// It holds the item's path relative to a base folder, its absolute path, the id of its
// file system (statfs f_fsid), its inode number, and the kernel file handles
// (name_to_handle_at) of the item and of its folder where the file system gives them
// (overlayfs, proc and sysfs don't: those fields are then left out, and making the data
// never fails). The paths are as the file system knows them, symbolic links of the
// folders resolved, so that the relative path agrees with the program's own path
// (/proc/self/exe).
//
// Layout, version 1: the four bytes "GWrd", the version byte 1, then fields, each a tag
// byte, a length (two bytes, little-endian) and that many bytes:
//   1 relative path      2 absolute path      3 file system id (8 bytes)
//   4 inode number (8 bytes, little-endian)
//   5 item's handle      6 folder's handle    (handle type, 4 bytes little-endian, then
//                                              the handle's 1 to 128 bytes)
// A later version may add tags: unknown tags are skipped. A field given twice keeps its
// first value.
//
// The reader takes outside bytes: it is linear, reads at most kMaxRelativeDataSize bytes
// (longer data is refused whole), and refuses a wrong marker or version, a field that runs
// past the end, a fixed-size field of another size, and a path holding a NUL byte.
//
// GetRelative tries, in this order, and takes the first item found:
//   1. the relative path, against the folder of the object it is called on;
//   2. the absolute path;
//   3. the item's handle, opened (O_PATH) with open_by_handle_at on a folder of the same
//      file system (the nearest existing folder above either path, or the base folder).
//      The path the kernel gives for the opened handle is taken only when its own handle is
//      the stored one; otherwise (a file's path may read "/" while its entry is not
//      cached) the folder's handle is opened and that folder is scanned as in 4. This needs
//      CAP_DAC_READ_SEARCH; a handle the kernel knows to be stale ends the search.
//   4. without that capability (or without handles), a scan of the two folders the paths
//      name for an entry with the stored inode number, each hit taken only when its handle
//      is the stored one: inode numbers are reused as soon as they are freed, and the
//      handle's generation tells the new file from the old. Without a stored handle no hit
//      can be confirmed, and none is taken.
// Paths come first on purpose: a save that renames the old file to a backup and writes a
// new one in its place keeps the reference on the path. Each scan reads at most
// kMaxScannedEntries entries of one folder; a larger folder is searched that far.
// What cannot be found gives the item of step 1 (or of step 2 without a relative path),
// which does not exist; data that does not read gives nil.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace grantwright {

inline constexpr size_t kMaxRelativeDataSize = 16384;
inline constexpr size_t kMaxFileHandleSize = 128;
inline constexpr size_t kMaxDataPath = 4096;
inline constexpr size_t kMaxScannedEntries = 65536;

struct FileHandle {
  int32_t type = 0;
  std::string bytes;  // 1 to kMaxFileHandleSize bytes
  friend bool operator==(const FileHandle&, const FileHandle&) = default;
};

struct RelativeData {
  std::string relativePath;  // empty: none
  std::string absolutePath;  // empty: none
  std::optional<uint64_t> fileSystemId;
  std::optional<uint64_t> inode;
  std::optional<FileHandle> itemHandle;
  std::optional<FileHandle> folderHandle;
  friend bool operator==(const RelativeData&, const RelativeData&) = default;
};

// The data's bytes, version 1. A path longer than kMaxDataPath bytes (PATH_MAX, which no
// system call takes past) is left out, and so is a handle that is empty or too long, so the
// bytes always stay under kMaxRelativeDataSize.
std::string EncodeRelativeData(const RelativeData& data);
// The data `bytes` hold, or nothing when they are no relative data (see above).
std::optional<RelativeData> DecodeRelativeData(std::string_view bytes);

}  // namespace grantwright
