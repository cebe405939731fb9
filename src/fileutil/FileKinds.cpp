#include "fileutil/FileKinds.h"

#include "platform/TextEncoding.h"
#include "platform/Utf8.h"

namespace grantwright {

namespace {
FileKinds* installed = nullptr;
}  // namespace

FileKinds* InstallFileKinds(FileKinds* kinds) {
  FileKinds* before = installed;
  installed = kinds;
  return before;
}

FileKinds* CurrentFileKinds() { return installed; }

String KindMBS(const FolderItemRef& file) {
  if (!file || !installed) return "unknown";
  const std::string type = installed->ContentType(file->NativePath());
  const std::string kind = type.empty() ? std::string() : installed->Description(type);
  if (kind.empty()) return "unknown";
  return String(utf8::Sanitized(kind), Encodings::UTF8());
}

}  // namespace grantwright
