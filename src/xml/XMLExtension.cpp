#include "xml/XMLExtension.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "convert/UniversalExtension.h"
#include "dates/ExtensionDate.h"
#include "platform/Exceptions.h"
#include "platform/Log.h"
#include "platform/Picture.h"
#include "platform/UrlCoding.h"
#include "platform/Utf8.h"
#include "tool/GlobalMethods.h"
#include "xml/XMLData.h"

namespace grantwright::XMLExtension {

namespace {

enum class Row {
  kBoolean, kColor, kTimeStamp, kDouble, kInteger, kDictionary, kPicture, kSingle, kString,
  kArray, kUntyped, kUnknown,
};

struct Keyword {
  std::string_view text;
  Row row;
};

constexpr Keyword kKeywords[] = {
    {"Boolean", Row::kBoolean}, {"Color", Row::kColor},   {"GMTTimeStampZRN", Row::kTimeStamp},
    {"Double", Row::kDouble},   {"Integer", Row::kInteger}, {"Dictionary", Row::kDictionary},
    {"Picture", Row::kPicture}, {"Single", Row::kSingle}, {"String", Row::kString},
    {"Array", Row::kArray},
};

char AsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool AsciiEqualIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  }
  return true;
}

// The row a datatype picks. ASCII text, nearly all there is, is compared byte by byte;
// other text goes through the String comparison, under which a few non-ASCII letters
// equal ASCII ones ("ſtring" is "String").
Row RowOf(std::string_view datatype) {
  if (datatype.empty()) return Row::kUntyped;
  if (utf8::IsAscii(datatype)) {
    for (const Keyword& k : kKeywords) {
      if (AsciiEqualIgnoringCase(datatype, k.text)) return k.row;
    }
    return Row::kUnknown;
  }
  const String text(datatype);
  for (const Keyword& k : kKeywords) {
    if (text == String(k.text)) return k.row;
  }
  return Row::kUnknown;
}

// Position of "array_" (ASCII letters in any case) in `name` at or after `from`; npos when
// there is none.
size_t FindArrayMark(std::string_view name, size_t from) {
  constexpr std::string_view kMark = "array_";
  for (size_t i = from; i + kMark.size() <= name.size(); ++i) {
    if (AsciiEqualIgnoringCase(name.substr(i, kMark.size()), kMark)) return i;
  }
  return std::string_view::npos;
}

// The place of an array element: Val of the second field of its name split on "array_".
int64_t ArrayIndex(const XmlNode& child) {
  const std::string_view name = child.NameView();
  if (!utf8::IsAscii(name)) return TruncateToInt64(Val(NthField(child.Name(), "array_", 2)));
  const size_t mark = FindArrayMark(name, 0);
  if (mark == std::string_view::npos) return 0;
  const size_t start = mark + 6;
  const size_t end = std::min(FindArrayMark(name, start), name.size());
  return TruncateToInt64(Val(String(name.substr(start, end - start))));
}

Color ColorOf(const String& text) {
  return Integer2Color(static_cast<uint32_t>(static_cast<uint64_t>(TruncateToInt64(Val(text)))));
}

void LogTooDeep() {
  System::DebugLog(String("The XML could not be decoded: it nests containers more than ") +
                   Str(static_cast<int64_t>(kMaxContainerDepth)) + " deep.");
}

// One walk over a document. Containers recurse, one level per nesting; past the limit the
// walk stops and every level gives nil up to the top, which reports it.
class Decoder {
 public:
  Variant Value(const XmlNode& node) { return Value(node, node.AttributeView("datatype")); }
  bool TooDeep() const { return tooDeep_; }

 private:
  Variant Value(const XmlNode& node, std::string_view datatype);
  Variant Container(const XmlNode& node, bool isArray);
  Variant DictionaryOf(const XmlNode& node);
  Variant ArrayOf(const XmlNode& node);

  int depth_ = 0;
  bool tooDeep_ = false;
};

Variant Decoder::Value(const XmlNode& node, std::string_view datatype) {
  const XmlNode first = node.FirstChild();
  if (!first) return String(node.ValueView());
  const Row row = RowOf(datatype);
  if (row == Row::kDictionary || row == Row::kArray) return Container(node, row == Row::kArray);
  if (row == Row::kUnknown) return Variant();
  const String text(first.ValueView());
  switch (row) {
    case Row::kBoolean: return GlobalMethods::CBool(Variant(text));
    case Row::kColor: return ColorOf(text);
    case Row::kTimeStamp: return ExtensionDate::GMTTimeStampToLocalDateZRN(text);
    case Row::kDouble: return Val(text);
    case Row::kInteger: return TruncateToInt64(Val(text));
    case Row::kPicture: return BinaryStringtoPicture(DecodingFromURL(text));
    case Row::kSingle: return static_cast<float>(Val(text));
    case Row::kString: return UniversalExtension::DecodingFromURLZRN(text);
    default: return text;  // untyped: the text as it stands
  }
}

Variant Decoder::Container(const XmlNode& node, bool isArray) {
  if (depth_ >= kMaxContainerDepth) {
    tooDeep_ = true;
    return Variant();
  }
  ++depth_;
  Variant value = isArray ? ArrayOf(node) : DictionaryOf(node);
  --depth_;
  return value;
}

Variant Decoder::DictionaryOf(const XmlNode& node) {
  auto dict = std::make_shared<Dictionary>();
  for (XmlNode child = node.FirstChild(); child; child = child.NextSibling()) {
    const std::string_view datatype = child.AttributeView("datatype");
    if (datatype.empty()) continue;
    Variant value = Value(child, datatype);
    if (tooDeep_) return Variant();
    dict->SetValue(child.Name(), std::move(value));
  }
  return dict;
}

Variant Decoder::ArrayOf(const XmlNode& node) {
  std::vector<std::pair<int64_t, Variant>> items;
  for (XmlNode child = node.FirstChild(); child; child = child.NextSibling()) {
    const std::string_view datatype = child.AttributeView("datatype");
    if (datatype.empty()) continue;
    Variant value = Value(child, datatype);
    if (tooDeep_) return Variant();
    items.emplace_back(ArrayIndex(child), std::move(value));
  }
  // Stable: elements with the same number keep their document order.
  std::stable_sort(items.begin(), items.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  auto values = NewArray<Variant>();
  values->reserve(items.size());
  for (auto& item : items) values->push_back(std::move(item.second));
  return values;
}

}  // namespace

DictionaryRef AsDictionaryFromXMLStringZRN(const String& text) {
  if (text.IsEmpty()) return nullptr;
  const XmlNode root = XMLData::CreateFromString(text, false)->GetNode("");
  if (!root) return nullptr;
  auto dict = std::make_shared<Dictionary>();
  Decoder decoder;
  for (XmlNode child = root.FirstChild(); child; child = child.NextSibling()) {
    Variant value = decoder.Value(child);
    if (decoder.TooDeep()) {
      LogTooDeep();
      return nullptr;
    }
    if (!value.IsNil()) dict->SetValue(child.Name(), std::move(value));
  }
  return dict;
}

Variant ToDictionaryFromXMLZRN_ParseNode(const XmlNode& node) {
  if (!node) throw NilObjectException();
  Decoder decoder;
  Variant value = decoder.Value(node);
  if (decoder.TooDeep()) {
    LogTooDeep();
    return Variant();
  }
  return value;
}

void SetString(XmlNode node, const String& name, const String& value, bool urlEncode) {
  if (!node) throw NilObjectException();
  XmlDocument doc = node.OwnerDocument();
  XmlNode element = doc.CreateElement(name);
  XmlNode text = doc.CreateTextNode(String());
  text.SetValue(urlEncode ? EncodingToURL(value) : value);
  element.AppendChild(text);
  node.AppendChild(element);
}

}  // namespace grantwright::XMLExtension
