#include "platform/Dictionary.h"

namespace grantwright {

namespace {
// Below this many entries a linear scan is cheaper than hashing a folded key.
constexpr size_t kIndexThreshold = 16;
}  // namespace

size_t Dictionary::Find(const Variant& key) const {
  if (const String* text = key.Get<String>(); text && entries_.size() > kIndexThreshold) {
    const auto it = stringIndex_.find(CaseFolded(*text));
    return it == stringIndex_.end() ? kMissing : it->second;
  }
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].first.KeyEquals(key)) return i;
  }
  return kMissing;
}

Variant Dictionary::Lookup(const Variant& key, const Variant& fallback) const {
  const size_t i = Find(key);
  return i == kMissing ? fallback : entries_[i].second;
}

Variant Dictionary::Value(const Variant& key) const {
  const size_t i = Find(key);
  if (i == kMissing) throw RuntimeException("key not found");
  return entries_[i].second;
}

void Dictionary::SetValue(const Variant& key, Variant value) {
  const size_t i = Find(key);
  if (i != kMissing) {
    entries_[i].second = std::move(value);
    return;
  }
  entries_.emplace_back(key, std::move(value));
  if (entries_.size() == kIndexThreshold + 1) {
    for (size_t k = 0; k < entries_.size(); ++k) {
      if (const String* text = entries_[k].first.Get<String>()) {
        stringIndex_.emplace(CaseFolded(*text), k);
      }
    }
  } else if (entries_.size() > kIndexThreshold + 1) {
    if (const String* text = key.Get<String>()) stringIndex_.emplace(CaseFolded(*text), entries_.size() - 1);
  }
}

const Variant& Dictionary::Key(size_t index) const {
  if (index >= entries_.size()) throw RuntimeException("Out of bounds");
  return entries_[index].first;
}

const Variant& Dictionary::ValueAt(size_t index) const {
  if (index >= entries_.size()) throw RuntimeException("Out of bounds");
  return entries_[index].second;
}

}  // namespace grantwright
