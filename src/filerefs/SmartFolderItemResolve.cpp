// SmartFolderItemZRN::GetFile: finding a record's file, in the order the header gives.

#include "filerefs/SmartFolderItemZRN.h"

#include <new>

#include "global/GlobalMethods.h"
#include "platform/ConsoleApplication.h"
#include "platform/GetFolderItem.h"
#include "platform/Log.h"
#include "prefs/CorePreferences.h"

namespace grantwright {

namespace {

bool IsGood(const FolderItemRef& candidate) { return candidate && candidate->Exists(); }

bool HasNul(const String& path) { return path.Bytes().find('\0') != std::string::npos; }

void DebugLine(const char* line) {
  if (GlobalMethods::DebuggingEnabledZRN()) System::DebugLog(line);
}

// GetFolderItem with an exception taken as no item: a URL or shell form that cannot be read
// only means the next form is tried. Running out of memory is no fault of the form, so it
// goes on to the caller, as it does everywhere.
FolderItemRef GetFolderItemQuietly(const String& path, int mode) {
  try {
    return GetFolderItem(path, mode);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {
    return nullptr;
  }
}

}  // namespace

bool SmartFolderItemZRN::ResolveBookmark() {
  if (AccessingBookmark) StopAccessing();
  xSavedMacURL = nullptr;
  BookmarkService& bookmarks = Bookmarks();
  bool isStale = false;
  BookmarkURLRef url =
      bookmarks.ResolveBookmarkData(LocateMacBookmarkData, kBookmarkResolutionOptions, isStale);
  if (const std::optional<BookmarkError> error = bookmarks.LastError()) {
    System::DebugLog(String("SmartFolderItemZRN.GetFile failed: ") + error->failureReason + "; " +
                     error->description + "; " + Str(error->code));
    return false;
  }
  if (!url) {
    System::DebugLog("SmartFolderItemZRN.GetFile failed as URL was Nil.");
    return false;
  }
  xSavedMacURL = std::move(url);
  return true;
}

FolderItemRef SmartFolderItemZRN::GetFile() {
  if (LastFile && LastFile->Exists()) {
    lastRoute_ = Route::kCached;
    return LastFile;
  }
  lastRoute_ = Route::kNone;
  // Where bookmarks do not exist, bookmark bytes from elsewhere must not strand the record.
  if (!LocateMacBookmarkData.IsEmpty() && Bookmarks().Available() && !ResolveBookmark()) {
    return nullptr;
  }

  FolderItemRef candidate;
  Route route = Route::kNone;
  if (!LocateRelativeData.IsEmpty()) {
    DebugLine("Restoring file from relative data");
    const FolderItemRef base = CorePreferences::GetPrefsBoolValue("ResolveFileLocationsExtensively", "")
                                   ? Volume(0)
                                   : ConsoleApplication::ExecutableFile();
    if (base) candidate = base->GetRelative(LocateRelativeData);
    route = Route::kRelativeData;
  }
  if (!IsGood(candidate) && !LocateURLPath.IsEmpty() && !HasNul(LocateURLPath)) {
    DebugLine("Restoring file from URL path");
    if (FolderItemRef item = GetFolderItemQuietly(LocateURLPath, kPathTypeURL)) {
      candidate = std::move(item);
      route = Route::kURLPath;
    }
  }
  if (!IsGood(candidate) && !LocateShellPath.IsEmpty() && !HasNul(LocateShellPath)) {
    DebugLine("Restoring file from shell path");
    if (FolderItemRef item = GetFolderItemQuietly(LocateShellPath, kPathTypeShell)) {
      candidate = std::move(item);
      route = Route::kShellPath;
    }
  }
  if (!IsGood(candidate) && !LocatePath.IsEmpty() && !HasNul(LocatePath)) {
    DebugLine("Restoring file from native path");
    if (FolderItemRef item = GetFolderItem(LocatePath, kPathTypeNative)) {
      candidate = std::move(item);
      route = Route::kNativePath;
    }
  }
  const bool good = IsGood(candidate);
  UpdateFromFile(candidate);
  lastRoute_ = good ? route : Route::kNone;
  return candidate;
}

}  // namespace grantwright
