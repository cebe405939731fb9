#pragma once
// Store objects: the values the preference store holds, and the form in which values
// cross into it. A small family of plain values held by counted reference:
//
//   StoreString      text, held as UTF-8 bytes                          "String"
//   StoreNumber      a number with its width: 64-bit integer, Single    "Number"
//                    or Double
//   StoreBoolean     true or false                                      "Boolean"
//   StoreDate        seconds since 2001-01-01 00:00:00 GMT (a double)   "Date"
//   StoreData        raw bytes                                          "Data"
//   StoreArray       an ordered list of store objects                   "Array"
//   StoreDictionary  ordered key/value pairs of store objects           "Dictionary"
//   StoreURL         a URL's text                                       "URL"
//   StoreUUID        a 128-bit identifier                               "UUID"
//
// The right-hand column is each type's TypeDescription. Store objects are Objects, so a
// Variant can carry one as it is. Containers may hold any store object; only what a
// property-list file can express (see PropertyList.h) can be written to disk.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/FolderItem.h"
#include "platform/MemoryBlock.h"
#include "platform/Object.h"
#include "platform/String.h"

namespace grantwright {

class StoreObject : public Object {
 public:
  // The name of the object's type, as diagnostics show it.
  virtual const char* TypeDescription() const = 0;
};

using StoreObjectRef = std::shared_ptr<StoreObject>;

class StoreString final : public StoreObject {
 public:
  // Text as UTF-8 bytes, kept exactly as given.
  explicit StoreString(std::string utf8) : utf8_(std::move(utf8)) {}
  // The text of `text`, converted to UTF-8 when it is tagged with another encoding;
  // untagged bytes, and bytes that do not convert, are taken as they are.
  static std::shared_ptr<StoreString> New(const String& text);
  const char* ClassName() const override { return "StoreString"; }
  const char* TypeDescription() const override { return "String"; }

  const std::string& Utf8() const { return utf8_; }
  // The text, tagged UTF-8.
  String Str() const { return String(utf8_); }

 private:
  std::string utf8_;
};

class StoreNumber final : public StoreObject {
  // Only the factories below make numbers, so value and width always agree.
  class Made {
    friend class StoreNumber;
    Made() = default;
  };

 public:
  enum class Width { kInteger64, kSingle, kDouble };
  StoreNumber(Made, Width width, int64_t integer, double real)
      : width_(width), integer_(integer), real_(real) {}
  static std::shared_ptr<StoreNumber> Integer(int64_t value);
  static std::shared_ptr<StoreNumber> Single(float value);
  static std::shared_ptr<StoreNumber> Double(double value);
  const char* ClassName() const override { return "StoreNumber"; }
  const char* TypeDescription() const override { return "Number"; }

  Width NumberWidth() const { return width_; }
  // Whether the number is of a floating type (Single or Double).
  bool IsFloat() const { return width_ != Width::kInteger64; }
  // The value as a double (a Single widened exactly; a large integer rounded).
  double DoubleValue() const;
  // The value as a 64-bit integer: floats truncated toward zero, saturating, NaN as 0.
  int64_t IntegerValue() const;

 private:
  Width width_;
  int64_t integer_;
  double real_;
};

class StoreBoolean final : public StoreObject {
 public:
  explicit StoreBoolean(bool value) : value_(value) {}
  const char* ClassName() const override { return "StoreBoolean"; }
  const char* TypeDescription() const override { return "Boolean"; }
  bool Value() const { return value_; }

 private:
  bool value_;
};

class StoreDate final : public StoreObject {
 public:
  explicit StoreDate(double absoluteTime) : absoluteTime_(absoluteTime) {}
  const char* ClassName() const override { return "StoreDate"; }
  const char* TypeDescription() const override { return "Date"; }

  // Seconds since 2001-01-01 00:00:00 GMT.
  double AbsoluteTime() const { return absoluteTime_; }
  // Whether the moment has calendar fields: it is finite and within about 31 million
  // years of 2001. Dates beyond have no calendar form and cannot be written.
  bool HasGregorianForm() const;

  // 2001-01-01 00:00:00 as seconds since 1904-01-01 00:00:00 (35,430 days).
  static constexpr double kEpochIn1904 = 3061152000.0;

 private:
  double absoluteTime_;
};

class StoreData final : public StoreObject {
 public:
  explicit StoreData(std::string bytes) : bytes_(std::move(bytes)) {}
  const char* ClassName() const override { return "StoreData"; }
  const char* TypeDescription() const override { return "Data"; }

  const std::string& Bytes() const { return bytes_; }
  // A new MemoryBlock holding a copy of the bytes.
  MemoryBlockRef Mem() const { return std::make_shared<MemoryBlock>(bytes_); }

 private:
  std::string bytes_;
};

class StoreArray final : public StoreObject {
 public:
  const char* ClassName() const override { return "StoreArray"; }
  const char* TypeDescription() const override { return "Array"; }

  size_t Count() const { return items_.size(); }
  // Element `index` (from 0); RuntimeException when out of range.
  const StoreObjectRef& Item(size_t index) const;
  // Appends `item`; a nil item is not appended (an array holds no nil elements).
  void Append(StoreObjectRef item);
  const std::vector<StoreObjectRef>& Items() const { return items_; }

 private:
  std::vector<StoreObjectRef> items_;
};

class StoreDictionary final : public StoreObject {
 public:
  const char* ClassName() const override { return "StoreDictionary"; }
  const char* TypeDescription() const override { return "Dictionary"; }

  size_t Count() const { return entries_.size(); }
  // The i-th key and value in insertion order; RuntimeException when out of range.
  const StoreObjectRef& Key(size_t index) const;
  const StoreObjectRef& Value(size_t index) const;
  const std::vector<std::pair<StoreObjectRef, StoreObjectRef>>& Entries() const { return entries_; }

  // Adds an entry unless a string key of the same text (compared exactly) is already
  // there, in which case nothing changes. A nil key or value adds nothing.
  void Add(StoreObjectRef key, StoreObjectRef value);
  // The value under the string key `key` (compared exactly), or nil.
  StoreObjectRef Lookup(std::string_view key) const;
  // Sets the value under the string key `key`, replacing any value it had in place.
  void Set(std::string_view key, StoreObjectRef value);
  // Removes the entry under the string key `key`; false when there was none.
  bool Remove(std::string_view key);
  // Makes room for `count` entries in all, so that adding up to that many allocates no more
  // room.
  void Reserve(size_t count);
  // Add, Lookup and Set take constant time on average, so a dictionary of n entries is
  // built in O(n); Remove takes O(n).

 private:
  size_t Find(std::string_view key) const;
  std::vector<std::pair<StoreObjectRef, StoreObjectRef>> entries_;
  // Position of each string key in entries_. The views point into the keys' own
  // StoreStrings, which never change and live as long as their entries.
  std::unordered_map<std::string_view, size_t> index_;
};

class StoreURL final : public StoreObject {
 public:
  explicit StoreURL(std::string text) : text_(std::move(text)) {}
  const char* ClassName() const override { return "StoreURL"; }
  const char* TypeDescription() const override { return "URL"; }

  const std::string& Text() const { return text_; }
  // The item a "file:" URL names ("file:///path" or "file://localhost/path", scheme in
  // any case, percent-escapes decoded); nil for any other URL.
  FolderItemRef File() const;

 private:
  std::string text_;
};

class StoreUUID final : public StoreObject {
 public:
  explicit StoreUUID(const std::array<uint8_t, 16>& bytes) : bytes_(bytes) {}
  const char* ClassName() const override { return "StoreUUID"; }
  const char* TypeDescription() const override { return "UUID"; }

  // The identifier as 36 characters, upper-case hex digits in groups of 8-4-4-4-12.
  String StringValue() const;

 private:
  std::array<uint8_t, 16> bytes_;
};

using StoreStringRef = std::shared_ptr<StoreString>;
using StoreNumberRef = std::shared_ptr<StoreNumber>;
using StoreBooleanRef = std::shared_ptr<StoreBoolean>;
using StoreDateRef = std::shared_ptr<StoreDate>;
using StoreDataRef = std::shared_ptr<StoreData>;
using StoreArrayRef = std::shared_ptr<StoreArray>;
using StoreDictionaryRef = std::shared_ptr<StoreDictionary>;
using StoreURLRef = std::shared_ptr<StoreURL>;
using StoreUUIDRef = std::shared_ptr<StoreUUID>;

}  // namespace grantwright
