#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "platform/FileIO.h"
#include "platform/Log.h"
#include "prefs/CorePreferences.h"

namespace grantwright::Commands {

namespace {

// A stored reference is a few hundred bytes; a file far larger is no stored reference.
constexpr size_t kMaxStoredSize = 1 << 20;

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

// The whole content of `path`, less one trailing line end; 0 or the errno of the read.
int ReadStored(const std::string& path, std::string& content) {
  if (const int error = ReadWholeFile(path, kMaxStoredSize, content); error != 0) return error;
  if (content.ends_with("\r\n")) {
    content.resize(content.size() - 2);
  } else if (content.ends_with('\n')) {
    content.pop_back();
  }
  return 0;
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
