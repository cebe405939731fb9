// XMLData: any bytes as "key NUL document" (no NUL: the whole input is the document and
// the key is empty), then every getter on that key.
//
// Properties: nothing crashes, leaks or runs away; a key XPath rejects raises XmlException
// and nothing else; a getter that finds its key gives the text GetRawStrings gives first,
// one that does not gives its default unchanged; the UTF-8 getter always gives valid UTF-8
// without NUL; a key that selects nothing finds nothing.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/Exceptions.h"
#include "platform/Log.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"
#include "xml/XMLData.h"

namespace {

using namespace grantwright;

// Names the property that failed before stopping, so a reproducer explains itself.
#define Check(condition) \
  ((condition) ? (void)0 : (std::fprintf(stderr, "property failed: %s\n", #condition), std::abort()))

// Stands for "not found": no XML text can hold a control character.
const String kMissing("\x01missing");

void Query(const XMLData& xml, const String& key) {
  const bool selects = xml.HasValue(key);
  const String raw = xml.GetRawString(key, kMissing);
  const bool found = raw.Bytes() != kMissing.Bytes();
  const std::vector<String> all = xml.GetRawStrings(key);
  Check(selects || (!found && all.empty()));
  Check(!found || (!all.empty() && all.front().Bytes() == raw.Bytes()));
  Check(static_cast<bool>(xml.GetNode(key)) == selects);
  Check(xml.GetXMLData(key)->Exists() == selects);

  const String text = xml.GetURLDecodedString(key, String(), false);
  Check(utf8::IsValid(text.Bytes()) && text.Bytes().find('\0') == std::string::npos);
  (void)xml.GetURLDecodedString(key, String(), true);
  (void)xml.GetHTMLDecodedString(key, String());
  (void)xml.GetInteger(key, 0);
  (void)xml.GetDouble(key, 0);
  (void)xml.GetBoolean(key, false);
  (void)xml.GetColor(key, Color());
  (void)xml.GetDate(key, nullptr);
  (void)xml.GetArray(key, "item", true, false);
  (void)xml.GetArray(key, "array_0", true, true);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = (SetLogSink([](std::string_view) {}), true);
  (void)quiet;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t nul = input.find('\0');
  const std::string_view key = nul == std::string_view::npos ? std::string_view() : input.substr(0, nul);
  const std::string_view document = nul == std::string_view::npos ? input : input.substr(nul + 1);

  const XMLDataRef xml = XMLData::CreateFromString(String(std::string(document), Encodings::UTF8()), false);
  const String keyText(std::string(key), Encodings::UTF8());
  try {
    Query(*xml, keyText);
  } catch (const XmlException&) {
  }
  (void)xml->GetArray("", keyText, false, false);
  (void)xml->GetAttribute(keyText, String());
  (void)xml->GetElementName();
  (void)xml->ToString();
  return 0;
}
