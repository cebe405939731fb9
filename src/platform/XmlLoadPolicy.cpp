#include "platform/XmlLoadPolicy.h"

#include <new>

#include "platform/Utf8.h"
#include "platform/XmlCharacterReferences.h"

namespace grantwright::XmlLoadPolicy {

namespace {

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

// Whether a declaration (pugixml's value of it: the text between "<!DOCTYPE" and its ">")
// has an internal subset: a "[" outside the quoted literals of its external DTD's name.
bool HasInternalSubset(std::string_view declaration) {
  for (size_t i = 0; i < declaration.size(); ++i) {
    const char c = declaration[i];
    if (c == '[') return true;
    if (c == '"' || c == '\'') {
      const size_t close = declaration.find(c, i + 1);
      if (close == std::string_view::npos) return false;
      i = close;
    }
  }
  return false;
}

// Drops an accepted declaration from the tree; false when one is refused.
bool TakeDocumentType(pugi::xml_document& document) {
  for (pugi::xml_node child = document.first_child(); child; child = child.next_sibling()) {
    if (child.type() != pugi::node_doctype) continue;
    if (HasInternalSubset(child.value())) return false;
    document.remove_child(child);
    return true;
  }
  return true;
}

// Whether every value of the tree (text, comments, attributes) is well-formed UTF-8. The
// walk is iterative: nesting depth is limited by memory only.
bool ValuesAreUtf8(const pugi::xml_document& document) {
  for (pugi::xml_node node = document.first_child(); node;) {
    if (!utf8::IsValid(node.value())) return false;
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
      if (!utf8::IsValid(a.value())) return false;
    }
    if (node.first_child()) {
      node = node.first_child();
      continue;
    }
    while (node && !node.next_sibling()) node = node.parent();
    if (node) node = node.next_sibling();
  }
  return true;
}

}  // namespace

Outcome Load(pugi::xml_document& document, std::string_view bytes, unsigned options,
             pugi::xml_encoding encoding) {
  const pugi::xml_parse_result result =
      document.load_buffer(bytes.data(), bytes.size(), options | pugi::parse_doctype, encoding);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  // Offsets point into the bytes as read only when pugixml converted nothing.
  const bool asRead = result.encoding == pugi::encoding_utf8;
  if (asRead) {
    if (const size_t bad = utf8::FirstInvalid(bytes); bad != std::string_view::npos) {
      return {kInvalidUtf8, "Invalid UTF-8 byte sequence" + Position(bytes, bad)};
    }
  }
  if (!result) {
    return {result.status,
            result.description() + Position(asRead ? bytes : std::string_view(), static_cast<size_t>(result.offset))};
  }
  if (!TakeDocumentType(document)) {
    return {kDocumentTypeRefused, "A document type declaration with an internal subset is not read"};
  }
  if (asRead) {
    if (const size_t bad = FirstBadCharacterReference(bytes); bad != std::string_view::npos) {
      return {kBadCharacterReference, "Character reference to no character" + Position(bytes, bad)};
    }
  } else if (!ValuesAreUtf8(document)) {
    return {kBadCharacterReference, "Character reference to no character"};
  }
  return {};
}

}  // namespace grantwright::XmlLoadPolicy
