#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/StoredText.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "fileutil/FileKinds.h"
#include "platform/FileIO.h"
#include "platform/Log.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"
#include "prefs/CorePreferences.h"

namespace grantwright::Commands {

namespace {

int Fail(const std::string& message) {
  MsgBox(String("grantwright: " + message));
  return 1;
}

// The content type of `file` as JSON: null for no file or none known.
nlohmann::ordered_json ContentTypeOf(const FolderItemRef& file) {
  FileKinds* kinds = CurrentFileKinds();
  const std::string type = file && kinds ? kinds->ContentType(file->NativePath()) : std::string();
  return type.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(type);
}

int Print(const nlohmann::ordered_json& out, bool exists) {
  const std::string text =
      out.dump(2, ' ', /*ensure_ascii=*/false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  if (WriteStandardOutput(text) != 0) return Fail("cannot write to standard output");
  return exists ? 0 : 1;
}

}  // namespace

int Info(const std::string& path) {
  const FolderItemRef file = PathToFolderItem(String(path, nullptr));
  if (!file) return Fail("no file is named by an empty path or one holding NUL");
  const bool exists = file->Exists();
  return Print({{"exists", exists},
                {"displayName", utf8::Sanitized(file->DisplayName().Bytes())},
                {"kind", KindMBS(file).Utf8()},
                {"contentType", ContentTypeOf(file)}},
               exists);
}

int InfoOfReference(const std::string& storedPath) {
  std::string stored;
  if (const int error = ReadStored(storedPath, stored); error != 0) {
    return Fail(storedPath + ": " + ErrorText(error));
  }
  CorePreferences::Load();
  const SmartFolderItemZRNRef reference = SmartFolderItemZRN::Create(String(stored, nullptr));
  if (!reference) return Fail(storedPath + ": holds no reference (it is empty)");
  const bool exists = reference->GetFileExists();
  return Print({{"exists", exists},
                {"displayName", reference->GetFileDisplayName().Utf8()},
                {"kind", reference->GetFileKind().Utf8()},
                {"contentType", ContentTypeOf(reference->GetFile())}},
               exists);
}

}  // namespace grantwright::Commands
