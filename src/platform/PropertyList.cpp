#include "platform/PropertyList.h"

#include <bit>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <pugixml.hpp>

#include "platform/Base64.h"
#include "platform/Date.h"
#include "platform/XmlLoadPolicy.h"

namespace grantwright::PropertyList {

namespace {

// Deep enough for any real settings, shallow enough that recursion cannot exhaust the stack.
constexpr int kMaxDepth = 512;

template <class T>
const T* As(const StoreObject& object) {
  return dynamic_cast<const T*>(&object);
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool IsBlankText(std::string_view text) { return Trimmed(text).empty(); }

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char c = a[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != b[i]) return false;
  }
  return true;
}

// ---- reading ----

// The text of an element: its character data and CDATA sections joined. False when it
// has element children.
bool TextOf(pugi::xml_node node, std::string& out) {
  for (pugi::xml_node child : node.children()) {
    const pugi::xml_node_type type = child.type();
    if (type == pugi::node_pcdata || type == pugi::node_cdata) {
      out += child.value();
    } else if (type == pugi::node_element) {
      return false;
    }
  }
  return true;
}

bool ParseInteger(std::string_view text, StoreObjectRef& out) {
  text = Trimmed(text);
  std::string_view digits = text;
  if (digits.starts_with('+')) digits.remove_prefix(1);
  if (digits.empty()) return false;
  int64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (end != digits.data() + digits.size()) return false;
  if (error == std::errc::result_out_of_range) {
    double wide = 0;
    const auto [wideEnd, wideError] =
        std::from_chars(digits.data(), digits.data() + digits.size(), wide);
    if (wideError != std::errc() || wideEnd != digits.data() + digits.size()) return false;
    out = StoreNumber::Double(wide);
    return true;
  }
  if (error != std::errc()) return false;
  out = StoreNumber::Integer(value);
  return true;
}

bool ParseReal(std::string_view text, StoreObjectRef& out) {
  text = Trimmed(text);
  double sign = 1.0;
  std::string_view body = text;
  if (body.starts_with('+') || body.starts_with('-')) {
    sign = body.front() == '-' ? -1.0 : 1.0;
    body.remove_prefix(1);
  }
  if (EqualsIgnoringCase(body, "nan")) {
    out = StoreNumber::Double(std::nan(""));
    return true;
  }
  if (EqualsIgnoringCase(body, "inf") || EqualsIgnoringCase(body, "infinity")) {
    out = StoreNumber::Double(sign * HUGE_VAL);
    return true;
  }
  if (body.empty() || body.front() == '+' || body.front() == '-') return false;
  double value = 0;
  const auto [end, error] = std::from_chars(body.data(), body.data() + body.size(), value);
  if (error != std::errc() || end != body.data() + body.size()) return false;
  out = StoreNumber::Double(sign * value);
  return true;
}

// Reads an unsigned decimal field of at least `minWidth` and at most 12 digits at `pos`.
bool ReadDigits(std::string_view text, size_t& pos, size_t minWidth, int64_t& value) {
  const size_t start = pos;
  value = 0;
  while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
    if (pos - start >= 12) return false;
    value = value * 10 + (text[pos] - '0');
    ++pos;
  }
  return pos - start >= minWidth;
}

bool Expect(std::string_view text, size_t& pos, char c) {
  if (pos >= text.size() || text[pos] != c) return false;
  ++pos;
  return true;
}

// "[-]YYYY-MM-DDTHH:MM:SS[.fraction][Z]", read as UTC.
bool ParseDate(std::string_view text, StoreObjectRef& out) {
  text = Trimmed(text);
  size_t pos = 0;
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) ++pos;
  int64_t year, month, day, hour, minute, second;
  if (!ReadDigits(text, pos, 1, year) || !Expect(text, pos, '-') ||
      !ReadDigits(text, pos, 1, month) || !Expect(text, pos, '-') ||
      !ReadDigits(text, pos, 1, day) || !Expect(text, pos, 'T') ||
      !ReadDigits(text, pos, 1, hour) || !Expect(text, pos, ':') ||
      !ReadDigits(text, pos, 1, minute) || !Expect(text, pos, ':') ||
      !ReadDigits(text, pos, 1, second)) {
    return false;
  }
  double fraction = 0;
  if (pos < text.size() && text[pos] == '.') {
    const size_t start = pos;
    ++pos;
    while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') ++pos;
    const std::string decimal = "0" + std::string(text.substr(start, pos - start));
    std::from_chars(decimal.data(), decimal.data() + decimal.size(), fraction);
  }
  if (pos < text.size() && text[pos] == 'Z') ++pos;
  if (pos != text.size()) return false;
  const Date fields(negative ? -year : year, month, day, hour, minute, second, 0.0);
  const auto date =
      std::make_shared<StoreDate>(fields.TotalSeconds() - StoreDate::kEpochIn1904 + fraction);
  if (!date->HasGregorianForm()) return false;
  out = date;
  return true;
}

StoreObjectRef ReadValue(pugi::xml_node node, int depth);

// Skips character data between elements that is only indentation; false for anything
// else that is no element.
bool IsIgnorable(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata ? IsBlankText(node.value())
                                          : node.type() != pugi::node_cdata;
}

StoreObjectRef ReadDictionary(pugi::xml_node node, int depth) {
  auto dict = std::make_shared<StoreDictionary>();
  // Room for every entry at once: growing a large dictionary step by step moves all its
  // entries again at each step.
  size_t elements = 0;
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
    elements += child.type() == pugi::node_element;
  }
  dict->Reserve(elements / 2);
  pugi::xml_node pendingKey;
  for (pugi::xml_node child : node.children()) {
    if (child.type() != pugi::node_element) {
      if (!IsIgnorable(child)) return nullptr;
      continue;
    }
    if (!pendingKey) {
      if (std::strcmp(child.name(), "key") != 0) return nullptr;
      pendingKey = child;
      continue;
    }
    std::string key;
    if (!TextOf(pendingKey, key)) return nullptr;
    StoreObjectRef value = ReadValue(child, depth + 1);
    if (!value) return nullptr;
    dict->Set(key, std::move(value));
    pendingKey = pugi::xml_node();
  }
  if (pendingKey) return nullptr;
  return dict;
}

StoreObjectRef ReadArray(pugi::xml_node node, int depth) {
  auto array = std::make_shared<StoreArray>();
  for (pugi::xml_node child : node.children()) {
    if (child.type() != pugi::node_element) {
      if (!IsIgnorable(child)) return nullptr;
      continue;
    }
    StoreObjectRef value = ReadValue(child, depth + 1);
    if (!value) return nullptr;
    array->Append(std::move(value));
  }
  return array;
}

StoreObjectRef ReadValue(pugi::xml_node node, int depth) {
  if (depth > kMaxDepth) return nullptr;
  const std::string_view name = node.name();
  if (name == "dict") return ReadDictionary(node, depth);
  if (name == "array") return ReadArray(node, depth);
  if (name == "true") return std::make_shared<StoreBoolean>(true);
  if (name == "false") return std::make_shared<StoreBoolean>(false);

  std::string text;
  if (!TextOf(node, text)) return nullptr;
  StoreObjectRef value;
  if (name == "string") return std::make_shared<StoreString>(std::move(text));
  if (name == "integer") return ParseInteger(text, value) ? value : nullptr;
  if (name == "real") return ParseReal(text, value) ? value : nullptr;
  if (name == "date") return ParseDate(text, value) ? value : nullptr;
  if (name == "data") {
    std::string bytes;
    if (!DecodeBase64(text, bytes)) return nullptr;
    return std::make_shared<StoreData>(std::move(bytes));
  }
  return nullptr;
}

// ---- writing ----

// False for text holding a NUL, which XML cannot carry in any form.
bool AppendEscaped(std::string_view text, std::string& out) {
  if (text.find('\0') != std::string_view::npos) return false;
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      default:
        // A carriage return would become a line feed on reading, and other control
        // characters are not allowed as they are: both go as character references.
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') {
          char reference[8];
          std::snprintf(reference, sizeof reference, "&#%d;", c);
          out += reference;
        } else {
          out += c;
        }
    }
  }
  return true;
}

void AppendReal(double value, std::string& out) {
  if (std::isnan(value)) {
    out += "nan";
  } else if (std::isinf(value)) {
    out += value > 0 ? "+infinity" : "-infinity";
  } else {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
  }
}

void AppendDate(const StoreDate& date, std::string& out) {
  Date fields(2001, 1, 1, 0, 0, 0, 0.0);
  fields.SetTotalSeconds(StoreDate::kEpochIn1904 + std::floor(date.AbsoluteTime()));
  char buffer[64];
  std::snprintf(
      buffer, sizeof buffer,
      "%04" PRId64 "-%02" PRId64 "-%02" PRId64 "T%02" PRId64 ":%02" PRId64 ":%02" PRId64 "Z",
      fields.Year(), fields.Month(), fields.Day(), fields.Hour(), fields.Minute(), fields.Second());
  out += buffer;
}

void Indent(int depth, std::string& out) { out.append(static_cast<size_t>(depth), '\t'); }

bool WriteValue(const StoreObject& object, int depth, std::string& out);

bool WriteDictionary(const StoreDictionary& dict, int depth, std::string& out) {
  if (dict.Count() == 0) {
    out += "<dict/>\n";
    return true;
  }
  out += "<dict>\n";
  for (const auto& [key, value] : dict.Entries()) {
    const auto* text = dynamic_cast<const StoreString*>(key.get());
    if (text == nullptr) return false;
    Indent(depth + 1, out);
    out += "<key>";
    if (!AppendEscaped(text->Utf8(), out)) return false;
    out += "</key>\n";
    Indent(depth + 1, out);
    if (!WriteValue(*value, depth + 1, out)) return false;
  }
  Indent(depth, out);
  out += "</dict>\n";
  return true;
}

bool WriteArray(const StoreArray& array, int depth, std::string& out) {
  if (array.Count() == 0) {
    out += "<array/>\n";
    return true;
  }
  out += "<array>\n";
  for (const StoreObjectRef& item : array.Items()) {
    Indent(depth + 1, out);
    if (!WriteValue(*item, depth + 1, out)) return false;
  }
  Indent(depth, out);
  out += "</array>\n";
  return true;
}

bool WriteValue(const StoreObject& object, int depth, std::string& out) {
  if (depth > kMaxDepth) return false;
  if (const auto* dict = As<StoreDictionary>(object)) return WriteDictionary(*dict, depth, out);
  if (const auto* array = As<StoreArray>(object)) return WriteArray(*array, depth, out);
  if (const auto* text = As<StoreString>(object)) {
    out += "<string>";
    if (!AppendEscaped(text->Utf8(), out)) return false;
    out += "</string>\n";
  } else if (const auto* number = As<StoreNumber>(object)) {
    if (number->IsFloat()) {
      out += "<real>";
      AppendReal(number->DoubleValue(), out);
      out += "</real>\n";
    } else {
      char buffer[24];
      const auto result = std::to_chars(buffer, buffer + sizeof buffer, number->IntegerValue());
      out += "<integer>";
      out.append(buffer, result.ptr);
      out += "</integer>\n";
    }
  } else if (const auto* boolean = As<StoreBoolean>(object)) {
    out += boolean->Value() ? "<true/>\n" : "<false/>\n";
  } else if (const auto* date = As<StoreDate>(object)) {
    if (!date->HasGregorianForm()) return false;
    out += "<date>";
    AppendDate(*date, out);
    out += "</date>\n";
  } else if (const auto* data = As<StoreData>(object)) {
    out += "<data>";
    AppendBase64(data->Bytes(), out);
    out += "</data>\n";
  } else {
    return false;
  }
  return true;
}

bool SameContentAt(const StoreObject& a, const StoreObject& b, int depth) {
  if (depth > kMaxDepth) return false;
  if (const auto* x = As<StoreString>(a)) {
    const auto* y = As<StoreString>(b);
    return y != nullptr && x->Utf8() == y->Utf8();
  }
  if (const auto* x = As<StoreNumber>(a)) {
    const auto* y = As<StoreNumber>(b);
    if (y == nullptr || x->IsFloat() != y->IsFloat()) return false;
    if (!x->IsFloat()) return x->IntegerValue() == y->IntegerValue();
    const double dx = x->DoubleValue();
    const double dy = y->DoubleValue();
    return (std::isnan(dx) && std::isnan(dy)) ||
           std::bit_cast<uint64_t>(dx) == std::bit_cast<uint64_t>(dy);
  }
  if (const auto* x = As<StoreBoolean>(a)) {
    const auto* y = As<StoreBoolean>(b);
    return y != nullptr && x->Value() == y->Value();
  }
  if (const auto* x = As<StoreDate>(a)) {
    const auto* y = As<StoreDate>(b);
    return y != nullptr && x->HasGregorianForm() && y->HasGregorianForm() &&
           std::floor(x->AbsoluteTime()) == std::floor(y->AbsoluteTime());
  }
  if (const auto* x = As<StoreData>(a)) {
    const auto* y = As<StoreData>(b);
    return y != nullptr && x->Bytes() == y->Bytes();
  }
  if (const auto* x = As<StoreArray>(a)) {
    const auto* y = As<StoreArray>(b);
    if (y == nullptr || x->Count() != y->Count()) return false;
    for (size_t i = 0; i < x->Count(); ++i) {
      if (!SameContentAt(*x->Item(i), *y->Item(i), depth + 1)) return false;
    }
    return true;
  }
  if (const auto* x = As<StoreDictionary>(a)) {
    const auto* y = As<StoreDictionary>(b);
    if (y == nullptr || x->Count() != y->Count()) return false;
    for (const auto& [key, value] : x->Entries()) {
      const auto* text = dynamic_cast<const StoreString*>(key.get());
      if (text == nullptr) return false;
      const StoreObjectRef other = y->Lookup(text->Utf8());
      if (!other || !SameContentAt(*value, *other, depth + 1)) return false;
    }
    return true;
  }
  return false;
}

}  // namespace

StoreObjectRef Parse(std::string_view bytes) {
  pugi::xml_document document;
  // Line ends are kept as they are: other writers put a carriage return into text raw, and
  // ours goes as a character reference, so either way it must come back.
  constexpr unsigned kOptions =
      (pugi::parse_default & ~pugi::parse_eol) | pugi::parse_ws_pcdata_single;
  if (XmlLoadPolicy::Load(document, bytes, kOptions, pugi::encoding_auto).errorNumber != 0) return nullptr;
  pugi::xml_node root;
  for (pugi::xml_node child : document.children()) {
    if (child.type() != pugi::node_element) continue;
    if (root) return nullptr;
    root = child;
  }
  if (!root || std::strcmp(root.name(), "plist") != 0) return nullptr;
  pugi::xml_node value;
  for (pugi::xml_node child : root.children()) {
    if (child.type() != pugi::node_element) {
      if (!IsIgnorable(child)) return nullptr;
      continue;
    }
    if (value) return nullptr;
    value = child;
  }
  return value ? ReadValue(value, 0) : nullptr;
}

bool Serialize(const StoreObject& root, std::string& out) {
  out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
  if (!WriteValue(root, 0, out)) return false;
  out += "</plist>\n";
  return true;
}

bool SameContent(const StoreObject& a, const StoreObject& b) { return SameContentAt(a, b, 0); }

}  // namespace grantwright::PropertyList
