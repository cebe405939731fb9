#pragma once
// The check of numeric character references in the text of an XML document.

#include <cstddef>
#include <string_view>

namespace grantwright {

// The offset of the "&" of the first numeric character reference in `text` that names no
// character (&#0;, a surrogate, a number past U+10FFFF); npos when there is none.
// References are read where they count, in element content and attribute values, as
// pugixml reads them: "&#" then decimal digits, or "x" and hex digits, then ";" (anything
// else after "&#" stays text). Comments, CDATA sections and processing instructions are
// skipped. `text` must be a document that has parsed, so that every construct in it is
// closed. Linear in the size of `text`.
size_t FirstBadCharacterReference(std::string_view text);

}  // namespace grantwright
