#pragma once
// String: a byte string that carries an encoding tag.
//
// The bytes are held as they are; the tag (a TextEncoding, or null for untagged bytes)
// says how to read them. Nothing here converts bytes behind the caller's back: tagging
// (DefineEncoding) and converting (ConvertEncoding) are separate operations.
//
// Comparison with == ignores case, as every text comparison of the system does: both
// sides are read as Unicode (converted to UTF-8 when tagged otherwise) and compared code
// point by code point under simple case folding, with a fast path for ASCII. Bytes that
// are not valid UTF-8 compare exactly. Use Identical() for an exact byte comparison.
//
// Character counts and positions (Len, InStr, NthField) count code points for text tagged
// UTF-8, UTF-16 or UTF-32 and bytes otherwise; positions start at 1 and 0 means "not found".
// The "B" functions (InStrB) count bytes.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace grantwright {

class TextEncoding;

class String {
 public:
  String() = default;
  // Text from our own source code or from a UTF-8 library: tagged UTF-8.
  String(const char* utf8);  // NOLINT(google-explicit-constructor)
  String(std::string utf8);  // NOLINT(google-explicit-constructor)
  String(std::string_view utf8);  // NOLINT(google-explicit-constructor)
  // Bytes with an explicit tag; null leaves them untagged.
  String(std::string bytes, const TextEncoding* encoding);

  const std::string& Bytes() const { return bytes_; }
  const TextEncoding* Encoding() const { return encoding_; }
  bool IsEmpty() const { return bytes_.empty(); }
  size_t LenB() const { return bytes_.size(); }

  // The text as UTF-8 bytes: the bytes themselves when tagged UTF-8, ASCII or untagged,
  // else converted. Used where the system hands text to a UTF-8 interface (XML, syslog).
  std::string Utf8() const;

  // Equal ignoring case (simple Unicode case folding).
  friend bool operator==(const String& a, const String& b);
  friend bool operator==(const String& a, const char* b) { return a == String(b); }

 private:
  std::string bytes_;
  const TextEncoding* encoding_ = nullptr;
};

// The text in UTF-8 under simple case folding: two Strings are == exactly when their
// folded forms are the same bytes. Used to index texts that compare ignoring case.
std::string CaseFolded(const String& text);

// Exact comparison: same bytes (the tag is not compared).
bool Identical(const String& a, const String& b);

// The platform's line end.
extern const char* const EndOfLine;

// Number of characters (see the header comment for what a character is).
int64_t Len(const String& text);

// The first `count` characters; the characters from position `start` (from 1) to the end.
String Left(const String& text, int64_t count);
String Mid(const String& text, int64_t start);

// Position (from 1) of `find` in `source` at or after character `start` (from 1), ignoring
// case; 0 when not found. An empty `find` is not found.
int64_t InStr(int64_t start, const String& source, const String& find);
inline int64_t InStr(const String& source, const String& find) { return InStr(1, source, find); }

// Byte position (from 1) of `find` in `source` at or after byte `start` (0 and 1 both mean
// the first byte), exact; 0 when not found or when `find` is empty.
int64_t InStrB(int64_t start, const String& source, const String& find);

// Field `index` (from 1) of `text` split on `separator` (ignoring case); empty when there
// are fewer fields, when `index` is below 1 or when `separator` is empty and index > 1
// (an empty separator makes the whole text field 1).
String NthField(const String& text, const String& separator, int64_t index);

// Every occurrence of `find` (ignoring case) replaced by `replacement`; the result keeps
// the tag of `source`. An empty `find` changes nothing.
String ReplaceAll(const String& source, const String& find, const String& replacement);

// The number the text begins with, as a double; 0 when there is none. Leading blanks and
// tabs are skipped; then an optional sign, digits with an optional fraction and exponent.
// "&h", "&o" and "&b" prefixes read hexadecimal, octal and binary integers. Nothing else
// (no "inf", "nan" or "0x") is read.
double Val(const String& text);

// `value` truncated toward zero; values beyond the 64-bit range saturate, NaN gives 0.
int64_t TruncateToInt64(double value);

// Whether the whole text (blanks around it allowed) reads as a decimal number.
bool IsNumeric(const String& text);

// Decimal text of an integer, with a minus sign when negative.
String Str(int64_t value);
// Decimal text of a double: the shortest form that reads back to the same value.
String Str(double value);

String Join(const std::vector<String>& items, const String& separator);

// Concatenation: the result is tagged UTF-8 when either side is; bytes are joined as they are.
String operator+(const String& a, const String& b);

}  // namespace grantwright
