#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/StoredText.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "fileutil/FileIcons.h"
#include "fileutil/FileKinds.h"
#include "platform/FileIO.h"
#include "platform/Log.h"
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

// Prints `out`; 0 when the item exists, 1 when not or when it cannot be printed.
int Print(const nlohmann::ordered_json& out, bool exists) {
  const std::string text =
      out.dump(2, ' ', /*ensure_ascii=*/false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  if (WriteStandardOutput(text) != 0) return Fail("cannot write to standard output");
  return exists ? 0 : 1;
}

}  // namespace

int Info(const InfoRequest& request) {
  SmartFolderItemZRNRef reference;
  FolderItemRef file;
  nlohmann::ordered_json out;
  if (request.reference) {
    std::string stored;
    if (const int error = ReadStored(request.target, stored); error != 0) {
      return Fail(request.target + ": " + ErrorText(error));
    }
    CorePreferences::Load();
    reference = SmartFolderItemZRN::Create(String(stored, nullptr));
    if (!reference) return Fail(request.target + ": holds no reference (it is empty)");
    file = reference->GetFile();
    out = {{"exists", reference->GetFileExists()},
           {"displayName", reference->GetFileDisplayName().Utf8()},
           {"kind", reference->GetFileKind().Utf8()},
           {"contentType", ContentTypeOf(file)}};
  } else {
    file = PathToFolderItem(String(request.target, nullptr));
    if (!file) return Fail("no file is named by an empty path or one holding NUL");
    out = {{"exists", file->Exists()},
           {"displayName", utf8::Sanitized(file->DisplayName().Bytes())},
           {"kind", KindMBS(file).Utf8()},
           {"contentType", ContentTypeOf(file)}};
  }
  const bool exists = out["exists"].get<bool>();
  if (const int status = Print(out, exists); status != 0 || request.iconSize == 0) return status;
  const PictureRef icon = reference ? reference->GetFileIcon(request.iconSize, nullptr)
                                    : FolderItemExtension::IconZRN(file, request.iconSize, false, request.route);
  if (!icon) return Fail("no icon of " + std::to_string(request.iconSize) + " pixels for " + request.target);
  if (!CurrentFileIcons()->WritePng(*icon, request.iconOutput)) return Fail("cannot write " + request.iconOutput);
  return 0;
}

}  // namespace grantwright::Commands
