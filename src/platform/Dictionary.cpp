#include "platform/Dictionary.h"

#include "platform/TextEncoding.h"
#include "platform/Utf8.h"

namespace grantwright {

namespace {
// ASCII text in UTF-8 form: its bytes are its characters, so case folding is ASCII's.
bool IsAsciiKey(const String& key) {
  const TextEncoding* e = key.Encoding();
  const bool bytesAreUtf8 = e == nullptr || e == Encodings::UTF8() || e == Encodings::ASCII();
  return bytesAreUtf8 && utf8::IsAscii(key.Bytes());
}

bool AsciiEqualIgnoringCase(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'A' && x <= 'Z') x = static_cast<char>(x + 32);
    if (y >= 'A' && y <= 'Z') y = static_cast<char>(y + 32);
    if (x != y) return false;
  }
  return true;
}
}  // namespace

size_t Dictionary::FindString(const String& key) const {
  if (entries_.size() > kIndexThreshold) {
    const auto it = stringIndex_.find(CaseFolded(key));
    return it == stringIndex_.end() ? kMissing : it->second;
  }
  return ScanString(key, IsAsciiKey(key));
}

size_t Dictionary::ScanString(const String& key, bool ascii) const {
  for (size_t i = 0; i < entries_.size(); ++i) {
    const String* other = entries_[i].first.Get<String>();
    if (other == nullptr) continue;
    const bool equal = ascii && (asciiKeys_ >> i & 1)
                           ? AsciiEqualIgnoringCase(key.Bytes(), other->Bytes())
                           : key == *other;
    if (equal) return i;
  }
  return kMissing;
}

size_t Dictionary::Find(const Variant& key) const {
  if (const String* text = key.Get<String>()) return FindString(*text);
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

void Dictionary::SetValue(Variant key, Variant value) {
  const String* text = key.Get<String>();
  // Up to the threshold the keys are scanned; past it the index is used, and the key is
  // folded once for the lookup and the insertion.
  const bool scanned = entries_.size() <= kIndexThreshold;
  const bool ascii = text != nullptr && scanned && IsAsciiKey(*text);
  std::string folded;
  if (text != nullptr && entries_.size() >= kIndexThreshold) folded = CaseFolded(*text);
  size_t i;
  if (text == nullptr) {
    i = Find(key);
  } else if (scanned) {
    i = ScanString(*text, ascii);
  } else {
    const auto it = stringIndex_.find(folded);
    i = it == stringIndex_.end() ? kMissing : it->second;
  }
  if (i != kMissing) {
    entries_[i].second = std::move(value);
    return;
  }
  if (entries_.size() < kIndexThreshold && ascii) asciiKeys_ |= uint32_t{1} << entries_.size();
  entries_.emplace_back(std::move(key), std::move(value));
  if (entries_.size() == kIndexThreshold + 1) {
    for (size_t k = 0; k + 1 < entries_.size(); ++k) {
      if (const String* other = entries_[k].first.Get<String>()) {
        stringIndex_.emplace(CaseFolded(*other), k);
      }
    }
  }
  if (entries_.size() > kIndexThreshold && entries_.back().first.Get<String>() != nullptr) {
    stringIndex_.emplace(std::move(folded), entries_.size() - 1);
  }
}

void Dictionary::Reserve(size_t count) {
  entries_.reserve(count);
  if (count > kIndexThreshold) stringIndex_.reserve(count);
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
