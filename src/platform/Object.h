#pragma once
// Object: the base of every class whose instances a Variant can hold by reference
// (Date, Dictionary, FolderItem, Picture, MemoryBlock, store objects, ...). Objects are
// counted references; a null ObjectRef is nil.

#include <cstdint>
#include <memory>

namespace grantwright {

class Object {
 public:
  virtual ~Object() = default;
  // The class name, as type reports and the unhandled-exception routine show it.
  virtual const char* ClassName() const = 0;
};

using ObjectRef = std::shared_ptr<Object>;

// A 32-bit colour value, as the typed formats store it.
struct Color {
  uint32_t value = 0;
  friend bool operator==(Color a, Color b) { return a.value == b.value; }
};

// The colour that stands for an unsigned 32-bit integer.
inline Color Integer2Color(uint32_t value) { return Color{value}; }

}  // namespace grantwright
