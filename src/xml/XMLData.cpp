#include "xml/XMLData.h"

#include "convert/UniversalExtension.h"
#include "global/GlobalMethods.h"
#include "platform/Exceptions.h"
#include "platform/HtmlCoding.h"
#include "platform/Log.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"

namespace grantwright {

namespace {

void Report(const String& message, bool showDialog) {
  if (showDialog) {
    MsgBox(message);
  } else {
    System::DebugLog(message);
  }
}

String Paragraph() { return String(EndOfLine) + EndOfLine; }

String UrlDecoded(const String& text, bool rawBytes) {
  return rawBytes ? DecodingFromURL(text) : UniversalExtension::DecodingFromURLZRN(text);
}

}  // namespace

Color ColorOf(const String& text) {
  return Integer2Color(static_cast<uint32_t>(static_cast<uint64_t>(TruncateToInt64(Val(text)))));
}

XMLData::XMLData(XmlNode node) : private_node(std::move(node)) {}

XMLDataRef XMLData::CreateFromString(const String& text, bool showDialog) {
  if (text.IsEmpty()) return std::make_shared<XMLData>(XmlNode());
  XmlDocument doc;
  try {
    doc.LoadXml(text);
  } catch (const XmlException&) {
    Report(String("The string could not be parsed as XML.") + Paragraph() +
               "Defaults will be used if applicable." + Paragraph() + "Error Code: " +
               Str(static_cast<int64_t>(doc.LastError())),
           showDialog);
    return std::make_shared<XMLData>(XmlNode());
  }
  return std::make_shared<XMLData>(doc.Child(0));
}

XMLDataRef XMLData::CreateFromFile(const FolderItemRef& file, bool showDialog) {
  if (!file || !file->Exists()) return std::make_shared<XMLData>(XmlNode());
  XmlDocument doc;
  try {
    doc.LoadXml(file);
  } catch (const XmlException&) {
    Report(String("The file \"") + file->DisplayName() + "\" could not be read." + Paragraph() +
               "The current user may not have permissions to read this file, or the XML "
               "syntax could be invalid. Defaults will be used if applicable." +
               Paragraph() + "Error Code:" + Str(static_cast<int64_t>(doc.LastError())),
           showDialog);
    return std::make_shared<XMLData>(XmlNode());
  }
  if (doc.ChildCount() == 0) return std::make_shared<XMLData>(XmlNode());
  return std::make_shared<XMLData>(doc.Child(0));
}

bool XMLData::Exists() const { return !private_node.IsNil(); }

String XMLData::ToString() const { return private_node ? private_node.ToString() : String(); }

String XMLData::GetElementName() const { return private_node ? private_node.Name() : String(); }

String XMLData::GetVariable(const String& key, bool& found) const {
  found = false;
  if (!private_node) return String();
  const XmlNode first = private_node.Xql(key).Item(0);
  if (!first) return String();
  if (first.IsAttribute()) {
    found = true;
    return first.Value();
  }
  if (first.IsElement()) {
    const XmlNode child = first.FirstChild();
    if (child) {
      found = true;
      return child.Value();
    }
  }
  return String();
}

String XMLData::GetRawString(const String& key, const String& defaultValue) const {
  bool found;
  String text = GetVariable(key, found);
  return found ? text : defaultValue;
}

int64_t XMLData::GetInteger(const String& key, int64_t defaultValue) const {
  bool found;
  const String text = GetVariable(key, found);
  return found ? TruncateToInt64(Val(text)) : defaultValue;
}

double XMLData::GetDouble(const String& key, double defaultValue) const {
  bool found;
  const String text = GetVariable(key, found);
  return found ? Val(text) : defaultValue;
}

bool XMLData::GetBoolean(const String& key, bool defaultValue) const {
  bool found;
  const String text = GetVariable(key, found);
  return found ? GlobalMethods::CBool(Variant(text)) : defaultValue;
}

Color XMLData::GetColor(const String& key, Color defaultValue) const {
  bool found;
  const String text = GetVariable(key, found);
  return found ? ColorOf(text) : defaultValue;
}

String XMLData::GetURLDecodedString(const String& key, const String& defaultValue,
                                    bool rawBytes) const {
  bool found;
  const String text = GetVariable(key, found);
  return found ? UrlDecoded(text, rawBytes) : defaultValue;
}

String XMLData::GetHTMLDecodedString(const String& key, const String& defaultValue) const {
  bool found;
  const String text = GetVariable(key, found);
  return found ? ConvertEncoding(DecodingFromHTML(text), Encodings::UTF8()) : defaultValue;
}

DateRef XMLData::GetDate(const String& key, const DateRef& defaultValue) const {
  bool found;
  const String text = GetVariable(key, found);
  if (!found) return defaultValue;
  auto date = std::make_shared<Date>();
  date->SetTotalSeconds(Val(text));
  return date;
}

XmlNode XMLData::GetNode(const String& key) const {
  if (!private_node) return XmlNode();
  if (key.IsEmpty()) return private_node;
  return private_node.Xql(key).Item(0);
}

XMLDataRef XMLData::GetXMLData(const String& key) const {
  return std::make_shared<XMLData>(GetNode(key));
}

bool XMLData::HasValue(const String& key) const {
  return private_node && private_node.Xql(key).Length() > 0;
}

String XMLData::GetAttribute(const String& name, const String& defaultValue) const {
  if (!private_node) return defaultValue;
  String value = private_node.GetAttribute(name);
  return value.IsEmpty() ? defaultValue : value;
}

std::vector<String> XMLData::GetArray(const String& key, const String& itemName, bool urlDecode,
                                      bool rawBytes) const {
  std::vector<String> items;
  if (!private_node) return items;
  const XmlNode parent = GetNode(key);
  if (!parent) return items;
  for (XmlNode child = parent.FirstChild(); child; child = child.NextSibling()) {
    if (!(child.Name() == itemName)) continue;
    const XmlNode first = child.FirstChild();
    const String item = first ? first.Value() : String();
    items.push_back(urlDecode ? UrlDecoded(item, rawBytes) : item);
  }
  return items;
}

std::vector<String> XMLData::GetRawStrings(const String& key) const {
  std::vector<String> items;
  if (!private_node) return items;
  const XmlNodeList found = private_node.Xql(key);
  for (size_t i = 0; i < found.Length(); ++i) {
    const XmlNode node = found.Item(i);
    if (node.IsAttribute()) {
      items.push_back(node.Value());
    } else if (node.IsElement() && node.FirstChild()) {
      items.push_back(node.FirstChild().Value());
    }
  }
  return items;
}

}  // namespace grantwright
