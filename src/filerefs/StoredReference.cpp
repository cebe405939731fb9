#include "filerefs/StoredReference.h"

#include "platform/Xml.h"
#include "xml/XMLData.h"
#include "xml/XMLExtension.h"

namespace grantwright::StoredReference {

String Write(const SmartFolderItemZRN& record) {
  XmlDocument doc;
  XmlNode root = doc.AppendChild(doc.CreateElement("root"));
  XMLExtension::SetString(root, "rel_data", record.LocateRelativeData, true);
  XMLExtension::SetString(root, "url_path", record.LocateURLPath, true);
  XMLExtension::SetString(root, "shell_path", record.LocateShellPath, true);
  XMLExtension::SetString(root, "path", record.LocatePath, true);
  XMLExtension::SetString(root, "backup_file_name", record.BackupFileName, true);
  XMLExtension::SetString(root, "mac_bookmark_data", record.LocateMacBookmarkData, true);
  return doc.ToString();
}

bool Read(const String& text, SmartFolderItemZRN& record) {
  const XMLDataRef xml = XMLData::CreateFromString(text, /*showDialog=*/false);
  if (!xml->Exists()) return false;
  record.LocateRelativeData = xml->GetURLDecodedString("rel_data", String(), /*rawBytes=*/true);
  record.LocateURLPath = xml->GetURLDecodedString("url_path", String(), false);
  record.LocateShellPath = xml->GetURLDecodedString("shell_path", String(), false);
  record.LocatePath = xml->GetURLDecodedString("path", String(), false);
  record.BackupFileName = xml->GetURLDecodedString("backup_file_name", String(), false);
  record.LocateMacBookmarkData = xml->GetURLDecodedString("mac_bookmark_data", String(), true);
  return true;
}

}  // namespace grantwright::StoredReference
