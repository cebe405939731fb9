#include "config/ConfigurationFile.h"

#include <string>

#include "fileutil/FolderItemExtension.h"
#include "platform/FolderItem.h"
#include "platform/Log.h"
#include "xml/XMLExtension.h"

namespace grantwright::ConfigurationFile {

DictionaryRef Read(const String& configPath, const std::function<void(const String&)>& report) {
  const FolderItemRef configFile = PathToFolderItem(configPath);
  // One look at the file tells both whether it exists and its length.
  const uint64_t length = configFile ? configFile->Length() : 0;
  if (!configFile || configFile->LastErrorCode() != 0) {
    report("Missing config file!");
    return nullptr;
  }
  if (length > kMaxBytes) {
    System::DebugLog(String("Configuration file is larger than " + std::to_string(kMaxBytes) +
                            " bytes, not read: " + configFile->NativePath()));
    report("Failed to read config file!");
    return nullptr;
  }
  String text;
  const bool read = FolderItemExtension::ReadContentsSmartZRN(
      configFile, text, /*overrideEncoding=*/nullptr, /*showErrorDialog=*/false,
      /*replaceLineEndings=*/false, /*forceUTF8=*/true);
  if (!read) {
    report("Failed to read config file!");
    return nullptr;
  }
  const DictionaryRef config = XMLExtension::AsDictionaryFromXMLStringZRN(text, XMLExtension::StringValues::kExactBytes);
  if (!config) report("Failed to read XML from config file!");
  return config;
}

}  // namespace grantwright::ConfigurationFile
