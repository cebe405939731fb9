#pragma once
// Text encodings: the fixed set of encodings the system reads and writes, and the two
// operations on a String's tag: DefineEncoding (new tag, same bytes) and ConvertEncoding
// (new bytes, new tag).
//
// Encodings are singletons compared by identity; a null pointer stands for "no encoding".
//
// The system default encoding is windows-1252 with all 256 bytes defined: the five bytes
// that the code page leaves undefined (81, 8D, 8F, 90, 9D) map to the C1 controls of the
// same value, so any bytes convert from it.

#include <string_view>

#include "platform/String.h"

namespace grantwright {

class TextEncoding {
 public:
  enum class Kind { UTF8, UTF16, UTF16LE, UTF16BE, UTF32LE, UTF32BE, ASCII, Windows1252 };

  Kind kind() const { return kind_; }
  // The encoding's internet name ("UTF-8", "UTF-16LE", "windows-1252", ...).
  const char* InternetName() const { return name_; }
  // Whether text in this encoding counts characters as code points (UTF-8/16/32).
  bool IsUnicode() const;

  // Whether `bytes` is valid text in this encoding.
  //
  // UTF-8: well-formed UTF-8 (no overlong forms, no surrogates, nothing above U+10FFFF).
  // ASCII: every byte below 0x80. windows-1252: always.
  //
  // UTF-16 and UTF-32 are held to a stricter rule, because untagged bytes are offered to
  // them before the system default and a single-byte text must not be taken for CJK text:
  // the length must be a whole number of code units; surrogates must be paired (UTF-16)
  // or absent (UTF-32); and no code point may be unassigned, a noncharacter, private-use,
  // or a C0 control other than TAB, LF and CR. UTF-16 text must moreover hold at least one
  // code point below U+0100 (a code unit with a zero byte): single-byte text has no zero
  // bytes, and read in pairs it gives code points that are almost all assigned (mostly
  // ideographs), so the rules above alone would let many such texts through, while real
  // UTF-16 text nearly always holds a blank, a line end, a digit or an ASCII sign. The
  // price is that UTF-16 text made only of characters above U+00FF and without a byte
  // order mark is not recognised. UTF-16 (without an order) honours a leading byte order
  // mark and is big-endian without one; the mark itself is not text.
  // The empty string is valid in every encoding.
  bool IsValidData(std::string_view bytes) const;

  // Use the accessors of `Encodings`; these objects are never created elsewhere.
  constexpr TextEncoding(Kind kind, const char* name) : kind_(kind), name_(name) {}
  TextEncoding(const TextEncoding&) = delete;
  TextEncoding& operator=(const TextEncoding&) = delete;

 private:
  Kind kind_;
  const char* name_;
};

namespace Encodings {
const TextEncoding* UTF8();
const TextEncoding* UTF16();  // byte order from a leading mark, big-endian without one
const TextEncoding* UTF16LE();
const TextEncoding* UTF16BE();
const TextEncoding* UTF32LE();
const TextEncoding* UTF32BE();
const TextEncoding* ASCII();
const TextEncoding* SystemDefault();  // windows-1252
}  // namespace Encodings

// The tag of a string; null for untagged bytes.
inline const TextEncoding* Encoding(const String& text) { return text.Encoding(); }

// The same bytes carrying `encoding` (null removes the tag).
String DefineEncoding(const String& text, const TextEncoding* encoding);

// The text recoded into `encoding` and tagged with it. Untagged text, and a null target,
// give the text back unchanged, because there is nothing to convert from or to. Byte
// sequences that are invalid in the source encoding become U+FFFD; characters the target
// cannot hold become "?". So a conversion into UTF-8 always gives valid UTF-8.
String ConvertEncoding(const String& text, const TextEncoding* encoding);

// Every CR LF, lone CR and lone LF replaced by `lineEnding`. UTF-16 and UTF-32 text is
// read in its own encoding and comes back in it; other text is treated byte by byte.
String ReplaceLineEndings(const String& text, const String& lineEnding);

}  // namespace grantwright
