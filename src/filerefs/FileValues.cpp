// The file values of the typed format (xml/FileValues.h) and XMLData's getters of files:
// defined here, with the references they make.

#include "xml/FileValues.h"

#include "filerefs/SmartFolderItemZRN.h"
#include "platform/UrlCoding.h"
#include "xml/XMLData.h"

namespace grantwright {

ObjectRef FileValues::ReferenceFromText(const String& text) {
  return SmartFolderItemZRN::Create(DecodingFromURL(text));
}

std::optional<String> FileValues::StoredFormOf(const ObjectRef& object) {
  const auto reference = std::dynamic_pointer_cast<SmartFolderItemZRN>(object);
  if (!reference) return std::nullopt;
  return reference->GetXML();
}

SmartFolderItemZRNRef XMLData::GetSmartFile(const String& key,
                                            const SmartFolderItemZRNRef& defaultValue) const {
  bool found = false;
  const String text = GetVariable(key, found);
  if (!found) return defaultValue;
  return SmartFolderItemZRN::Create(DecodingFromURL(text));
}

FolderItemRef XMLData::GetFile(const String& key, const FolderItemRef& defaultValue) const {
  bool found = false;
  const String text = GetVariable(key, found);
  if (!found) return defaultValue;
  const SmartFolderItemZRNRef reference = SmartFolderItemZRN::Create(DecodingFromURL(text));
  return reference ? reference->GetFile() : nullptr;
}

}  // namespace grantwright
