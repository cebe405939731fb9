#pragma once
// XmlLoadPolicy: how every reader of XML from outside the program loads it (XmlDocument,
// and through it the typed format and XMLData; the preference store's property lists).
// One set of rules, so that no reader is laxer than another:
//
// - Document type declarations. None is ever processed: no entity is declared, expanded
//   or fetched, no default is applied, and no file or URL is read for a document. A
//   declaration that only names the document's type, with or without an external DTD
//   (`<!DOCTYPE plist PUBLIC "..." "...">`, which writers of property lists put in), is
//   accepted and dropped: it declares nothing itself, and the document reads as its
//   writer meant without the DTD. A declaration with an internal subset
//   (`<!DOCTYPE r [ ... ]>`) is refused (kDocumentTypeRefused): the entities and defaults
//   it declares would be ignored, so the document would not read as its writer meant.
// - Text that pugixml reads as UTF-8 must be well-formed UTF-8 (kInvalidUtf8): its
//   encoding is then not what it claims.
// - A character reference to no character (&#0;, a surrogate, a number past U+10FFFF) is
//   refused (kBadCharacterReference): pugixml would turn it into bytes that are not UTF-8,
//   or cut its text short at a NUL. References to other code points that XML text may not
//   hold, such as control characters, are read: pugixml writes such characters as
//   references itself. In text converted from another encoding, where the text as read is
//   gone, a bad reference is found as a value that is not UTF-8 (a NUL is not found
//   there: it has already cut its value short).
//
// Each rule reads the bytes once: loading stays linear in the size of the text.

#include <pugixml.hpp>

#include <string>
#include <string_view>

namespace grantwright::XmlLoadPolicy {

// Error numbers of the policy's refusals. Every other error number of a load is pugixml's
// status code (1 file not found, 2 read error, 5 to 16 syntax errors).
inline constexpr int kInvalidUtf8 = 100;
inline constexpr int kDocumentTypeRefused = 101;
inline constexpr int kBadCharacterReference = 102;

// Why a load failed: an error number and a message that says where, " at line L, column C"
// (in bytes, from 1) when the bytes as read are at hand. Error number 0 after success.
struct Outcome {
  int errorNumber = 0;
  std::string message;
};

// Parses `bytes` into `document` with pugixml's `options` and `encoding`
// (pugi::encoding_auto finds it from a byte order mark, the first bytes or the
// declaration), then holds the document to the rules above. An accepted document type
// declaration is not in the tree. After a failure `document` holds what pugixml made of
// the bytes; the caller drops it. Running out of memory is no outcome: it throws
// std::bad_alloc.
Outcome Load(pugi::xml_document& document, std::string_view bytes, unsigned options,
             pugi::xml_encoding encoding);

}  // namespace grantwright::XmlLoadPolicy
