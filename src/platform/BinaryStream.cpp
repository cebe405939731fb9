#include "platform/BinaryStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Exceptions.h"
#include "platform/FileIO.h"

namespace grantwright {

namespace {

constexpr size_t kWindow = 4096;

// Reads up to `count` bytes at `offset` into `out`; retries on EINTR and short reads.
void ReadAt(int fd, uint64_t offset, size_t count, std::string& out) {
  out.resize(count);
  size_t done = 0;
  while (done < count) {
    const ssize_t n = ::pread(fd, out.data() + done, count - done, static_cast<off_t>(offset + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      const int error = errno;
      out.clear();
      throw IOException("read failed", error);
    }
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  out.resize(done);
}

}  // namespace

std::shared_ptr<BinaryStream> BinaryStream::Open(const FolderItemRef& file, bool readWrite) {
  NonNil(file);
  if (readWrite) throw IOException("write access is not supported", EROFS);
  // O_NONBLOCK: opening a FIFO must not wait for a writer.
  const int fd = ::open(file->NativePath().c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  if (fd < 0) throw IOException("open failed", errno);
  struct stat st;
  if (::fstat(fd, &st) != 0) {
    const int error = errno;
    CloseReadDescriptor(fd);
    throw IOException("stat failed", error);
  }
  if (!S_ISREG(st.st_mode)) {
    CloseReadDescriptor(fd);
    throw IOException("not a regular file", S_ISDIR(st.st_mode) ? EISDIR : EINVAL);
  }
  return std::shared_ptr<BinaryStream>(new BinaryStream(fd, static_cast<uint64_t>(st.st_size)));
}

BinaryStream::~BinaryStream() { Close(); }

void BinaryStream::Close() {
  if (fd_ >= 0) CloseReadDescriptor(fd_);
  fd_ = -1;
}

void BinaryStream::Fill(uint64_t position) {
  if (fd_ < 0) throw IOException("stream is closed", EBADF);
  // Within the length the file had when opened, ask for no more than is there, so a small
  // file takes one read, not a second that finds its end.
  const size_t window = position < length_ && length_ - position < kWindow ? length_ - position : kWindow;
  ReadAt(fd_, position, window, buffer_);
  bufferStart_ = position;
}

uint8_t BinaryStream::ReadUInt8() {
  if (position_ < bufferStart_ || position_ >= bufferStart_ + buffer_.size()) Fill(position_);
  if (position_ >= bufferStart_ + buffer_.size()) throw IOException("read past the end", 0);
  return static_cast<uint8_t>(buffer_[position_++ - bufferStart_]);
}

String BinaryStream::Read(uint64_t count, const TextEncoding* encoding) {
  if (fd_ < 0) throw IOException("stream is closed", EBADF);
  if (position_ >= length_ || count == 0) return String(std::string(), encoding);
  const uint64_t available = length_ - position_;
  const size_t wanted = static_cast<size_t>(count < available ? count : available);
  std::string bytes;
  if (position_ >= bufferStart_ && position_ + wanted <= bufferStart_ + buffer_.size()) {
    bytes.assign(buffer_, position_ - bufferStart_, wanted);  // read already
  } else {
    ReadAt(fd_, position_, wanted, bytes);
  }
  position_ += bytes.size();
  return String(std::move(bytes), encoding);
}

}  // namespace grantwright
