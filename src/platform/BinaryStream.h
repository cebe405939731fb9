#pragma once
// BinaryStream: a file opened for byte access, read only.
//
// Open raises IOException (ErrorNumber = errno) when the file cannot be opened; every
// later operation that fails raises IOException too. A stream is closed by Close or when
// the last reference goes.
//
// Length is the size the file had when it was opened; a file that is no regular file
// (a directory, a FIFO, a device) cannot be read and raises IOException from Open, so a
// reader can never block on a pipe or read without end from a device.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/FolderItem.h"
#include "platform/String.h"

namespace grantwright {

class TextEncoding;

class BinaryStream {
 public:
  // Opens `file` for reading. `readWrite` must be false: writing is not supported and
  // raises IOException (EROFS). A nil file raises NilObjectException.
  static std::shared_ptr<BinaryStream> Open(const FolderItemRef& file, bool readWrite);
  ~BinaryStream();
  BinaryStream(const BinaryStream&) = delete;
  BinaryStream& operator=(const BinaryStream&) = delete;

  uint64_t Length() const { return length_; }
  uint64_t Position() const { return position_; }
  void SetPosition(uint64_t position) { position_ = position; }
  bool EndOfFile() const { return position_ >= length_; }

  // The next byte; raises IOException at the end or on a read error.
  uint8_t ReadUInt8();
  // The next `count` bytes (fewer at the end) tagged with `encoding` (null: untagged).
  String Read(uint64_t count, const TextEncoding* encoding);
  void Close();

 private:
  BinaryStream(int fd, uint64_t length) : fd_(fd), length_(length) {}
  void Fill(uint64_t position);

  int fd_;
  uint64_t length_;
  uint64_t position_ = 0;
  // A small window of the file, so byte-by-byte reading costs no system call per byte.
  std::string buffer_;
  uint64_t bufferStart_ = 0;
};

using BinaryStreamRef = std::shared_ptr<BinaryStream>;

}  // namespace grantwright
