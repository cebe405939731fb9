#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/StoredText.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "platform/FileIO.h"
#include "platform/Log.h"
#include "prefs/CorePreferences.h"

namespace grantwright::Commands {

namespace {

int Fail(const std::string& message) {
  MsgBox(String("grantwright: " + message));
  return 1;
}

const char* RouteName(SmartFolderItemZRN::Route route) {
  switch (route) {
    case SmartFolderItemZRN::Route::kCached: return "cached";
    case SmartFolderItemZRN::Route::kRelativeData: return "relative data";
    case SmartFolderItemZRN::Route::kURLPath: return "url path";
    case SmartFolderItemZRN::Route::kShellPath: return "shell path";
    case SmartFolderItemZRN::Route::kNativePath: return "native path";
    case SmartFolderItemZRN::Route::kNone: break;
  }
  return nullptr;
}

}  // namespace

int Resolve(const std::string& storedPath) {
  std::string stored;
  if (const int error = ReadStored(storedPath, stored); error != 0) {
    return Fail(storedPath + ": " + ErrorText(error));
  }
  CorePreferences::Load();
  const SmartFolderItemZRNRef reference = SmartFolderItemZRN::Create(String(stored, nullptr));
  if (!reference) return Fail(storedPath + ": holds no reference (it is empty)");
  // Create resolved the record once: that is the search whose way is told.
  const SmartFolderItemZRN::Route route = reference->LastRoute();
  const FolderItemRef file = reference->GetFile();
  const bool exists = file && file->Exists();
  using nlohmann::ordered_json;
  ordered_json out{{"path", nullptr}, {"exists", exists}, {"via", nullptr},
                   {"displayName", reference->GetFileDisplayName().Utf8()},
                   {"reference", reference->GetXML().Utf8()}};
  if (file) out["path"] = file->NativePath();
  if (const char* via = RouteName(route)) out["via"] = via;
  const std::string text =
      out.dump(2, ' ', /*ensure_ascii=*/false, ordered_json::error_handler_t::replace) + "\n";
  if (WriteStandardOutput(text) != 0) return Fail("cannot write to standard output");
  return exists ? 0 : 1;
}

}  // namespace grantwright::Commands
