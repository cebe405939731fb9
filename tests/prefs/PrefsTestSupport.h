#pragma once
// What the preference tests share: a fresh configuration folder per test, a look at the
// files through the independent reader, and a comparison of dynamic values.

#include <sys/stat.h>

#include <cstdlib>
#include <string>
#include <tuple>

#include "platform/Dictionary.h"
#include "platform/MemoryBlock.h"
#include "support/TestSupport.h"

namespace grantwright::testing {

// Points XDG_CONFIG_HOME at a fresh folder for the object's lifetime.
class ScopedConfigHome {
 public:
  ScopedConfigHome() {
    if (const char* old = std::getenv("XDG_CONFIG_HOME")) old_ = old;
    ::setenv("XDG_CONFIG_HOME", dir_.path().c_str(), 1);
  }
  ~ScopedConfigHome() { ::setenv("XDG_CONFIG_HOME", old_.c_str(), 1); }
  const std::string& path() const { return dir_.path(); }
  std::string Folder() const { return dir_.path() + "/grantwright/preferences"; }
  std::string File(const std::string& domain) const { return Folder() + "/" + domain + ".plist"; }

 private:
  TempDir dir_;
  std::string old_;
};

// Whether plistutil reads the file (into its binary form and back); its XML in `xml`.
inline bool PlistutilReads(const std::string& path, std::string* xml = nullptr) {
  const std::string binary = path + ".check.bin";
  const bool toBinary =
      Run({"/usr/bin/plistutil", "-i", path, "-f", "bin", "-o", binary}).status == 0;
  const ProcessResult back = Run({"/usr/bin/plistutil", "-i", binary, "-f", "xml"});
  ::unlink(binary.c_str());
  if (xml) *xml = back.out;
  return toBinary && back.status == 0 && !back.out.empty();
}

// Inode and modification time: both stay when a file is not written.
inline std::tuple<ino_t, time_t, long> StampOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return {st.st_ino, st.st_mtim.tv_sec, st.st_mtim.tv_nsec};
}

// Equal as values: integers with integers and floats with floats by value, Strings exactly,
// arrays and Dictionaries element by element, Dates by TotalSeconds, MemoryBlocks by bytes.
inline bool SameValue(const Variant& a, const Variant& b) {
  if (a.IsArray() || b.IsArray()) {
    bool same = a.IsArray() && b.IsArray() && a.ArraySize() == b.ArraySize();
    for (size_t i = 0; same && i < a.ArraySize(); ++i)
      same = SameValue(a.ArrayElement(i), b.ArrayElement(i));
    return same;
  }
  if (auto x = a.ObjectAs<Dictionary>()) {
    auto y = b.ObjectAs<Dictionary>();
    bool same = y && x->Count() == y->Count();
    for (size_t i = 0; same && i < x->Count(); ++i) {
      same = SameValue(x->Key(i), y->Key(i)) && SameValue(x->ValueAt(i), y->ValueAt(i));
    }
    return same;
  }
  if (auto x = a.ObjectAs<MemoryBlock>())
    return b.ObjectAs<MemoryBlock>() && x->Bytes() == b.ObjectAs<MemoryBlock>()->Bytes();
  if (a.Type() == Variant::kDate)
    return b.Type() == Variant::kDate && a.DoubleValue() == b.DoubleValue();
  if (a.Type() == Variant::kString)
    return b.Type() == Variant::kString && Identical(*a.Get<String>(), *b.Get<String>());
  const auto isInteger = [](const Variant& v) {
    return v.Type() == Variant::kInt32 || v.Type() == Variant::kInt64;
  };
  return isInteger(a) == isInteger(b) && a.KeyEquals(b);
}

}  // namespace grantwright::testing
