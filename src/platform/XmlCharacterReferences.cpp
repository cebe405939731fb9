#include "platform/XmlCharacterReferences.h"

#include <algorithm>
#include <cstdint>

#include "platform/HtmlCoding.h"

namespace grantwright {

namespace {

constexpr size_t kNone = std::string_view::npos;

// The first bad reference in text[from, to), which holds element content or an attribute
// value.
size_t FirstBadIn(std::string_view text, size_t from, size_t to) {
  // Searches end at `to`: a walk over many short ranges stays linear in the text.
  const std::string_view range = text.substr(0, to);
  for (size_t amp = range.find('&', from); amp != kNone; amp = range.find('&', amp + 1)) {
    if (amp + 1 == to || text[amp + 1] != '#') continue;
    const bool hex = amp + 2 < to && text[amp + 2] == 'x';  // pugixml takes no "X"
    const size_t end = range.find_first_not_of(hex ? "0123456789abcdefABCDEF" : "0123456789", amp + (hex ? 3 : 2));
    if (end == kNone || text[end] != ';') continue;
    const int32_t number = NumericReference(text.substr(amp + 1, end - amp - 1));
    if (number >= 0 && !NamesCharacter(number)) return amp;
  }
  return kNone;
}

}  // namespace

size_t FirstBadCharacterReference(std::string_view text) {
  if (text.find("&#") == kNone) return kNone;
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t open = std::min(text.find('<', pos), text.size());
    if (const size_t bad = FirstBadIn(text, pos, open); bad != kNone) return bad;
    if (open == text.size()) return kNone;
    const std::string_view rest = text.substr(open);
    std::string_view start, close;
    if (rest.starts_with("<!--")) {
      start = "<!--", close = "-->";
    } else if (rest.starts_with("<![CDATA[")) {
      start = "<![CDATA[", close = "]]>";
    } else if (rest.starts_with("<?")) {
      start = "<?", close = "?>";
    }
    if (!close.empty()) {
      const size_t end = text.find(close, open + start.size());
      if (end == kNone) return kNone;
      pos = end + close.size();
      continue;
    }
    // Inside a tag only quoted values hold references.
    size_t i = open + 1;
    while (i < text.size() && text[i] != '>') {
      if (text[i] == '"' || text[i] == '\'') {
        const size_t quote = std::min(text.find(text[i], i + 1), text.size());
        if (const size_t bad = FirstBadIn(text, i + 1, quote); bad != kNone) return bad;
        i = quote + 1;
      } else {
        ++i;
      }
    }
    pos = i + 1;
  }
  return kNone;
}

}  // namespace grantwright
