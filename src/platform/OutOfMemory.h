#pragma once
// Running out of memory is std::bad_alloc wherever it is met, so it has one ending in
// every program (the helper's "Unhandled exception: OutOfMemoryException", status 253)
// and never reads as a bad file, an unknown account or a refused list. The C++ allocator
// throws it already; what the C libraries below report as ENOMEM, or as a status of their
// own, is turned into it where they are called.

#include <cerrno>
#include <new>

namespace grantwright {

// Throws std::bad_alloc when `errorNumber` is ENOMEM; returns otherwise.
inline void ThrowIfOutOfMemory(int errorNumber) {
  if (errorNumber == ENOMEM) throw std::bad_alloc();
}

}  // namespace grantwright
