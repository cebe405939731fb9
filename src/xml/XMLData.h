#pragma once
// XMLData: a read-only wrapper around one node of a parsed XML document, with lookups
// that never fail for what is missing.
//
// A wrapper holds a node or nothing, for life. The factories parse text or a file and
// never give nil: bad XML is reported and gives a wrapper without a node, on which every
// getter gives its default, GetNode nil, HasValue False and GetXMLData another wrapper
// without a node.
//
// Keys are XPath queries (XmlNode::Xql) evaluated with the wrapped node as context: a bare
// name selects the child elements of that name, "@name" an attribute. The empty key means
// the wrapped node itself for every operation. Only the first node a key selects counts.
// A key is found when its first node is
// - an attribute (also an empty one): its text is the attribute's value;
// - an element with at least one child node of any kind: its text is that first child's
//   Value (a comment's text, or empty for a child element).
// Everything else (no node, an element without children, a text node) is not found. A
// getter gives its default, unchanged, when the key is not found; when it is found, the
// text is converted, even when it is empty or holds no number (GetInteger then gives 0).
// A key XPath rejects raises XmlException from every getter that queries.
//
// Numbers are read with Val; integers and colours are cut toward zero to 64 bits, a colour
// keeps the low 32 bits. No getter looks at `datatype` attributes.

#include <memory>
#include <vector>

#include "platform/Date.h"
#include "platform/FolderItem.h"
#include "platform/Object.h"
#include "platform/String.h"
#include "platform/Xml.h"

namespace grantwright {

class SmartFolderItemZRN;  // filerefs/, a floor above: only named here

class XMLData {
 public:
  // Wraps `node`; a nil node makes a wrapper without a node.
  explicit XMLData(XmlNode node);

  // The wrapper around the first node (Child(0)) of the document `text` holds; that is a
  // comment when one stands ahead of the root element. Empty text gives a wrapper without
  // a node and reports nothing. Text that is no well-formed XML gives one too, after the
  // message "The string could not be parsed as XML.", two line ends, "Defaults will be
  // used if applicable.", two line ends and "Error Code: " followed by the parser's status
  // code, shown with MsgBox when `showDialog` is true and written to the system log
  // otherwise.
  static std::shared_ptr<XMLData> CreateFromString(const String& text, bool showDialog);
  // The same for a file. A nil file or one that does not exist gives a wrapper without a
  // node and reports nothing. A file that cannot be read or holds bad XML reports "The
  // file \"<DisplayName>\" could not be read.", two line ends, "The current user may not
  // have permissions to read this file, or the XML syntax could be invalid. Defaults will
  // be used if applicable.", two line ends and "Error Code:" directly followed by the code
  // (1 when the file could not be opened, 2 when reading failed, else the parser's).
  static std::shared_ptr<XMLData> CreateFromFile(const FolderItemRef& file, bool showDialog);

  // Whether the wrapper holds a node: a document was read, whatever it holds.
  bool Exists() const;
  // The wrapped node as XML text (only its subtree); empty without a node.
  String ToString() const;
  // The wrapped node's Name; empty without a node.
  String GetElementName() const;

  // The text unchanged.
  String GetRawString(const String& key, const String& defaultValue) const;
  int64_t GetInteger(const String& key, int64_t defaultValue) const;
  double GetDouble(const String& key, double defaultValue) const;
  // GlobalMethods::CBool of the text.
  bool GetBoolean(const String& key, bool defaultValue) const;
  Color GetColor(const String& key, Color defaultValue) const;
  // The text URL-decoded. `rawBytes` true: the decoded bytes as they are, untagged, which
  // keeps bytes that are no text. False: brought to UTF-8 as well
  // (UniversalExtension::DecodingFromURLZRN), so the result always carries UTF-8.
  String GetURLDecodedString(const String& key, const String& defaultValue,
                             bool rawBytes) const;
  // The text with its HTML character references replaced (DecodingFromHTML), in UTF-8.
  String GetHTMLDecodedString(const String& key, const String& defaultValue) const;
  // A new Date whose TotalSeconds is Val of the text (a plain number of seconds, not a
  // time stamp), in the local zone's present offset.
  DateRef GetDate(const String& key, const DateRef& defaultValue) const;

  // File values: the text holds the stored form of a reference (SmartFolderItemZRN),
  // URL-encoded once more. GetSmartFile gives SmartFolderItemZRN::Create of the decoded
  // bytes, GetFile that record's GetFile; both give nil, not the default, when the key is
  // found but no record can be made of its text (an empty one). Exceptions from Create and
  // GetFile pass on. Defined with the references (filerefs/FileValues.cpp).
  std::shared_ptr<SmartFolderItemZRN> GetSmartFile(
      const String& key, const std::shared_ptr<SmartFolderItemZRN>& defaultValue) const;
  FolderItemRef GetFile(const String& key, const FolderItemRef& defaultValue) const;

  // The first node the key selects, of whatever kind; nil when there is none or the
  // wrapper has no node. The empty key gives the wrapped node without a query.
  XmlNode GetNode(const String& key) const;
  // A new wrapper around GetNode(key); never nil.
  std::shared_ptr<XMLData> GetXMLData(const String& key) const;
  // Whether the key selects at least one node, whatever it holds.
  bool HasValue(const String& key) const;
  // The value of the wrapped node's own attribute `name` (not a query); the default when
  // the attribute is missing or empty, or the wrapper has no node.
  String GetAttribute(const String& name, const String& defaultValue) const;

  // The items of a list: the children of GetNode(key) whose Name equals `itemName`
  // (ignoring case), in document order, duplicates kept. Each item is its first child
  // node's Value, or empty for a child without children, and is URL-decoded when
  // `urlDecode` is true (`rawBytes` as for GetURLDecodedString). Empty when the wrapper
  // has no node or the key selects nothing.
  std::vector<String> GetArray(const String& key, const String& itemName, bool urlDecode,
                               bool rawBytes) const;
  // The text of every node the key selects, in document order, as it stands: attributes
  // by their value (also when empty), elements with children by their first child's Value;
  // other nodes and elements without children add nothing.
  std::vector<String> GetRawStrings(const String& key) const;

 private:
  // The text the key finds, and whether it is found (see the header comment).
  String GetVariable(const String& key, bool& found) const;

  const XmlNode private_node;
};

using XMLDataRef = std::shared_ptr<XMLData>;

// The colour a text stands for: the integer it begins with (see Val), its low 32 bits as
// &hAARRGGBB. The Color getter and the typed decoder read colours so.
Color ColorOf(const String& text);

}  // namespace grantwright
