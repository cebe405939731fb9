#pragma once
// MemoryBlock: a block of raw bytes, held by reference. The bytes are opaque: they never
// pass through a text conversion.

#include <cstddef>
#include <memory>
#include <string>

#include "platform/Object.h"

namespace grantwright {

class MemoryBlock : public Object {
 public:
  explicit MemoryBlock(std::string bytes) : bytes_(std::move(bytes)) {}
  const char* ClassName() const override { return "MemoryBlock"; }

  size_t Size() const { return bytes_.size(); }
  const std::string& Bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

using MemoryBlockRef = std::shared_ptr<MemoryBlock>;

}  // namespace grantwright
