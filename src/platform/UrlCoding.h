#pragma once
// Percent-encoding of strings.
//
// EncodingToURL escapes every byte outside A-Z a-z 0-9 - _ . ~ as %XX (upper-case hex),
// so blanks, "+" and "%" survive a round trip; the result is ASCII tagged UTF-8.
// DecodingFromURL turns every %XX (either case of hex digit) back into its byte and leaves
// everything else, "+" included, as it is; a "%" not followed by two hex digits stays.
// The decoded bytes are untagged: they may be any bytes, and the caller says how to read
// them. So DecodingFromURL(EncodingToURL(s)) gives back exactly the bytes of s.

#include <string>
#include <string_view>

#include "platform/String.h"

namespace grantwright {

String EncodingToURL(const String& text);
String DecodingFromURL(const String& text);
// DecodingFromURL on bytes that are not yet a String.
std::string DecodedURLBytes(std::string_view bytes);

}  // namespace grantwright
