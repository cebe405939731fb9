#pragma once
// XMLExtension: the typed XML format, read into a Dictionary of typed values, and SetString,
// the one writing helper.
//
// A typed document has a root element of any name (its name and attributes are not read).
// Each child of the root is one entry: the child's Name is the key (keys ignore case, so a
// later `owner` replaces an earlier `Owner`), and its content, read by its `datatype`
// attribute, is the value. `datatype` values ignore case ("string", "STRING"). An
// element's text is the Value of its first child node, whatever kind that is.
//
// | datatype          | value                                                          |
// |-------------------|----------------------------------------------------------------|
// | Boolean           | GlobalMethods::CBool of the text                               |
// | Color             | Val(text) cut toward zero, its low 32 bits as a Color          |
// | GMTTimeStampZRN   | ExtensionDate::GMTTimeStampToLocalDateZRN(text): a Date, or nil |
// | Double            | Val(text)                                                      |
// | Integer           | Val(text) cut toward zero to Int64 (through a double: digits   |
// |                   | beyond 2^53 are lost)                                          |
// | Dictionary        | a Dictionary of the element's children                         |
// | Picture           | the URL-decoded text's image (BinaryStringtoPicture), or nil   |
// | Single            | Val(text) as a 32-bit float                                    |
// | String            | the text URL-decoded, then brought to UTF-8                    |
// | Array             | an array of Variant of the element's children                  |
// | SmartFolderItemZRN| a file reference: SmartFolderItemZRN::Create of the URL-decoded|
// |                   | bytes (the reference's stored form), resolved once; or nil     |
// | empty or absent   | the text as it stands                                          |
// | anything else     | nil                                                            |
//
// An element without any child node is not read by the table: it gives its own Value, the
// empty String, whatever its datatype says (an empty "Dictionary" gives "", not an empty
// Dictionary). A text or comment node gives its text.
//
// Children of a "Dictionary" or "Array" that have no datatype, or an empty one, are
// skipped (so are the text and comment nodes between them). Other children of a
// "Dictionary" are set under their Name, nil values included. Other children of an
// "Array" are ordered by the number after "array_" in their Name (Val of the second field
// of the Name split on "array_", ignoring case; 0 when there is none): numerically, with
// gaps closing up, and children with the same number in document order. Their values,
// nil included, are the array's elements.
//
// At root level an element without datatype is read (its text as a String), a nil value
// leaves its key out, and an empty String is kept: an element with no child node gives an
// entry holding "".

#include "platform/Dictionary.h"
#include "platform/String.h"
#include "platform/Variant.h"
#include "platform/Xml.h"

namespace grantwright::XMLExtension {

// How deep "Dictionary" and "Array" elements may nest inside each other. A document that
// nests deeper is not decoded at all: nil, and the line "The XML could not be decoded: it
// nests containers more than 512 deep." goes to the system log.
inline constexpr int kMaxContainerDepth = 512;

// The Dictionary of the typed document `text` holds. nil for empty text (nothing is
// reported), for text that is no XML (XMLData::CreateFromString reports it in the system
// log) and for a document that nests too deep. A root without children gives an empty
// Dictionary; a comment ahead of the root element stands in for the root, so it gives one
// too. Exceptions from the conversions pass through to the caller.
//
// With StringValues::kExactBytes a "String" value is the URL-decoded bytes exactly: tagged
// UTF-8 when they are valid UTF-8, untagged otherwise, NUL bytes kept. That is how a
// configuration names files and accounts, whose names are bytes.
enum class StringValues { kUtf8Text, kExactBytes };
DictionaryRef AsDictionaryFromXMLStringZRN(const String& text,
                                           StringValues strings = StringValues::kUtf8Text);

// The value of one node, by the table above; it reads the children of "Dictionary" and
// "Array" elements itself. A nil node raises NilObjectException. A node whose containers
// nest too deep gives nil and the log line above.
Variant ToDictionaryFromXMLZRN_ParseNode(const XmlNode& node);

// Appends to `node` an element called `name` that holds one text node: `value`,
// URL-encoded (EncodingToURL) when `urlEncode` is true. No datatype is written. A nil node
// raises NilObjectException.
void SetString(XmlNode node, const String& name, const String& value, bool urlEncode);

// The typed document of `dict`, the inverse of AsDictionaryFromXMLStringZRN: an XML
// declaration, then a root element called `rootName` with one child a key, one element a
// line, indented. Values are written as:
//
// | value                 | datatype        | text                                           |
// |-----------------------|-----------------|------------------------------------------------|
// | String                | String          | its UTF-8 bytes, URL-encoded (EncodingToURL)   |
// | Boolean               | Boolean         | True or False                                  |
// | Int32, Int64          | Integer         | decimal (read back exactly up to 2^53)         |
// | Double, Single        | Double, Single  | the shortest decimal that reads back the same  |
// | Date                  | GMTTimeStampZRN | LocalDateToGMTTimeStampZRN (whole seconds)      |
// | Color                 | Color           | the 32-bit value in decimal                    |
// | Dictionary            | Dictionary      | its entries as child elements                  |
// | array of any type     | Array           | elements array_0, array_1, ... (ArrayValueZRN) |
// | SmartFolderItemZRN    | SmartFolderItemZRN | its GetXML, URL-encoded                      |
//
// Nil values and nil array elements are left out (an array closes up around them). An
// empty Dictionary or array holds one comment, so that it reads back as an empty container
// rather than as an empty String. Keys are the entries' text; a key that is no XML name
// raises XmlException, and a value of any other type (a Picture, a FolderItem, ...) raises
// TypeMismatchException. Doubles that are not finite have no decimal form and read back as
// 0. A nil dictionary raises NilObjectException.
String AsXMLStringFromDictionaryZRN(const DictionaryRef& dict, const String& rootName);

// Appends to `parent` the element `name` holding `value` as the table above says. A nil
// parent raises NilObjectException.
void ToXMLFromDictionaryZRN_AppendValue(XmlNode parent, const String& name, const Variant& value);

}  // namespace grantwright::XMLExtension
