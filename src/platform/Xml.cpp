#include "platform/Xml.h"

#include <pugixml.hpp>

#include <cctype>
#include <new>

#include "platform/BinaryStream.h"
#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"
#include "platform/XmlLoadPolicy.h"

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
    if (staging == nullptr) throw std::bad_alloc();
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

constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_comments;

pugi::xml_node Node(pugi::xml_node_struct* node) { return pugi::xml_node(node); }

// The text in UTF-8: untagged bytes as they are, text with another tag converted.
std::string Utf8Bytes(const String& text) {
  return ConvertEncoding(text, Encodings::UTF8()).Bytes();
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
  if (done) return;
  const pugi::xml_node_type type = Node(node_).type();
  // A node that holds text fails only for want of memory.
  if (attribute_ != nullptr || type == pugi::node_pcdata || type == pugi::node_cdata ||
      type == pugi::node_comment || type == pugi::node_pi || type == pugi::node_doctype) {
    throw std::bad_alloc();
  }
  throw XmlException("This kind of node holds no text of its own");
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
  for (size_t i = 0; i < index && child; ++i) child = child.NextSibling();
  return child;
}

XmlNode XmlNode::FirstChild() const {
  RequireNode();
  if (attribute_ != nullptr) return XmlNode();
  pugi::xml_node c = Node(node_).first_child();
  if (tree_->IsStaging(c)) c = c.next_sibling();
  return c ? XmlNode(tree_, c.internal_object(), nullptr) : XmlNode();
}

XmlNode XmlNode::NextSibling() const {
  RequireNode();
  if (attribute_ != nullptr) return XmlNode();
  const pugi::xml_node self = Node(node_);
  // Nodes waiting to be appended are no siblings of each other.
  if (tree_->IsStaging(self.parent())) return XmlNode();
  pugi::xml_node c = self.next_sibling();
  if (tree_->IsStaging(c)) c = c.next_sibling();
  return c ? XmlNode(tree_, c.internal_object(), nullptr) : XmlNode();
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
    if (name == a.name()) return a.value();
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
  // On an element, pugixml fails these only for want of memory.
  if (!a || !a.set_value(Utf8Bytes(value).c_str())) throw std::bad_alloc();
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

const int XmlDocument::kInvalidUtf8 = XmlLoadPolicy::kInvalidUtf8;
const int XmlDocument::kDocumentTypeRefused = XmlLoadPolicy::kDocumentTypeRefused;
const int XmlDocument::kBadCharacterReference = XmlLoadPolicy::kBadCharacterReference;

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

// Loads `bytes` under the one policy for outside XML; a refusal empties the document.
void Load(XmlTree& tree, std::string_view bytes, pugi::xml_encoding encoding) {
  const XmlLoadPolicy::Outcome outcome = XmlLoadPolicy::Load(tree.doc, bytes, kParseOptions, encoding);
  if (outcome.errorNumber != 0) Fail(tree, outcome.errorNumber, outcome.message);
}

}  // namespace

void XmlDocument::LoadXml(const String& text) {
  auto tree = std::make_shared<XmlTree>();
  Adopt(tree);
  const TextEncoding* tag = text.Encoding();
  if (tag != nullptr && tag != Encodings::UTF8() && tag != Encodings::ASCII()) {
    Load(*tree, Utf8Bytes(text), pugi::encoding_utf8);
  } else {
    Load(*tree, text.Bytes(), pugi::encoding_utf8);
  }
}

void XmlDocument::LoadXml(const FolderItemRef& file) {
  NonNil(file);
  auto tree = std::make_shared<XmlTree>();
  Adopt(tree);
  BinaryStreamRef stream;
  try {
    stream = BinaryStream::Open(file, /*readWrite=*/false);
  } catch (const IOException& e) {
    Fail(*tree, pugi::status_file_not_found, "File could not be opened: " + e.Message());
  }
  String contents;
  try {
    contents = stream->Read(stream->Length(), nullptr);
  } catch (const IOException& e) {
    Fail(*tree, pugi::status_io_error, "File could not be read: " + e.Message());
  }
  Load(*tree, contents.Bytes(), pugi::encoding_auto);
}

XmlNode XmlDocument::CreateElement(const String& name) {
  const std::string bytes = Utf8Bytes(name);
  if (!IsXmlName(bytes)) throw XmlException("Not an XML name: " + bytes);
  pugi::xml_node element = tree_->Staging().append_child(pugi::node_element);
  // Below the staging element, pugixml fails these only for want of memory.
  if (!element || !element.set_name(bytes.c_str())) throw std::bad_alloc();
  return XmlNode(tree_, element.internal_object(), nullptr);
}

XmlNode XmlDocument::CreateComment(const String& text) {
  pugi::xml_node node = tree_->Staging().append_child(pugi::node_comment);
  const std::string bytes = Utf8Bytes(text);
  if (!node || !node.set_value(bytes.data(), bytes.size())) throw std::bad_alloc();
  return XmlNode(tree_, node.internal_object(), nullptr);
}

XmlNode XmlDocument::CreateTextNode(const String& text) {
  pugi::xml_node node = tree_->Staging().append_child(pugi::node_pcdata);
  const std::string bytes = Utf8Bytes(text);
  if (!node || !node.set_value(bytes.data(), bytes.size())) throw std::bad_alloc();
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
