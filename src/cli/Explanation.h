#pragma once
// What `grantwright explain` prints for a configuration: JSON with every decoded value and
// its type under "configuration", and under "record" what the helper would apply, or the
// line and status it would end with instead.

#include <string>

#include "platform/Dictionary.h"

namespace grantwright::Commands {

// The explanation of `config` (not nil) as indented JSON text with a final line end. Text
// that is not UTF-8 shows with U+FFFD in place of its bad bytes. Time and memory grow in
// proportion to the number of values: the text is written member after member, with no
// document tree and no lookup of the members before. Running out of memory throws
// std::bad_alloc; it is never shown as the helper's ending.
std::string Explanation(const DictionaryRef& config);

}  // namespace grantwright::Commands
