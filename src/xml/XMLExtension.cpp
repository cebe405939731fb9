#include "xml/XMLExtension.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "convert/UniversalExtension.h"
#include "dates/ExtensionDate.h"
#include "global/GlobalMethods.h"
#include "platform/Exceptions.h"
#include "platform/Log.h"
#include "platform/Picture.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"
#include "platform/Utf8.h"
#include "xml/ArrayIndexDigits.h"
#include "xml/FileValues.h"
#include "xml/XMLData.h"

namespace grantwright::XMLExtension {

namespace {

enum class Row {
  kBoolean, kColor, kTimeStamp, kDouble, kInteger, kDictionary, kPicture, kSingle, kString,
  kArray, kSmartFile, kUntyped, kUnknown,
};

// Whether `text` is `lower` (a keyword of lower-case ASCII letters) in any case.
bool IsKeyword(std::string_view text, std::string_view lower) {
  if (text.size() != lower.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    // Setting bit 5 lowers an upper-case letter and changes no byte into another letter.
    if ((text[i] | 0x20) != lower[i]) return false;
  }
  return true;
}

// The datatypes the format knows, in lower case.
struct Keyword {
  const char* text;
  Row row;
};
constexpr Keyword kKeywords[] = {
    {"boolean", Row::kBoolean}, {"color", Row::kColor},     {"gmttimestampzrn", Row::kTimeStamp},
    {"double", Row::kDouble},   {"integer", Row::kInteger}, {"dictionary", Row::kDictionary},
    {"picture", Row::kPicture}, {"single", Row::kSingle},   {"string", Row::kString},
    {"array", Row::kArray},     {"smartfolderitemzrn", Row::kSmartFile},
};

// The row a datatype picks. Datatypes are ASCII nearly always; other text goes through the
// String comparison, under which a few non-ASCII letters equal ASCII ones ("ſtring" is
// "String").
Row RowOf(std::string_view datatype) {
  if (datatype.empty()) return Row::kUntyped;
  const bool ascii = utf8::IsAscii(datatype);
  for (const Keyword& k : kKeywords) {
    if (ascii ? IsKeyword(datatype, k.text) : String(datatype) == k.text) return k.row;
  }
  return Row::kUnknown;
}

// UniversalExtension::DecodingFromURLZRN of the text, without the copies that going
// through Strings makes: decoded bytes that are valid UTF-8, the first encoding it tries,
// are tagged so here, and only other bytes take the whole road.
String UrlDecodedText(std::string_view text) {
  std::string bytes = DecodedURLBytes(text);
  if (!Encodings::UTF8()->IsValidData(bytes)) {
    return UniversalExtension::EnsureUTF8EncodingZRN(String(std::move(bytes), nullptr));
  }
  if (bytes.find('\0') != std::string::npos) std::erase(bytes, '\0');
  return String(std::move(bytes), Encodings::UTF8());
}

// The decoded bytes as they are, tagged UTF-8 only when they are UTF-8.
String ExactText(std::string_view text) {
  std::string bytes = DecodedURLBytes(text);
  const bool utf8 = Encodings::UTF8()->IsValidData(bytes);
  return String(std::move(bytes), utf8 ? Encodings::UTF8() : nullptr);
}

void LogTooDeep() {
  System::DebugLog(String("The XML could not be decoded: it nests containers more than ") +
                   Str(static_cast<int64_t>(kMaxContainerDepth)) + " deep.");
}

// One walk over a document. Containers recurse, one level per nesting; past the limit the
// walk stops and every level gives nil up to the top, which reports it.
class Decoder {
 public:
  explicit Decoder(StringValues strings = StringValues::kUtf8Text) : strings_(strings) {}
  Variant Value(const XmlNode& node) { return Value(node, node.AttributeView("datatype")); }
  bool TooDeep() const { return tooDeep_; }

 private:
  Variant Value(const XmlNode& node, std::string_view datatype);
  Variant Container(const XmlNode& node, bool isArray);
  Variant DictionaryOf(const XmlNode& node);
  Variant ArrayOf(const XmlNode& node);

  StringValues strings_;
  int depth_ = 0;
  bool tooDeep_ = false;
};

Variant Decoder::Value(const XmlNode& node, std::string_view datatype) {
  const XmlNode first = node.FirstChild();
  if (!first) return String(node.ValueView());
  const Row row = RowOf(datatype);
  switch (row) {
    case Row::kDictionary:
    case Row::kArray: return Container(node, row == Row::kArray);
    case Row::kUnknown: return Variant();
    case Row::kString:
      return strings_ == StringValues::kExactBytes ? ExactText(first.ValueView())
                                                   : UrlDecodedText(first.ValueView());
    case Row::kUntyped: return String(first.ValueView());
    case Row::kTimeStamp: return ExtensionDate::GMTTimeStampToLocalDateZRN(String(first.ValueView()));
    default: break;
  }
  const String text(first.ValueView());
  switch (row) {
    case Row::kBoolean: return GlobalMethods::CBool(Variant(text));
    case Row::kColor: return ColorOf(text);
    case Row::kDouble: return Val(text);
    case Row::kInteger: return TruncateToInt64(Val(text));
    case Row::kPicture: return BinaryStringtoPicture(DecodingFromURL(text));
    case Row::kSmartFile: return Variant(FileValues::ReferenceFromText(text));
    default: return static_cast<float>(Val(text));  // Single
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
  dict->Reserve(node.ChildCount());
  for (XmlNode child = node.FirstChild(); child; child = child.NextSibling()) {
    const std::string_view datatype = child.AttributeView("datatype");
    if (datatype.empty()) continue;
    Variant value = Value(child, datatype);
    if (tooDeep_) return Variant();
    dict->SetValue(String(child.NameView()), std::move(value));
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
    items.emplace_back(ArrayIndexOfName(child.NameView()), std::move(value));
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

DictionaryRef AsDictionaryFromXMLStringZRN(const String& text, StringValues strings) {
  if (text.IsEmpty()) return nullptr;
  const XmlNode root = XMLData::CreateFromString(text, /*showDialog=*/false)->GetNode("");
  if (!root) return nullptr;
  auto dict = std::make_shared<Dictionary>();
  dict->Reserve(root.ChildCount());
  Decoder decoder(strings);
  for (XmlNode child = root.FirstChild(); child; child = child.NextSibling()) {
    Variant value = decoder.Value(child);
    if (decoder.TooDeep()) {
      LogTooDeep();
      return nullptr;
    }
    if (!value.IsNil()) dict->SetValue(String(child.NameView()), std::move(value));
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

namespace {

void AppendTyped(XmlNode& parent, const String& name, const char* datatype, const String& text) {
  XmlDocument document = parent.OwnerDocument();
  XmlNode element = document.CreateElement(name);
  element.SetAttribute("datatype", datatype);
  if (!text.IsEmpty()) element.AppendChild(document.CreateTextNode(text));
  parent.AppendChild(element);
}

// A container element; an empty one holds a comment, which readers skip, so that it is
// not read as an element without content.
XmlNode AppendContainer(XmlNode& parent, const String& name, const char* datatype, bool empty) {
  XmlDocument document = parent.OwnerDocument();
  XmlNode element = document.CreateElement(name);
  element.SetAttribute("datatype", datatype);
  if (empty) element.AppendChild(document.CreateComment(" empty "));
  return parent.AppendChild(element);
}

}  // namespace

void ToXMLFromDictionaryZRN_AppendValue(XmlNode parent, const String& name, const Variant& value) {
  if (parent.IsNil()) throw NilObjectException();
  if (value.IsNil()) return;
  if (value.IsArray()) {
    std::vector<Variant> elements = UniversalExtension::ArrayValueZRN(value);
    std::erase_if(elements, [](const Variant& v) { return v.IsNil(); });
    XmlNode array = AppendContainer(parent, name, "Array", elements.empty());
    for (size_t i = 0; i < elements.size(); ++i) {
      ToXMLFromDictionaryZRN_AppendValue(array, String("array_") + Str(static_cast<int64_t>(i)), elements[i]);
    }
    return;
  }
  switch (value.Type()) {
    case Variant::kString:
      AppendTyped(parent, name, "String", EncodingToURL(String(value.Get<String>()->Utf8())));
      return;
    case Variant::kBoolean:
      AppendTyped(parent, name, "Boolean", value.BooleanValue() ? "True" : "False");
      return;
    case Variant::kInt32:
    case Variant::kInt64:
      AppendTyped(parent, name, "Integer", Str(value.Int64Value()));
      return;
    case Variant::kDouble:
      AppendTyped(parent, name, "Double", Str(value.DoubleValue()));
      return;
    case Variant::kSingle:
      AppendTyped(parent, name, "Single", Str(value.DoubleValue()));
      return;
    case Variant::kColor:
      AppendTyped(parent, name, "Color", Str(static_cast<int64_t>(value.ColorValue().value)));
      return;
    case Variant::kDate:
      AppendTyped(parent, name, "GMTTimeStampZRN",
                  ExtensionDate::LocalDateToGMTTimeStampZRN(value.ObjectAs<Date>()));
      return;
    default:
      break;
  }
  if (const DictionaryRef dict = value.ObjectAs<Dictionary>()) {
    XmlNode element = AppendContainer(parent, name, "Dictionary", dict->Count() == 0);
    for (const auto& [key, entry] : dict->Entries()) {
      ToXMLFromDictionaryZRN_AppendValue(element, key.StringValue(), entry);
    }
    return;
  }
  if (const std::optional<String> stored = FileValues::StoredFormOf(value.ObjectValue())) {
    AppendTyped(parent, name, FileValues::kReferenceDatatype, EncodingToURL(*stored));
    return;
  }
  throw TypeMismatchException("A value of this type has no typed XML form");
}

String AsXMLStringFromDictionaryZRN(const DictionaryRef& dict, const String& rootName) {
  NonNil(dict);
  XmlDocument document;
  XmlNode root = document.AppendChild(document.CreateElement(rootName));
  for (const auto& [key, value] : dict->Entries()) {
    ToXMLFromDictionaryZRN_AppendValue(root, key.StringValue(), value);
  }
  return String("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") + root.ToString(/*indented=*/true);
}

}  // namespace grantwright::XMLExtension
