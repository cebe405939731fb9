// SmartFolderItemZRN::GetXML and SmartFolderItemZRN::Create(data): the record to and from
// its stored form (StoredReference).

#include "filerefs/SmartFolderItemZRN.h"
#include "filerefs/StoredReference.h"

namespace grantwright {

String SmartFolderItemZRN::GetXML() {
  UpdateFromFile(GetFile());
  return StoredReference::Write(*this);
}

SmartFolderItemZRNRef SmartFolderItemZRN::Create(const String& data) {
  if (data.IsEmpty()) return nullptr;
  auto record = std::make_shared<SmartFolderItemZRN>();
  const bool isPath = !StoredReference::Read(data, *record);
  if (isPath) {
    record->LocateRelativeData = data;
    record->LocateURLPath = data;
    record->LocateShellPath = data;
    record->LocatePath = data;
  }
  const FolderItemRef file = record->GetFile();
  if (isPath) {
    // The text was only a guess in every field: keep what it found, nothing of itself.
    record->LocateRelativeData = String();
    record->LocateURLPath = String();
    record->LocateShellPath = String();
    record->LocatePath = String();
    record->LocateMacBookmarkData = String();
  }
  record->UpdateFromFile(file);
  return record;
}

}  // namespace grantwright
