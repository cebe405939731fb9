#include "filerefs/SmartFolderItemZRN.h"

#include "fileutil/FileIcons.h"
#include "fileutil/FileKinds.h"
#include "fileutil/FolderItemExtension.h"
#include "platform/ConsoleApplication.h"
#include "platform/Log.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"

namespace grantwright {

SmartFolderItemZRN::~SmartFolderItemZRN() { StopAccessing(); }

SmartFolderItemZRNRef SmartFolderItemZRN::Create(const FolderItemRef& file) {
  if (!file) return nullptr;
  auto record = std::make_shared<SmartFolderItemZRN>();
  BookmarkService& bookmarks = Bookmarks();
  const String data = bookmarks.CreateBookmarkData(file, kBookmarkCreationOptions, nullptr);
  if (const std::optional<BookmarkError> error = bookmarks.LastError()) {
    System::DebugLog(String("SmartFolderItemZRN.Create: Error Creating Sandbox Bookmark: ") +
                     error->failureReason + "; " + error->description);
    System::DebugLog(data);
  } else {
    record->LocateMacBookmarkData = data;
  }
  record->UpdateFromFile(file);
  return record;
}

void SmartFolderItemZRN::UpdateFromFile(const FolderItemRef& file) {
  if (!file) return;
  if (LastFile && !file->Exists()) return;
  if (AccessingBookmark) StopAccessing();
  LastFile = file;
  StartAccessing();
  LocateRelativeData = file->GetSaveInfo(ConsoleApplication::ExecutableFile(), 0);
  LocateShellPath = file->ShellPath();
  LocateURLPath = file->URLPath();
  LocatePath = FolderItemExtension::PathZRN(file, /*abbreviateHome=*/false);
  BackupFileName = file->Name();
}

void SmartFolderItemZRN::StartAccessing() {
  if (!xSavedMacURL) return;
  // Only the top of the path counts: /LibraryOld is refused, /home/x/Library is not.
  const String top = Left(xSavedMacURL->Path(), Len(String("/Library")));
  if (!(top == "/Library") && Bookmarks().StartAccessingSecurityScopedResource(*xSavedMacURL)) {
    AccessingBookmark = true;
    return;
  }
  System::DebugLog(
      "CFBookmarkMBS.StartAccessingSecurityScopedResource failed in SmartFolderItemZRN.StartAccessing");
}

void SmartFolderItemZRN::StopAccessing() {
  if (!AccessingBookmark) return;
  AccessingBookmark = false;
  if (xSavedMacURL) Bookmarks().StopAccessingSecurityScopedResource(*xSavedMacURL);
}

String SmartFolderItemZRN::GetFileDisplayName() {
  const FolderItemRef file = GetFile();
  if (!file && BackupFileName.IsEmpty()) return "unknown";
  const String name = file ? file->DisplayName() : BackupFileName;
  return String(utf8::Sanitized(name.Bytes()), Encodings::UTF8());
}

bool SmartFolderItemZRN::GetFileExists() {
  const FolderItemRef file = GetFile();
  return file && file->Exists();
}

String SmartFolderItemZRN::GetFileKind() { return KindMBS(GetFile()); }

PictureRef SmartFolderItemZRN::GetFileIcon(int64_t size, const PictureRef& fallback) {
  const FolderItemRef file = GetFile();
  if (!file || !file->Exists()) return fallback;
  PictureRef icon = FolderItemExtension::IconZRN(file, size, false, -1);
  return icon ? icon : fallback;
}

SmartFolderItemZRNRef SmartFolderItemZRN::DuplicateMe() {
  auto copy = std::make_shared<SmartFolderItemZRN>();
  copy->LocateRelativeData = LocateRelativeData;
  copy->LocateMacBookmarkData = LocateMacBookmarkData;
  copy->LocateShellPath = LocateShellPath;
  copy->LocateURLPath = LocateURLPath;
  copy->LocatePath = LocatePath;
  copy->LastFile = LastFile;
  copy->BackupFileName = BackupFileName;
  return copy;
}

}  // namespace grantwright
