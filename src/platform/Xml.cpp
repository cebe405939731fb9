#include "platform/Xml.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>

#include "platform/BinaryStream.h"
#include "platform/Exceptions.h"
#include "platform/HtmlCoding.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"

namespace grantwright {

// One parsed or built document. Nodes made by CreateElement and CreateTextNode wait as
// children of `staging`, an element below the document node that no navigation, query or
// text form shows; pugixml has no detached nodes, and keeping them in the same document
// lets AppendChild move them into place without copying, so every handle stays valid.
struct XmlTree {
  pugi::xml_document doc;
  pugi::xml_node_struct* staging = nullptr;
  int lastError = 0;

  bool IsStaging(pugi::xml_node node) const {
    return staging != nullptr && node.internal_object() == staging;
  }
  pugi::xml_node Staging() {
    if (staging == nullptr) staging = doc.append_child(pugi::node_element).internal_object();
    return pugi::xml_node(staging);
  }
  // Drops the staging element once nothing waits in it.
  void TidyStaging() {
    if (staging != nullptr && !pugi::xml_node(staging).first_child()) {
      doc.remove_child(pugi::xml_node(staging));
      staging = nullptr;
    }
  }
  // The detached subtree a node stands in (the child of `staging` above it), or null for
  // a node of the tree proper.
  pugi::xml_node_struct* Island(pugi::xml_node node) const {
    if (staging == nullptr) return nullptr;
    for (pugi::xml_node n = node; n; n = n.parent()) {
      if (n.parent().internal_object() == staging) return n.internal_object();
    }
    return nullptr;
  }
};

namespace {

constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_comments | pugi::parse_doctype;

pugi::xml_node Node(pugi::xml_node_struct* node) { return pugi::xml_node(node); }

// The text in UTF-8: untagged bytes as they are, text with another tag converted.
std::string Utf8Bytes(const String& text) {
  return ConvertEncoding(text, Encodings::UTF8()).Bytes();
}

// " at line L, column C" (column in bytes, both from 1) of a byte offset into `text`.
std::string Position(std::string_view text, size_t offset) {
  if (offset > text.size()) return " at offset " + std::to_string(offset);
  size_t line = 1;
  size_t lineStart = 0;
  for (size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') ++line, lineStart = i + 1;
  }
  return " at line " + std::to_string(line) + ", column " + std::to_string(offset - lineStart + 1);
}

class StringWriter : public pugi::xml_writer {
 public:
  void write(const void* data, size_t size) override {
    out.append(static_cast<const char*>(data), size);
  }
  std::string out;
};

void AppendEscaped(std::string& out, std::string_view text) {
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out.push_back(c);
    }
  }
}

}  // namespace

// ---- XmlNode ----

void XmlNode::RequireNode() const {
  if (node_ == nullptr) throw NilObjectException();
}

XmlNode::Kind XmlNode::NodeKind() const {
  RequireNode();
  if (attribute_ != nullptr) return Kind::kAttribute;
  switch (Node(node_).type()) {
    case pugi::node_document: return Kind::kDocument;
    case pugi::node_element: return Kind::kElement;
    case pugi::node_pcdata: return Kind::kText;
    case pugi::node_cdata: return Kind::kCData;
    case pugi::node_comment: return Kind::kComment;
    default: return Kind::kOther;
  }
}

std::string_view XmlNode::NameView() const {
  switch (NodeKind()) {
    case Kind::kAttribute: return pugi::xml_attribute(attribute_).name();
    case Kind::kDocument: return "#document";
    case Kind::kText: return "#text";
    case Kind::kCData: return "#cdata-section";
    case Kind::kComment: return "#comment";
    default: return Node(node_).name();
  }
}

std::string_view XmlNode::ValueView() const {
  RequireNode();
  if (attribute_ != nullptr) return pugi::xml_attribute(attribute_).value();
  // pugixml gives element and document nodes an empty value already.
  return Node(node_).value();
}

String XmlNode::Name() const { return String(NameView()); }
String XmlNode::Value() const { return String(ValueView()); }

void XmlNode::SetValue(const String& value) {
  RequireNode();
  const std::string bytes = Utf8Bytes(value);
  const bool done = attribute_ != nullptr
                        ? pugi::xml_attribute(attribute_).set_value(bytes.data(), bytes.size())
                        : Node(node_).set_value(bytes.data(), bytes.size());
  if (!done) throw XmlException("This kind of node holds no text of its own");
}

size_t XmlNode::ChildCount() const {
  RequireNode();
  if (attribute_ != nullptr) return 0;
  size_t count = 0;
  for (pugi::xml_node c = Node(node_).first_child(); c; c = c.next_sibling()) {
    if (!tree_->IsStaging(c)) ++count;
  }
  return count;
}

XmlNode XmlNode::Child(size_t index) const {
  XmlNode child = FirstChild();
  for (size_t i = 0; i < index && child; ++i) child = std::move(child).NextSibling();
  return child;
}

pugi::xml_node_struct* XmlNode::FirstChildNode() const {
  RequireNode();
  if (attribute_ != nullptr) return nullptr;
  pugi::xml_node c = Node(node_).first_child();
  if (tree_->IsStaging(c)) c = c.next_sibling();
  return c.internal_object();
}

XmlNode XmlNode::FirstChild() const {
  pugi::xml_node_struct* first = FirstChildNode();
  return first ? XmlNode(tree_, first, nullptr) : XmlNode();
}

bool XmlNode::HasChildNodes() const { return FirstChildNode() != nullptr; }

std::string_view XmlNode::FirstChildValueView() const {
  pugi::xml_node_struct* first = FirstChildNode();
  return first ? Node(first).value() : std::string_view();
}

pugi::xml_node_struct* XmlNode::NextSiblingNode() const {
  RequireNode();
  if (attribute_ != nullptr) return nullptr;
  const pugi::xml_node self = Node(node_);
  // Nodes waiting to be appended are no siblings of each other.
  if (tree_->IsStaging(self.parent())) return nullptr;
  pugi::xml_node c = self.next_sibling();
  if (tree_->IsStaging(c)) c = c.next_sibling();
  return c.internal_object();
}

XmlNode XmlNode::NextSibling() const& {
  pugi::xml_node_struct* next = NextSiblingNode();
  return next ? XmlNode(tree_, next, nullptr) : XmlNode();
}

XmlNode XmlNode::NextSibling() && {
  pugi::xml_node_struct* next = NextSiblingNode();
  return next ? XmlNode(std::move(tree_), next, nullptr) : XmlNode();
}

XmlNode XmlNode::Parent() const {
  RequireNode();
  if (attribute_ != nullptr) return XmlNode(tree_, node_, nullptr);
  const pugi::xml_node parent = Node(node_).parent();
  if (!parent || tree_->IsStaging(parent)) return XmlNode();
  return XmlNode(tree_, parent.internal_object(), nullptr);
}

std::string_view XmlNode::AttributeView(std::string_view name) const {
  RequireNode();
  if (attribute_ != nullptr) return {};
  for (pugi::xml_attribute a = Node(node_).first_attribute(); a; a = a.next_attribute()) {
    // Compared in place: measuring every attribute's name first costs more than this.
    const char* candidate = a.name();
    size_t i = 0;
    while (i < name.size() && candidate[i] != '\0' && candidate[i] == name[i]) ++i;
    if (i == name.size() && candidate[i] == '\0') return a.value();
  }
  return {};
}

String XmlNode::GetAttribute(const String& name) const {
  return String(AttributeView(Utf8Bytes(name)));
}

XmlDocument XmlNode::OwnerDocument() const {
  RequireNode();
  return XmlDocument(tree_);
}

XmlNode XmlNode::AppendChild(const XmlNode& child) {
  RequireNode();
  child.RequireNode();
  if (child.tree_ != tree_) throw XmlException("The node belongs to another document");
  if (attribute_ != nullptr || child.attribute_ != nullptr) {
    throw XmlException("Attributes neither hold nor are child nodes");
  }
  const pugi::xml_node moved = Node(node_).append_move(Node(child.node_));
  if (!moved) throw XmlException("The node cannot be appended here");
  tree_->TidyStaging();
  return XmlNode(tree_, moved.internal_object(), nullptr);
}

void XmlNode::SetAttribute(const String& name, const String& value) {
  RequireNode();
  const std::string bytes = Utf8Bytes(name);
  if (attribute_ != nullptr || Node(node_).type() != pugi::node_element) {
    throw XmlException("Only elements hold attributes");
  }
  if (!IsXmlName(bytes)) throw XmlException("Not an XML name: " + bytes);
  pugi::xml_attribute a = Node(node_).attribute(bytes.c_str());
  if (!a) a = Node(node_).append_attribute(bytes.c_str());
  a.set_value(Utf8Bytes(value).c_str());
}

String XmlNode::ToString(bool indented) const {
  RequireNode();
  if (attribute_ != nullptr) {
    const pugi::xml_attribute a(attribute_);
    std::string out = a.name();
    out += "=\"";
    AppendEscaped(out, a.value());
    out += '"';
    return String(std::move(out));
  }
  StringWriter writer;
  const char* indent = indented ? "  " : "";
  const unsigned format = indented ? pugi::format_indent : pugi::format_raw;
  const pugi::xml_node self = Node(node_);
  if (self.type() == pugi::node_document && tree_->staging != nullptr) {
    for (pugi::xml_node c = self.first_child(); c; c = c.next_sibling()) {
      if (!tree_->IsStaging(c)) c.print(writer, indent, format, pugi::encoding_utf8);
    }
  } else {
    self.print(writer, indent, format, pugi::encoding_utf8);
  }
  return String(std::move(writer.out));
}

XmlNodeList XmlNode::Xql(const String& query) const {
  RequireNode();
  XmlNodeList list;
  list.tree_ = tree_;
  if (query.IsEmpty()) {
    list.items_.emplace_back(node_, attribute_);
    return list;
  }
  const pugi::xpath_node context =
      attribute_ != nullptr ? pugi::xpath_node(pugi::xml_attribute(attribute_), Node(node_))
                            : pugi::xpath_node(Node(node_));
  pugi::xpath_node_set found;
  const std::string text = Utf8Bytes(query);
  try {
    const pugi::xpath_query compiled(text.c_str());
    found = compiled.evaluate_node_set(context);
  } catch (const pugi::xpath_exception& e) {
    throw XmlException(std::string("XPath: ") + e.what() + " at offset " +
                       std::to_string(e.result().offset) + " of the query");
  }
  found.sort();
  // Nodes waiting to be appended answer only queries made from their own subtree.
  const bool filter = tree_->staging != nullptr;
  const pugi::xml_node_struct* island = filter ? tree_->Island(Node(node_)) : nullptr;
  list.items_.reserve(found.size());
  for (const pugi::xpath_node& n : found) {
    const pugi::xml_node owner = n.attribute() ? n.parent() : n.node();
    if (filter && (tree_->IsStaging(owner) || tree_->Island(owner) != island)) continue;
    list.items_.emplace_back(owner.internal_object(), n.attribute().internal_object());
  }
  return list;
}

int XmlNode::LastError() const {
  RequireNode();
  return tree_->lastError;
}

XmlNode XmlNodeList::Item(size_t index) const {
  if (index >= items_.size()) return XmlNode();
  return XmlNode(tree_, items_[index].first, items_[index].second);
}

// ---- XmlDocument ----

XmlDocument::XmlDocument() { Adopt(std::make_shared<XmlTree>()); }

XmlDocument::XmlDocument(std::shared_ptr<XmlTree> tree) { Adopt(std::move(tree)); }

void XmlDocument::Adopt(std::shared_ptr<XmlTree> tree) {
  node_ = tree->doc.internal_object();
  attribute_ = nullptr;
  tree_ = std::move(tree);
}

namespace {

[[noreturn]] void Fail(XmlTree& tree, int status, const std::string& message) {
  tree.doc.reset();
  tree.lastError = status;
  throw XmlException(message, status);
}

void FailOnParse(XmlTree& tree, const pugi::xml_parse_result& result, std::string_view text) {
  if (result) return;
  Fail(tree, result.status, result.description() + Position(text, static_cast<size_t>(result.offset)));
}

// A document type declaration is refused rather than skipped: its entities would not be
// expanded, so a document that relies on them cannot be read as its writer meant it.
void FailOnDocumentType(XmlTree& tree) {
  for (pugi::xml_node c = tree.doc.first_child(); c; c = c.next_sibling()) {
    if (c.type() == pugi::node_doctype) {
      Fail(tree, XmlDocument::kDocumentTypeRefused, "A document type declaration is not read");
    }
  }
}

void FailOnInvalidUtf8(XmlTree& tree, std::string_view text) {
  const size_t bad = utf8::FirstInvalid(text);
  if (bad == std::string_view::npos) return;
  Fail(tree, XmlDocument::kInvalidUtf8, "Invalid UTF-8 byte sequence" + Position(text, bad));
}

// Checks the character references in text[from, to) of element content or an attribute
// value, read as pugixml reads them: "&#" then decimal digits, or "x" and hex digits, then
// ";". Anything else after "&#" stays text.
void CheckReferences(XmlTree& tree, std::string_view text, size_t from, size_t to) {
  // Searches end at `to`: a walk over many short ranges stays linear in the text.
  const std::string_view range = text.substr(0, to);
  for (size_t amp = range.find('&', from); amp != std::string_view::npos; amp = range.find('&', amp + 1)) {
    if (amp + 1 == to || text[amp + 1] != '#') continue;
    const bool hex = amp + 2 < to && text[amp + 2] == 'x';  // pugixml takes no "X"
    const size_t end = range.find_first_not_of(hex ? "0123456789abcdefABCDEF" : "0123456789", amp + (hex ? 3 : 2));
    if (end == std::string_view::npos || text[end] != ';') continue;
    const int32_t number = NumericReference(text.substr(amp + 1, end - amp - 1));
    if (number >= 0 && !NamesCharacter(number)) {
      Fail(tree, XmlDocument::kBadCharacterReference,
           "Character reference to no character" + Position(text, amp));
    }
  }
}

// pugixml turns a numeric character reference into the UTF-8 form of its number whatever
// the number is. References stand in element content and attribute values only, so the
// walk skips comments, CDATA sections and processing instructions and, inside tags, reads
// quoted values alone. The text has parsed, so every construct is closed.
void FailOnBadCharacterReference(XmlTree& tree, std::string_view text) {
  if (text.find("&#") == std::string_view::npos) return;
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t open = std::min(text.find('<', pos), text.size());
    CheckReferences(tree, text, pos, open);
    if (open == text.size()) return;
    const std::string_view rest = text.substr(open);
    std::string_view start, close;
    if (rest.starts_with("<!--")) {
      start = "<!--", close = "-->";
    } else if (rest.starts_with("<![CDATA[")) {
      start = "<![CDATA[", close = "]]>";
    } else if (rest.starts_with("<?")) {
      start = "<?", close = "?>";
    }
    if (!close.empty()) {
      const size_t end = text.find(close, open + start.size());
      if (end == std::string_view::npos) return;
      pos = end + close.size();
      continue;
    }
    size_t i = open + 1;
    while (i < text.size() && text[i] != '>') {
      if (text[i] == '"' || text[i] == '\'') {
        const size_t quote = std::min(text.find(text[i], i + 1), text.size());
        CheckReferences(tree, text, i + 1, quote);
        i = quote + 1;
      } else {
        ++i;
      }
    }
    pos = i + 1;
  }
}

// The same check on a tree that pugixml read from another encoding, whose text as read is
// not at hand: a bad reference shows as a value that is not UTF-8. (A NUL cannot be told
// there; it has already cut its text short.)
void FailOnNonUtf8Values(XmlTree& tree) {
  for (pugi::xml_node node = tree.doc.first_child(); node;) {
    bool valid = utf8::IsValid(node.value());
    for (pugi::xml_attribute a = node.first_attribute(); a && valid; a = a.next_attribute()) {
      valid = utf8::IsValid(a.value());
    }
    if (!valid) Fail(tree, XmlDocument::kBadCharacterReference, "Character reference to no character");
    if (node.first_child()) {
      node = node.first_child();
      continue;
    }
    while (node && !node.next_sibling()) node = node.parent();
    if (node) node = node.next_sibling();
  }
}

}  // namespace

void XmlDocument::LoadXml(const String& text) {
  auto tree = std::make_shared<XmlTree>();
  Adopt(tree);
  const TextEncoding* tag = text.Encoding();
  std::string converted;
  std::string_view bytes = text.Bytes();
  if (tag != nullptr && tag != Encodings::UTF8() && tag != Encodings::ASCII()) {
    converted = Utf8Bytes(text);
    bytes = converted;
  }
  FailOnInvalidUtf8(*tree, bytes);
  FailOnParse(*tree, tree->doc.load_buffer(bytes.data(), bytes.size(), kParseOptions, pugi::encoding_utf8),
              bytes);
  FailOnDocumentType(*tree);
  FailOnBadCharacterReference(*tree, bytes);
}

void XmlDocument::LoadXml(const FolderItemRef& file) {
  NonNil(file);
  auto tree = std::make_shared<XmlTree>();
  Adopt(tree);
  BinaryStreamRef stream;
  try {
    stream = BinaryStream::Open(file, false);
  } catch (const IOException& e) {
    Fail(*tree, pugi::status_file_not_found, "File could not be opened: " + e.Message());
  }
  String contents;
  try {
    contents = stream->Read(stream->Length(), nullptr);
  } catch (const IOException& e) {
    Fail(*tree, pugi::status_io_error, "File could not be read: " + e.Message());
  }
  const std::string& bytes = contents.Bytes();
  const pugi::xml_parse_result result =
      tree->doc.load_buffer(bytes.data(), bytes.size(), kParseOptions, pugi::encoding_auto);
  // Offsets point into the bytes as read only when no conversion took place.
  const bool asRead = result.encoding == pugi::encoding_utf8;
  FailOnParse(*tree, result, asRead ? std::string_view(bytes) : std::string_view());
  if (asRead) FailOnInvalidUtf8(*tree, bytes);
  FailOnDocumentType(*tree);
  if (asRead) {
    FailOnBadCharacterReference(*tree, bytes);
  } else {
    FailOnNonUtf8Values(*tree);
  }
}

XmlNode XmlDocument::CreateElement(const String& name) {
  const std::string bytes = Utf8Bytes(name);
  if (!IsXmlName(bytes)) throw XmlException("Not an XML name: " + bytes);
  pugi::xml_node element = tree_->Staging().append_child(pugi::node_element);
  element.set_name(bytes.c_str());
  return XmlNode(tree_, element.internal_object(), nullptr);
}

XmlNode XmlDocument::CreateComment(const String& text) {
  pugi::xml_node node = tree_->Staging().append_child(pugi::node_comment);
  const std::string bytes = Utf8Bytes(text);
  node.set_value(bytes.data(), bytes.size());
  return XmlNode(tree_, node.internal_object(), nullptr);
}

XmlNode XmlDocument::CreateTextNode(const String& text) {
  pugi::xml_node node = tree_->Staging().append_child(pugi::node_pcdata);
  const std::string bytes = Utf8Bytes(text);
  node.set_value(bytes.data(), bytes.size());
  return XmlNode(tree_, node.internal_object(), nullptr);
}

bool IsXmlName(std::string_view name) {
  if (name.empty() || !utf8::IsValid(name)) return false;
  const auto first = static_cast<unsigned char>(name[0]);
  const bool startOk = std::isalpha(first) || first == '_' || first == ':' || first >= 0x80;
  if (!startOk) return false;
  for (unsigned char c : name.substr(1)) {
    if (!(std::isalnum(c) || c == '.' || c == '-' || c == '_' || c == ':' || c >= 0x80)) return false;
  }
  return true;
}

}  // namespace grantwright
