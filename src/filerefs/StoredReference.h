#pragma once
// The stored form of a SmartFolderItemZRN, without resolving anything: the six fields
// written as the XML document SmartFolderItemZRN::GetXML gives, and read back.
//
// Every value is URL-encoded, the two binary fields (rel_data, mac_bookmark_data) byte for
// byte. Reading goes by element name, so order does not matter; a missing element reads
// as empty, other elements are ignored. The binary fields come back as their bytes,
// untagged; the four text fields come back as valid UTF-8 without NUL bytes
// (UniversalExtension::DecodingFromURLZRN), so a name that is not UTF-8 survives only in
// the relative data. The reader is linear in the text and reads what XMLData reads.

#include "filerefs/SmartFolderItemZRN.h"
#include "platform/String.h"

namespace grantwright::StoredReference {

// The document of the record's six fields, as they are.
String Write(const SmartFolderItemZRN& record);

// Reads the six fields of the document `text` into `record`. False, with the record
// untouched, when the text is no XML (XMLData::CreateFromString, which logs the parse
// failure).
bool Read(const String& text, SmartFolderItemZRN& record);

}  // namespace grantwright::StoredReference
