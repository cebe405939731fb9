// The typed decoder and the getters: any bytes as a configuration's text.
//
// Properties: nothing crashes, leaks or runs away; a decoded value of the "String" row is
// valid UTF-8 without NUL; the getters answer whatever the document holds.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/Dictionary.h"
#include "platform/Log.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"
#include "xml/XMLData.h"
#include "xml/XMLExtension.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

// Walks the whole value: its containers nest no deeper than the decoder allows.
void Walk(const grantwright::Variant& value, int depth) {
  using namespace grantwright;
  Check(depth <= XMLExtension::kMaxContainerDepth + 1);
  if (value.IsArray()) {
    for (const Variant& element : value.ObjectElements()) Walk(element, depth + 1);
  } else if (const auto dict = value.ObjectAs<Dictionary>()) {
    for (const auto& [key, element] : dict->Entries()) Walk(element, depth + 1);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace grantwright;
  static const bool quiet = (SetLogSink([](std::string_view) {}), true);
  (void)quiet;
  const String text(std::string(reinterpret_cast<const char*>(data), size), Encodings::UTF8());

  if (const DictionaryRef dict = XMLExtension::AsDictionaryFromXMLStringZRN(text)) Walk(dict, 0);

  // The "String" row on the same bytes as element text.
  const String wrapped = String("<r><s datatype=\"String\">") + text + "</s></r>";
  if (const DictionaryRef dict = XMLExtension::AsDictionaryFromXMLStringZRN(wrapped)) {
    const Variant value = dict->Lookup(String("s"), Variant());
    if (const String* s = value.Get<String>(); s != nullptr && dict->Count() == 1) {
      Check(s->Encoding() == Encodings::UTF8());
      Check(utf8::IsValid(s->Bytes()));
      Check(s->Bytes().find('\0') == std::string::npos);
    }
  }

  const XMLDataRef xml = XMLData::CreateFromString(text, false);
  xml->GetRawStrings("//@*");
  xml->GetArray("", "item", true, false);
  xml->GetHTMLDecodedString("*", "");
  xml->GetDate("*", nullptr);
  xml->ToString();
  return 0;
}
