#pragma once
// ConfigurationFile: reading the helper's configuration, from its path to the typed
// Dictionary it holds. The helper reads it before applying it, and the user's command to
// show what the helper would read.

#include <functional>

#include "platform/Dictionary.h"
#include "platform/String.h"

namespace grantwright::ConfigurationFile {

// The Dictionary the typed document at `configPath` decodes to: the file's text in any
// encoding ReadContentsSmartZRN tells, brought to UTF-8, then
// XMLExtension::AsDictionaryFromXMLStringZRN with its String values kept as the exact bytes
// they encode (a file or account name is bytes, not text in some encoding). nil after a failure, whose line has gone to
// `report` (and nothing else to it):
// - no such file, or a path that names no item: "Missing config file!"
// - the file cannot be read: "Failed to read config file!"
// - empty text, text that is no XML or nests too deep: "Failed to read XML from config file!"
// The reader's and the parser's own complaints go to the system log. Exceptions from the
// decoder's conversions pass to the caller.
DictionaryRef Read(const String& configPath, const std::function<void(const String&)>& report);

}  // namespace grantwright::ConfigurationFile
