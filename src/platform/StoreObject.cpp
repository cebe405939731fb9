#include "platform/StoreObject.h"

#include <cmath>
#include <cstdio>

#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"

namespace grantwright {

std::shared_ptr<StoreString> StoreString::New(const String& text) {
  const TextEncoding* utf8 = Encodings::UTF8();
  if (text.Encoding() != nullptr && text.Encoding() != utf8) {
    const String converted = ConvertEncoding(text, utf8);
    if (converted.Encoding() == utf8) return std::make_shared<StoreString>(converted.Bytes());
  }
  return std::make_shared<StoreString>(text.Bytes());
}

std::shared_ptr<StoreNumber> StoreNumber::Integer(int64_t value) {
  return std::make_shared<StoreNumber>(Made(), Width::kInteger64, value,
                                       static_cast<double>(value));
}

std::shared_ptr<StoreNumber> StoreNumber::Single(float value) {
  return std::make_shared<StoreNumber>(Made(), Width::kSingle, 0, value);
}

std::shared_ptr<StoreNumber> StoreNumber::Double(double value) {
  return std::make_shared<StoreNumber>(Made(), Width::kDouble, 0, value);
}

double StoreNumber::DoubleValue() const { return real_; }

int64_t StoreNumber::IntegerValue() const { return IsFloat() ? TruncateToInt64(real_) : integer_; }

bool StoreDate::HasGregorianForm() const {
  // Far beyond any real date, yet well inside what Date's calendar arithmetic takes.
  constexpr double kLimit = 1e15;
  return std::isfinite(absoluteTime_) && std::fabs(absoluteTime_) < kLimit;
}

const StoreObjectRef& StoreArray::Item(size_t index) const {
  if (index >= items_.size()) throw RuntimeException("Out of bounds");
  return items_[index];
}

void StoreArray::Append(StoreObjectRef item) {
  if (item) items_.push_back(std::move(item));
}

const StoreObjectRef& StoreDictionary::Key(size_t index) const {
  if (index >= entries_.size()) throw RuntimeException("Out of bounds");
  return entries_[index].first;
}

const StoreObjectRef& StoreDictionary::Value(size_t index) const {
  if (index >= entries_.size()) throw RuntimeException("Out of bounds");
  return entries_[index].second;
}

size_t StoreDictionary::Find(std::string_view key) const {
  const auto found = index_.find(key);
  return found == index_.end() ? entries_.size() : found->second;
}

void StoreDictionary::Add(StoreObjectRef key, StoreObjectRef value) {
  if (!key || !value) return;
  if (const auto* text = dynamic_cast<const StoreString*>(key.get())) {
    if (!index_.try_emplace(text->Utf8(), entries_.size()).second) return;
  }
  entries_.emplace_back(std::move(key), std::move(value));
}

StoreObjectRef StoreDictionary::Lookup(std::string_view key) const {
  const size_t i = Find(key);
  return i == entries_.size() ? nullptr : entries_[i].second;
}

void StoreDictionary::Set(std::string_view key, StoreObjectRef value) {
  const size_t i = Find(key);
  if (i != entries_.size()) {
    entries_[i].second = std::move(value);
    return;
  }
  auto text = std::make_shared<StoreString>(std::string(key));
  index_.emplace(text->Utf8(), entries_.size());
  entries_.emplace_back(std::move(text), std::move(value));
}

void StoreDictionary::Reserve(size_t count) {
  entries_.reserve(count);
  index_.reserve(count);
}

bool StoreDictionary::Remove(std::string_view key) {
  const auto found = index_.find(key);
  if (found == index_.end()) return false;
  const size_t i = found->second;
  index_.erase(found);
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(i));
  for (size_t j = i; j < entries_.size(); ++j) {
    if (const auto* text = dynamic_cast<const StoreString*>(entries_[j].first.get())) {
      index_[text->Utf8()] = j;
    }
  }
  return true;
}

namespace {

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    char c = text[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != prefix[i]) return false;
  }
  return true;
}

}  // namespace

FolderItemRef StoreURL::File() const {
  std::string_view rest = text_;
  if (!StartsWithIgnoringCase(rest, "file:")) return nullptr;
  rest.remove_prefix(5);
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    const size_t slash = rest.find('/');
    if (slash == std::string_view::npos) return nullptr;
    const std::string_view host = rest.substr(0, slash);
    if (!host.empty() && !(host.size() == 9 && StartsWithIgnoringCase(host, "localhost"))) {
      return nullptr;
    }
    rest.remove_prefix(slash);
  }
  if (!rest.starts_with('/')) return nullptr;
  rest = rest.substr(0, rest.find_first_of("?#"));
  return PathToFolderItem(DecodingFromURL(String(std::string(rest), nullptr)));
}

String StoreUUID::StringValue() const {
  char text[37];
  std::snprintf(
      text, sizeof text, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X",
      bytes_[0], bytes_[1], bytes_[2], bytes_[3], bytes_[4], bytes_[5], bytes_[6], bytes_[7],
      bytes_[8], bytes_[9], bytes_[10], bytes_[11], bytes_[12], bytes_[13], bytes_[14], bytes_[15]);
  return String(text);
}

}  // namespace grantwright
