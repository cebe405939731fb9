#pragma once
// PropertyList: the XML property-list format, in which the preference store keeps its
// files, read into store objects and written from them.
//
// A document is one <plist> element around one value:
//   <dict>      <key>text</key> followed by its value, any number of times
//   <array>     values in order
//   <string>    text (written with &, <, > and control characters escaped)
//   <integer>   a signed 64-bit decimal integer
//   <real>      a double, written in the shortest form that reads back bit for bit;
//               "nan", "+infinity" and "-infinity" for the values without digits
//   <true/> <false/>
//   <date>      ISO 8601 in UTC, "2001-01-01T00:00:00Z"; whole seconds are written (a
//               fraction is dropped toward the past), a fraction is read
//   <data>      base64
//
// Reading loads the XML under XmlLoadPolicy, and accepts what other writers of the format
// produce: an XML declaration and the format's document type declaration, any
// indentation, empty elements such as <string/>, CDATA sections, base64 in lines, real and
// integer text with blanks around it, "inf"/"infinity" in any case, raw carriage returns
// (kept as they are). An
// <integer> beyond the 64-bit signed range reads as a Double. Nesting deeper than 512
// levels is refused. A dictionary key that comes twice keeps its later value.

#include <string>
#include <string_view>

#include "platform/StoreObject.h"

namespace grantwright::PropertyList {

// The value the document `bytes` holds; nil when the bytes are no well-formed XML, have
// no <plist> root with exactly one value, or hold an element, number, date or base64 text
// the format does not allow.
StoreObjectRef Parse(std::string_view bytes);

// Writes `root` as a complete document (UTF-8, ending in a line end) into `out`. False,
// with `out` unspecified, when `root` holds something the format cannot express: a URL,
// a UUID, a dictionary key that is no string, a string or key holding a NUL character, a
// date without calendar form, or nesting
// deeper than 512 levels.
bool Serialize(const StoreObject& root, std::string& out);

// Whether `a` and `b` are written alike: the same type and content, where any two
// numbers of floating type compare by the double written (a Single as its exact double
// value, every NaN alike), dates by their whole seconds, and dictionaries regardless of
// key order. Objects the format cannot express are never alike.
bool SameContent(const StoreObject& a, const StoreObject& b);

}  // namespace grantwright::PropertyList
