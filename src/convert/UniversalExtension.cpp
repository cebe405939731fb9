#include "convert/UniversalExtension.h"

#include "platform/Log.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"

namespace grantwright::UniversalExtension {

String EnsureUTF8EncodingZRN(const String& s) {
  const TextEncoding* utf8 = Encodings::UTF8();
  if (s.Encoding() == utf8) return s;

  String working = s;
  if (working.Encoding() == nullptr) {
    for (const TextEncoding* candidate :
         {utf8, Encodings::UTF16LE(), Encodings::UTF16BE(), Encodings::UTF16(),
          Encodings::SystemDefault()}) {
      if (candidate->IsValidData(working.Bytes())) {
        working = DefineEncoding(working, candidate);
        break;
      }
    }
  }
  if (working.Encoding() != utf8) working = ConvertEncoding(working, utf8);
  if (working.Encoding() == nullptr) {
    working = ConvertEncoding(DefineEncoding(working, Encodings::SystemDefault()), utf8);
    if (working.Encoding() == nullptr) {
      System::DebugLog(String("Failed to convert Text Encoding from Nil: ") + s);
    }
  }
  if (working.Bytes().find('\0') != std::string::npos) {
    std::string bytes = working.Bytes();
    std::erase(bytes, '\0');
    working = String(std::move(bytes), working.Encoding());
  }
  return working;
}

String DecodingFromURLZRN(const String& s) { return EnsureUTF8EncodingZRN(DecodingFromURL(s)); }

namespace {

template <class T>
void AppendAll(const Variant& value, std::vector<Variant>& out) {
  for (const auto& element : *value.ArrayAs<T>()) out.emplace_back(static_cast<T>(element));
}

}  // namespace

std::vector<Variant> ArrayValueZRN(const Variant& value) {
  std::vector<Variant> result;
  if (value.IsNil() || !value.IsArray() || value.ArraySize() == 0) return result;
  switch (value.ArrayElementType()) {
    case Variant::kBoolean:
      AppendAll<bool>(value, result);
      return result;
    case Variant::kColor:
      AppendAll<Color>(value, result);
      return result;
    case Variant::kDate:
      for (const ObjectRef& date : *value.ObjectArrayOf("Date")) result.emplace_back(date);
      return result;
    case Variant::kDouble:
      AppendAll<double>(value, result);
      return result;
    case Variant::kInt32:
      for (int32_t v : *value.ArrayAs<int32_t>()) result.emplace_back(static_cast<int64_t>(v));
      return result;
    case Variant::kInt64:
      AppendAll<int64_t>(value, result);
      return result;
    case Variant::kSingle:
      AppendAll<float>(value, result);
      return result;
    case Variant::kString:
      AppendAll<String>(value, result);
      return result;
    case Variant::kObject:
      break;
    default:
      return result;
  }

  // Objects: an array of Dictionary, else an array of objects or Variants, which may nest.
  try {
    for (const ObjectRef& dict : *value.ObjectArrayOf("Dictionary")) result.emplace_back(dict);
    return result;
  } catch (const TypeMismatchException&) {
  }
  try {
    for (const Variant& element : value.ObjectElements()) {
      result.push_back(element.IsArray() ? Variant(NewArray(ArrayValueZRN(element))) : element);
    }
    return result;
  } catch (const TypeMismatchException&) {
    result.clear();
  }
  System::DebugLog("Failed to convert variant to correct type.");
  return value.ArrayElement(0).ObjectElements();
}

std::vector<String> StringArrayValueZRN(const DictionaryRef& dict, const String& key) {
  std::vector<String> result;
  if (!dict || !dict->HasKey(key)) return result;
  const Variant value = dict->Value(key);
  if (!value.IsArray()) return result;
  for (const Variant& element : value.ObjectElements()) {
    if (element.IsNil() || element.Type() == Variant::kObject || element.IsArray()) {
      continue;
    }
    result.push_back(element.StringValue());
  }
  return result;
}

}  // namespace grantwright::UniversalExtension
