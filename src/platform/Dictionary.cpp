#include "platform/Dictionary.h"

namespace grantwright {

size_t Dictionary::Find(const Variant& key) const {
  const String* text = key.Get<String>();
  if (text == nullptr) {
    for (size_t i = 0; i < entries_.size(); ++i) {
      if (entries_[i].first.KeyEquals(key)) return i;
    }
    return kMissing;
  }
  if (entries_.size() > kIndexThreshold) {
    const auto it = stringIndex_.find(CaseFolded(*text));
    return it == stringIndex_.end() ? kMissing : it->second;
  }
  return ScanString(*text);
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

void Dictionary::SetValue(Variant key, Variant value) {
  const size_t i = Find(key);
  if (i != kMissing) {
    entries_[i].second = std::move(value);
    return;
  }
  entries_.emplace_back(std::move(key), std::move(value));
  const size_t last = entries_.size() - 1;
  const auto index = [&](size_t k) {
    if (const String* text = entries_[k].first.Get<String>()) stringIndex_.emplace(CaseFolded(*text), k);
  };
  if (last < kIndexThreshold) {
    NoteScannedKey(last);
  } else if (last == kIndexThreshold) {
    for (size_t k = 0; k <= last; ++k) index(k);
  } else {
    index(last);
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
