#pragma once
// What the helper's tests share: a job's configuration, and the state of a file after it.

#include <string>

#include "permissions/TraditionalPermissionsZRN.h"
#include "support/TestSupport.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {

// A configuration as `grantwright capture` writes it, the names and path as bytes; an
// empty list is left out.
inline std::string Job(const std::string& owner, const std::string& group, const std::string& path,
                       uint32_t mode, const std::string& acl = "") {
  TraditionalPermissionsZRN record;
  record.Owner = String(owner, nullptr);
  record.Group = String(group, nullptr);
  record.UnixFilePath = String(path, nullptr);
  record.xPermissions = std::make_shared<Permissions>(mode);
  const DictionaryRef dict = record.GetDictionary();
  if (!acl.empty()) dict->SetValue("RawACLRights", String(acl));
  return XMLExtension::AsXMLStringFromDictionaryZRN(dict, "r").Bytes();
}

// "uid gid mode" (the mode in octal) of the item itself, then getfacl's listing.
inline std::string StateOf(const std::string& path) {
  return Run({"/usr/bin/stat", "-c", "%u %g %a", path}).out + Getfacl(path);
}

}  // namespace grantwright::testing
