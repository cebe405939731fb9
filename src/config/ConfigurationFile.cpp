#include "config/ConfigurationFile.h"

#include <string>

#include "fileutil/FolderItemExtension.h"
#include "platform/BinaryStream.h"
#include "platform/Exceptions.h"
#include "platform/FolderItem.h"
#include "platform/Log.h"
#include "xml/XMLExtension.h"

namespace grantwright::ConfigurationFile {

DictionaryRef Read(const String& configPath, const std::function<void(const String&)>& report) {
  const FolderItemRef configFile = PathToFolderItem(configPath);
  if (!configFile) {
    report("Missing config file!");
    return nullptr;
  }
  // The open gives a readable file's length. Only when it fails is the path looked at, to
  // tell a file that is not there from one that cannot be read.
  BinaryStreamRef stream;
  try {
    stream = BinaryStream::Open(configFile, /*readWrite=*/false);
  } catch (const IOException&) {
    configFile->Length();
    if (configFile->LastErrorCode() != 0) {
      report("Missing config file!");
      return nullptr;
    }
  }
  if (stream && stream->Length() > kMaxBytes) {
    System::DebugLog(String("Configuration file is larger than " + std::to_string(kMaxBytes) +
                            " bytes, not read: " + configFile->NativePath()));
    report("Failed to read config file!");
    return nullptr;
  }
  // A file found but not opened is tried again by the reader, which says why it fails.
  String text;
  const auto readFrom = [&text](const auto& source) {
    return FolderItemExtension::ReadContentsSmartZRN(source, text, /*overrideEncoding=*/nullptr,
                                                     /*showErrorDialog=*/false,
                                                     /*replaceLineEndings=*/false, /*forceUTF8=*/true);
  };
  const bool read = stream ? readFrom(stream) : readFrom(configFile);
  if (!read) {
    report("Failed to read config file!");
    return nullptr;
  }
  const DictionaryRef config = XMLExtension::AsDictionaryFromXMLStringZRN(text, XMLExtension::StringValues::kExactBytes);
  if (!config) report("Failed to read XML from config file!");
  return config;
}

}  // namespace grantwright::ConfigurationFile
