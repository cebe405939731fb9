#pragma once
// Descriptor: an open file descriptor that is closed when it goes out of scope.

#include <unistd.h>

#include <utility>

namespace grantwright {

class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor() { Reset(-1); }
  Descriptor(Descriptor&& other) noexcept : fd_(other.Release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return fd_; }
  int Release() { return std::exchange(fd_, -1); }
  // Closes what is held (a negative value such as AT_FDCWD is never closed) and holds `fd`.
  void Reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }

 private:
  int fd_;
};

}  // namespace grantwright
