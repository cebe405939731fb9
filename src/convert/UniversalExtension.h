#pragma once
// UniversalExtension: text normalisation and array normalisation, on which every reader of
// outside text and every walker of dynamic arrays relies.

#include <vector>

#include "platform/Dictionary.h"
#include "platform/String.h"
#include "platform/Variant.h"

namespace grantwright::UniversalExtension {

// Text tagged UTF-8 with no NUL byte.
//
// - Text already tagged UTF-8 comes back unchanged (NUL bytes included): it is not scanned.
// - Untagged bytes take the first of UTF-8, UTF-16LE, UTF-16BE, UTF-16 and the system
//   default (windows-1252) whose IsValidData accepts them, and are converted from it.
// - Text with another tag is converted from it.
// Then every NUL is removed. When the text cannot be given a tag at all, the line
// "Failed to convert Text Encoding from Nil: " followed by the text goes to the system
// log and the text goes on as it stands; this is no failure for the caller.
String EnsureUTF8EncodingZRN(const String& s);

// Percent-decoding (DecodingFromURL) followed by EnsureUTF8EncodingZRN.
String DecodingFromURLZRN(const String& s);

// The elements of any array as an array of Variant, each element in a Variant (objects
// shared, not copied). A value that is nil or no array, and an array of element type 0,
// give an empty array. An array of objects is read as an array of Dictionary first, then
// as an array of objects, in which an element that is itself an array becomes one element
// holding ArrayValueZRN of it. When neither read fits, the line "Failed to convert variant
// to correct type." goes to the system log and element 0 of the value is read as an array
// of objects instead (TypeMismatchException when that fails too). A mismatch between the
// element type an array reports and its contents raises TypeMismatchException.
std::vector<Variant> ArrayValueZRN(const Variant& value);

// The text of the usable elements of the array of Variant or of objects stored under `key`:
// nil elements, objects (but Dates) and nested arrays are skipped, everything else gives
// its text form. A nil `dict`,
// a missing key and a value that is no array give an empty array; an array of another
// element type (a typed array of String, say) raises TypeMismatchException.
std::vector<String> StringArrayValueZRN(const DictionaryRef& dict, const String& key);

}  // namespace grantwright::UniversalExtension
