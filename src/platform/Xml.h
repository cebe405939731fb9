#pragma once
// XML documents and their nodes, over pugixml.
//
// XmlNode is a small handle, like a pointer: copying it copies the handle, not the node,
// and a default-constructed handle is nil. Every handle holds a counted reference to its
// document's tree, so a node stays usable for as long as any handle to it is held, also
// after the XmlDocument it came from is gone. Using a nil handle raises
// NilObjectException, as using any nil object does. Running out of memory, in a load, a
// query or a change, throws std::bad_alloc: it never reads as a document that is no XML
// or as a change the node does not take.
//
// Parsing: text is loaded under XmlLoadPolicy, the one policy for XML from outside
// the program (document type declarations, UTF-8, character references). Besides:
// - An entity reference other than the five predefined ones and character references
//   stays in the text as written (`&name;`).
// - Comments are kept as nodes ("#comment"). Processing instructions, the XML
//   declaration and an accepted document type declaration are not kept. Text nodes that
//   hold only white space are dropped; other text is kept exactly, line ends normalised to
//   LF. CDATA sections are nodes of their own ("#cdata-section").
// - The parser is pugixml's, with its leniency: content after the root element and a
//   second root element are accepted. Its walks are iterative, so nesting depth is limited
//   by memory only.
//
// Names: an element's or attribute's own name; "#text", "#cdata-section", "#comment" and
// "#document" for the other kinds. Values: the text of a text, CDATA or comment node and
// the value of an attribute; empty for elements and documents.

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/FolderItem.h"
#include "platform/String.h"

namespace pugi {
struct xml_node_struct;
struct xml_attribute_struct;
}  // namespace pugi

namespace grantwright {

struct XmlTree;
class XmlDocument;
class XmlNodeList;

class XmlNode {
 public:
  enum class Kind { kDocument, kElement, kAttribute, kText, kCData, kComment, kOther };

  // A nil handle.
  XmlNode() = default;

  bool IsNil() const { return node_ == nullptr; }
  explicit operator bool() const { return !IsNil(); }
  // The same node of the same tree (two nil handles are the same, too).
  friend bool operator==(const XmlNode& a, const XmlNode& b) {
    return a.node_ == b.node_ && a.attribute_ == b.attribute_;
  }

  Kind NodeKind() const;
  bool IsElement() const { return NodeKind() == Kind::kElement; }
  bool IsAttribute() const { return NodeKind() == Kind::kAttribute; }

  String Name() const;
  String Value() const;
  // The same texts without a copy; they stay valid while the tree lives and the node is
  // not changed.
  std::string_view NameView() const;
  std::string_view ValueView() const;
  // Sets the text of a text, CDATA or comment node or the value of an attribute; raises
  // XmlException for an element or a document, which hold no text of their own.
  void SetValue(const String& value);

  // Child nodes of every kind. Attributes and nodes that are no element or document have
  // none. Child gives nil for an index beyond the last child; it walks from the first
  // child, so loops should go FirstChild/NextSibling.
  size_t ChildCount() const;
  XmlNode Child(size_t index) const;
  XmlNode FirstChild() const;
  XmlNode NextSibling() const;
  // The element or document that holds the node; for an attribute its element; nil for a
  // document and for a node that was created but not yet appended.
  XmlNode Parent() const;

  // The value of the attribute `name` (exact, case-sensitive); empty when there is no
  // such attribute and for every node that is no element.
  String GetAttribute(const String& name) const;
  std::string_view AttributeView(std::string_view name) const;

  XmlDocument OwnerDocument() const;

  // Adds `child` as the last child of this element or document and gives it back. A node
  // of the same document is moved (a node created with CreateElement or CreateTextNode
  // comes into the tree this way); handles keep pointing to it. Raises XmlException when
  // this node cannot hold children, when `child` belongs to another document, and when
  // `child` is this node or one of its ancestors.
  XmlNode AppendChild(const XmlNode& child);

  // Sets the attribute `name` of this element to `value`, adding it when missing. Raises
  // XmlException for a node that is no element and for a name that is no XML name.
  void SetAttribute(const String& name, const String& value);

  // The node and its content as XML text, with nothing added (no indentation, no line
  // ends), or with `indented`, one element a line indented by two blanks for each level.
  // For an attribute: name="value".
  String ToString(bool indented = false) const;

  // The nodes that the XPath 1.0 query selects with this node as context, in document
  // order. Element names in queries are case-sensitive. The empty query selects the node
  // itself, as "." does. A query that XPath rejects, or that yields no node set, raises
  // XmlException with XPath's message and the position in the query.
  XmlNodeList Xql(const String& query) const;

  // The status code of the last failed load of the node's document; 0 when there was
  // none.
  int LastError() const;

 protected:
  XmlNode(std::shared_ptr<XmlTree> tree, pugi::xml_node_struct* node,
          pugi::xml_attribute_struct* attribute)
      : tree_(std::move(tree)), node_(node), attribute_(attribute) {}
  void RequireNode() const;

  std::shared_ptr<XmlTree> tree_;
  // The node; for an attribute, the element that holds it.
  pugi::xml_node_struct* node_ = nullptr;
  pugi::xml_attribute_struct* attribute_ = nullptr;

  friend struct XmlTree;
  friend class XmlDocument;
  friend class XmlNodeList;
};

// The result of a query: never nil, possibly empty.
class XmlNodeList {
 public:
  size_t Length() const { return items_.size(); }
  // The result at `index`; nil beyond the last one.
  XmlNode Item(size_t index) const;

 private:
  friend class XmlNode;
  std::shared_ptr<XmlTree> tree_;
  std::vector<std::pair<pugi::xml_node_struct*, pugi::xml_attribute_struct*>> items_;
};

// A whole document: a node of kind kDocument that can load text and make new nodes.
class XmlDocument : public XmlNode {
 public:
  // Error numbers of the load policy's refusals (XmlLoadPolicy). Every other error number
  // of a load is pugixml's status code (1 file not found, 2 read error, 5 to 16 syntax
  // errors).
  static const int kInvalidUtf8;
  static const int kDocumentTypeRefused;
  static const int kBadCharacterReference;

  // An empty document.
  XmlDocument();

  // Replaces the content by the document `text` holds. Text tagged UTF-8 or ASCII, and
  // untagged text, are read as UTF-8; text with another tag is converted first. Bad XML
  // raises XmlException with the parser's message and position ("... at line L, column
  // C") and its status as error number, which LastError also gives; the document is then
  // empty. Handles to nodes of the old content stay valid and keep seeing it.
  void LoadXml(const String& text);
  // The same for the bytes of `file`, whose encoding is found from a byte order mark, the
  // pattern of the first bytes (UTF-16 and UTF-32 without a mark) or an ISO-8859-1
  // declaration, and is UTF-8 otherwise. A file that cannot be opened (missing,
  // unreadable, no regular file) raises XmlException with error number 1, one that fails
  // while being read with 2. A nil file raises NilObjectException.
  void LoadXml(const FolderItemRef& file);

  // New nodes of this document, outside its tree until appended. CreateElement raises
  // XmlException for a name that is no XML name (see IsXmlName).
  XmlNode CreateElement(const String& name);
  XmlNode CreateTextNode(const String& text);
  XmlNode CreateComment(const String& text);

 private:
  friend class XmlNode;
  explicit XmlDocument(std::shared_ptr<XmlTree> tree);
  void Adopt(std::shared_ptr<XmlTree> tree);
};

// Whether `name` can name an element or attribute: a letter, "_" or ":" (or any character
// beyond ASCII) first, then letters, digits, ".", "-", "_", ":" or characters beyond ASCII;
// valid UTF-8 throughout.
bool IsXmlName(std::string_view name);

}  // namespace grantwright
