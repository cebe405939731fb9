#pragma once
// File values in the typed format: references to files (SmartFolderItemZRN) stand a floor
// above the XML code, which makes and writes them through these functions. They are
// defined with the references (filerefs/FileValues.cpp), in the same library, so no
// include points up.

#include <optional>

#include "platform/Object.h"
#include "platform/String.h"

namespace grantwright::FileValues {

// The datatype of a reference in the typed format.
inline constexpr const char* kReferenceDatatype = "SmartFolderItemZRN";

// The reference that the text of a typed element describes: the text URL-decoded as bytes
// (DecodingFromURL), then SmartFolderItemZRN::Create on them. nil when that gives nil.
ObjectRef ReferenceFromText(const String& text);

// The stored form (GetXML) of `object` when it is a reference; nothing otherwise.
std::optional<String> StoredFormOf(const ObjectRef& object);

}  // namespace grantwright::FileValues
