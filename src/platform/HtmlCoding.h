#pragma once
// Replacing HTML character references by the characters they stand for.
//
// DecodingFromHTML reads the text as UTF-8 and replaces, each written with its closing
// ";":
// - the five XML entities: &amp; &lt; &gt; &quot; &apos;
// - the 96 Latin-1 entities of HTML, &nbsp; (U+00A0) to &yuml; (U+00FF), names
//   case-sensitive as in HTML (&Eacute; is not &eacute;)
// - decimal and hexadecimal references, &#233; and &#xE9; (or &#XE9;); a reference to 0,
//   to a surrogate or beyond U+10FFFF gives U+FFFD.
// Anything else, unknown names and references without ";" included, stays as written.
// The result is tagged UTF-8.

#include <cstdint>
#include <string_view>

#include "platform/String.h"

namespace grantwright {

String DecodingFromHTML(const String& text);

// The number that the body of a numeric character reference writes ("#233", "#xE9" or
// "#XE9": the text between "&" and ";"), held at 0x110000 once past the Unicode range;
// -1 when the body is no such number.
int32_t NumericReference(std::string_view body);
// Whether a reference to `number` names a character: a Unicode scalar value other than 0.
bool NamesCharacter(int32_t number);

}  // namespace grantwright
