#pragma once
// Dictionary: a map from Variant keys to Variant values that keeps the order in which keys
// were first set. Keys compare as Variant::KeyEquals says (String keys ignoring case);
// setting a key that exists replaces its value in place. Held by reference.

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/Object.h"
#include "platform/Variant.h"

namespace grantwright {

class Dictionary : public Object {
 public:
  const char* ClassName() const override { return "Dictionary"; }

  size_t Count() const { return entries_.size(); }
  bool HasKey(const Variant& key) const { return Find(key) != kMissing; }
  // The value under `key`, else `fallback`.
  Variant Lookup(const Variant& key, const Variant& fallback) const;
  // The value under `key`; throws RuntimeException ("key not found") when it is missing.
  Variant Value(const Variant& key) const;
  void SetValue(Variant key, Variant value);

  // The i-th key and value in insertion order; throws RuntimeException when out of range.
  const Variant& Key(size_t index) const;
  const Variant& ValueAt(size_t index) const;
  const std::vector<std::pair<Variant, Variant>>& Entries() const { return entries_; }

  // Makes room for `count` entries in all, so filling a dictionary of known size moves
  // nothing (DictionaryReserve.cpp).
  void Reserve(size_t count);

 private:
  static constexpr size_t kMissing = static_cast<size_t>(-1);
  // Below this many entries a scan is cheaper than an index.
  static constexpr size_t kIndexThreshold = 16;
  size_t Find(const Variant& key) const;
  // The entry whose String key equals `key`, by a scan of a dictionary of up to
  // kIndexThreshold entries (DictionaryAsciiKeys.cpp).
  size_t ScanString(const String& key) const;
  // Notes what the scan needs to know of entry `index`'s key, for an entry it will visit.
  void NoteScannedKey(size_t index);

  std::vector<std::pair<Variant, Variant>> entries_;
  // Bit i: whether entry i's key is a String of ASCII bytes only, for the entries a scan
  // visits: two such keys compare as bytes ignoring ASCII case, without folding.
  uint32_t asciiKeys_ = 0;
  // String keys by their case-folded text, for dictionaries past kIndexThreshold entries.
  std::unordered_map<std::string, size_t> stringIndex_;
};

using DictionaryRef = std::shared_ptr<Dictionary>;

}  // namespace grantwright
