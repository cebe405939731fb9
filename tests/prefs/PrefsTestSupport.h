#pragma once
// What the preference tests share: a fresh configuration folder per test, a look at the
// files through the independent reader, and a compact way to compare dynamic values.

#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "platform/Dictionary.h"
#include "platform/MemoryBlock.h"
#include "platform/Variant.h"
#include "support/TestSupport.h"

namespace grantwright::testing {

// Points XDG_CONFIG_HOME at a fresh folder for the object's lifetime.
class ScopedConfigHome {
 public:
  ScopedConfigHome() {
    const char* old = std::getenv("XDG_CONFIG_HOME");
    hadOld_ = old != nullptr;
    if (hadOld_) old_ = old;
    ::setenv("XDG_CONFIG_HOME", dir_.path().c_str(), 1);
  }
  ~ScopedConfigHome() {
    if (hadOld_) {
      ::setenv("XDG_CONFIG_HOME", old_.c_str(), 1);
    } else {
      ::unsetenv("XDG_CONFIG_HOME");
    }
  }
  const std::string& path() const { return dir_.path(); }
  std::string Folder() const { return dir_.path() + "/grantwright/preferences"; }
  std::string File(const std::string& domain) const { return Folder() + "/" + domain + ".plist"; }

 private:
  TempDir dir_;
  std::string old_;
  bool hadOld_ = false;
};

// Whether plistutil reads the file; its XML rendering of it in `xml`.
inline bool PlistutilReads(const std::string& path, std::string* xml = nullptr) {
  const std::string binary = path + ".check.bin";
  const ProcessResult toBinary = Run({"/usr/bin/plistutil", "-i", path, "-f", "bin", "-o", binary});
  const ProcessResult back = Run({"/usr/bin/plistutil", "-i", binary, "-f", "xml"});
  ::unlink(binary.c_str());
  if (xml) *xml = back.out;
  return toBinary.status == 0 && back.status == 0 && !back.out.empty();
}

struct FileStamp {
  ino_t inode = 0;
  timespec modified{};
  friend bool operator==(const FileStamp& a, const FileStamp& b) {
    return a.inode == b.inode && a.modified.tv_sec == b.modified.tv_sec &&
           a.modified.tv_nsec == b.modified.tv_nsec;
  }
};

inline FileStamp StampOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return {st.st_ino, st.st_mtim};
}

// Equal as values: integers with integers and floats with floats by value (a Single
// equals the Double it widens to), arrays
// element by element, Dictionaries entry by entry in order, Dates by TotalSeconds,
// MemoryBlocks by bytes, other objects by identity.
inline bool SameValue(const Variant& a, const Variant& b) {
  if (a.IsArray() || b.IsArray()) {
    if (!a.IsArray() || !b.IsArray() || a.ArraySize() != b.ArraySize()) return false;
    for (size_t i = 0; i < a.ArraySize(); ++i) {
      if (!SameValue(a.ArrayElement(i), b.ArrayElement(i))) return false;
    }
    return true;
  }
  if (auto x = a.ObjectAs<Dictionary>()) {
    auto y = b.ObjectAs<Dictionary>();
    if (!y || x->Count() != y->Count()) return false;
    for (size_t i = 0; i < x->Count(); ++i) {
      if (!SameValue(x->Key(i), y->Key(i)) || !SameValue(x->ValueAt(i), y->ValueAt(i))) {
        return false;
      }
    }
    return true;
  }
  if (auto x = a.ObjectAs<Date>()) {
    auto y = b.ObjectAs<Date>();
    return y && x->TotalSeconds() == y->TotalSeconds();
  }
  if (auto x = a.ObjectAs<MemoryBlock>()) {
    auto y = b.ObjectAs<MemoryBlock>();
    return y && x->Bytes() == y->Bytes();
  }
  if (a.Type() == Variant::kString && b.Type() == Variant::kString) {
    return Identical(*a.Get<String>(), *b.Get<String>());
  }
  const auto isInteger = [](const Variant& v) {
    return v.Type() == Variant::kInt32 || v.Type() == Variant::kInt64;
  };
  return isInteger(a) == isInteger(b) && a.KeyEquals(b);
}

}  // namespace grantwright::testing
