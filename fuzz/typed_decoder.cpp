// The typed decoder and the permission record: any bytes as a configuration's text.
//
// Properties: nothing crashes, leaks or runs away; containers nest no deeper than the
// decoder allows; a decoded value of the "String" row is valid UTF-8 without NUL; the
// record a decoded dictionary gives has exactly the keys of its dictionary form, in order,
// and that form written out and read back gives the same record. The record raises
// TypeMismatchException for an object or array under a text key or a typed array under a
// "Perms" key: that is its contract, so it counts as an outcome, not a fault.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "permissions/TraditionalPermissionsZRN.h"
#include "platform/Dictionary.h"
#include "platform/Exceptions.h"
#include "platform/Log.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"
#include "xml/XMLExtension.h"

namespace {

using namespace grantwright;

// Names the property that failed before stopping, so a reproducer explains itself.
#define Check(condition) \
  ((condition) ? (void)0 : (std::fprintf(stderr, "property failed: %s\n", #condition), std::abort()))

void Walk(const Variant& value, int depth) {
  Check(depth <= XMLExtension::kMaxContainerDepth + 1);
  if (value.IsArray()) {
    for (const Variant& element : value.ObjectElements()) Walk(element, depth + 1);
  } else if (const auto dict = value.ObjectAs<Dictionary>()) {
    for (const auto& [key, element] : dict->Entries()) Walk(element, depth + 1);
  }
}

// The record's dictionary form, checked for its keys and written as a typed document.
String CheckedForm(const TraditionalPermissionsZRN& record) {
  const DictionaryRef form = record.GetDictionary();
  const char* const withList[] = {"Owner",      "Group",      "UnixFilePath", "RawACLRights",
                                  "PermsOwner", "PermsGroup", "PermsOthers",  "PermsExtras"};
  const bool hasList = record.ACLRights != nullptr;
  Check(form->Count() == (hasList ? 8u : 7u));
  for (size_t i = 0, k = 0; i < form->Count(); ++i, ++k) {
    if (!hasList && k == 3) ++k;
    Check(form->Key(i).StringValue().Bytes() == withList[k]);
  }
  return XMLExtension::AsXMLStringFromDictionaryZRN(form, "Permissions");
}

void CheckRecord(const DictionaryRef& dict) {
  try {
    const String written = CheckedForm(TraditionalPermissionsZRN(dict));
    const DictionaryRef again = XMLExtension::AsDictionaryFromXMLStringZRN(written);
    Check(again != nullptr);
    Check(CheckedForm(TraditionalPermissionsZRN(again)).Bytes() == written.Bytes());
  } catch (const TypeMismatchException&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = (SetLogSink([](std::string_view) {}), true);
  (void)quiet;
  const String text(std::string(reinterpret_cast<const char*>(data), size), Encodings::UTF8());

  if (const DictionaryRef dict = XMLExtension::AsDictionaryFromXMLStringZRN(text)) {
    Walk(dict, 0);
    CheckRecord(dict);
  }

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
  return 0;
}
