#pragma once
// SmartFolderItemZRN: a persistent reference to one file, which finds the file again after
// it was renamed, moved or reached by another route.
//
// A record keeps several independent descriptions of its file and the last file that
// worked (LastFile). GetFile tries them from the most exact to the most fragile:
//   1. LastFile, when it still exists (one stat: nothing else is done);
//   2. the bookmark, when the bookmark service is available and the record has one (on
//      Linux it never is: the step is skipped and bookmark bytes are only kept);
//   3. the relative data (FolderItem::GetRelative, see platform/RelativeData.h), against
//      the program's folder, or against "/" when the preference
//      "ResolveFileLocationsExtensively" is true;
//   4. the URL path, 5. the shell path, 6. the native path, each read by GetFolderItem;
// and stops at the first that gives an existing file. Then it writes what it found back
// into the record (UpdateFromFile). A path holding a NUL byte is skipped. Nothing compares
// the file with what the record held: a different file at an old path is taken.
//
// Log lines (always): a bookmark that cannot be made ("SmartFolderItemZRN.Create: Error
// Creating Sandbox Bookmark: <reason>; <description>" and then the data returned), one
// that cannot be resolved ("SmartFolderItemZRN.GetFile failed: <reason>; <description>;
// <code>" or "SmartFolderItemZRN.GetFile failed as URL was Nil.", and GetFile gives nil
// without trying the paths), refused sandbox access ("CFBookmarkMBS.StartAccessing
// SecurityScopedResource failed in SmartFolderItemZRN.StartAccessing", one word). With
// debugging on (GlobalMethods::DebuggingEnabledZRN): "Restoring file from relative data",
// "... from URL path", "... from shell path", "... from native path" as each step starts.
//
// Sandbox access is a flag, not a counter: UpdateFromFile closes and reopens it for the
// file it takes, GetFile closes it before it resolves the bookmark, the destructor closes
// it. A URL whose path begins with "/Library" (any case) is never opened. On Linux no URL
// is ever resolved, so the access never opens.
//
// Exceptions: the relative-data and native-path steps pass theirs on; the URL and shell
// steps drop theirs. The platform's lookups raise none on Linux.
//
// A record belongs to one thread at a time; reading it can change it.

#include <memory>

#include "platform/BookmarkService.h"
#include "platform/FolderItem.h"
#include "platform/Object.h"
#include "platform/Picture.h"
#include "platform/String.h"

namespace grantwright {

class SmartFolderItemZRN;
using SmartFolderItemZRNRef = std::shared_ptr<SmartFolderItemZRN>;

class SmartFolderItemZRN : public Object {
 public:
  // The platform's options: a security-scoped bookmark; resolving without user interface
  // and with security scope.
  static constexpr uint32_t kBookmarkCreationOptions = 2048;
  static constexpr uint32_t kBookmarkResolutionOptions = 1280;

  // How the last GetFile found its file; kNone when it found no existing file.
  enum class Route { kNone, kCached, kRelativeData, kURLPath, kShellPath, kNativePath };

  SmartFolderItemZRN() = default;
  ~SmartFolderItemZRN() override;
  SmartFolderItemZRN(const SmartFolderItemZRN&) = delete;
  SmartFolderItemZRN& operator=(const SmartFolderItemZRN&) = delete;
  const char* ClassName() const override { return "SmartFolderItemZRN"; }

  // A record for `file` (nil for a nil file): a bookmark when the service makes one (else
  // the two log lines above, and none), then UpdateFromFile(file).
  static SmartFolderItemZRNRef Create(const FolderItemRef& file);
  // A record from a stored string: the XML form (below), or any other text, taken as a
  // path. nil for empty text. The record is resolved once (GetFile) and then holds what
  // was found; when the text was a path, only what it found stays (a missing item leaves
  // the location fields empty, and LastFile and BackupFileName remember it).
  static SmartFolderItemZRNRef Create(const String& data);

  // The stored form: an XML document, root "root" with the elements rel_data, url_path,
  // shell_path, path, backup_file_name and mac_bookmark_data, in that order, each holding
  // its field URL-encoded (always all six, empty ones too). The record is resolved first,
  // so the values are those of the file as it is now.
  virtual String GetXML();
  // The file, found as told above: an existing file, a missing one (when some step gave an
  // item but none an existing one), or nil.
  virtual FolderItemRef GetFile();
  // Takes `file` as the record's file and fills the location fields from it. Nothing for a
  // nil file, nor for a missing one when the record already has a LastFile. The bookmark
  // data is not touched.
  virtual void UpdateFromFile(const FolderItemRef& file);
  // The file's display name (valid UTF-8); when no file is found, BackupFileName, or
  // "unknown" when that is empty.
  virtual String GetFileDisplayName();
  // A new record with the same location fields, LastFile (shared) and BackupFileName; its
  // sandbox access starts closed.
  virtual SmartFolderItemZRNRef DuplicateMe();
  // Whether GetFile finds an existing file.
  virtual bool GetFileExists();
  // The kind of the file GetFile finds, existing or missing (KindMBS); "unknown" when it
  // finds none.
  virtual String GetFileKind();
  // The icon of the file GetFile finds, if it exists (IconZRN, route -1), at `size` x `size`;
  // `fallback` (which may be nil) when there is no file or no icon.
  virtual PictureRef GetFileIcon(int64_t size, const PictureRef& fallback);

  Route LastRoute() const { return lastRoute_; }

  String LocateRelativeData;
  String LocateURLPath;
  String LocateShellPath;
  String BackupFileName;
  String LocateMacBookmarkData;
  String LocatePath;

 private:
  void StartAccessing();
  void StopAccessing();
  // Step 2 of GetFile; false when the bookmark ends the search.
  bool ResolveBookmark();

  FolderItemRef LastFile;
  bool AccessingBookmark = false;
  BookmarkURLRef xSavedMacURL;
  Route lastRoute_ = Route::kNone;
};

}  // namespace grantwright
