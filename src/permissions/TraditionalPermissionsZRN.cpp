#include "permissions/TraditionalPermissionsZRN.h"

#include <algorithm>
#include <vector>

#include "convert/UniversalExtension.h"
#include "fileutil/FolderItemExtension.h"
#include "platform/Exceptions.h"

namespace grantwright {

namespace {

// One "Perms" key: its three tokens and the bits they stand for, in writing order.
struct BitToken {
  const char* token;
  bool (Permissions::*get)() const;
  void (Permissions::*set)(bool);
};
struct PermsKey {
  const char* key;
  BitToken bits[3];
};

constexpr PermsKey kPermsKeys[] = {
    {"PermsOwner",
     {{"read", &Permissions::OwnerRead, &Permissions::SetOwnerRead},
      {"write", &Permissions::OwnerWrite, &Permissions::SetOwnerWrite},
      {"execute", &Permissions::OwnerExecute, &Permissions::SetOwnerExecute}}},
    {"PermsGroup",
     {{"read", &Permissions::GroupRead, &Permissions::SetGroupRead},
      {"write", &Permissions::GroupWrite, &Permissions::SetGroupWrite},
      {"execute", &Permissions::GroupExecute, &Permissions::SetGroupExecute}}},
    {"PermsOthers",
     {{"read", &Permissions::OthersRead, &Permissions::SetOthersRead},
      {"write", &Permissions::OthersWrite, &Permissions::SetOthersWrite},
      {"execute", &Permissions::OthersExecute, &Permissions::SetOthersExecute}}},
    {"PermsExtras",
     {{"gid", &Permissions::GidBit, &Permissions::SetGidBit},
      {"uid", &Permissions::UidBit, &Permissions::SetUidBit},
      {"sticky", &Permissions::StickyBit, &Permissions::SetStickyBit}}},
};

}  // namespace

TraditionalPermissionsZRN::TraditionalPermissionsZRN(const DictionaryRef& dict) {
  NonNil(dict);
  xPermissions = std::make_shared<Permissions>(0);
  Owner = dict->Lookup("Owner", String()).StringValue();
  Group = dict->Lookup("Group", String()).StringValue();
  UnixFilePath = dict->Lookup("UnixFilePath", String()).StringValue();

  const String rawACL = dict->Lookup("RawACLRights", String()).StringValue();
  if (Len(rawACL) != 0) ACLRights = Acl::NewACLFromText(rawACL);

  for (const PermsKey& perms : kPermsKeys) {
    const std::vector<String> tokens = UniversalExtension::StringArrayValueZRN(dict, perms.key);
    for (const BitToken& bit : perms.bits) {
      // String == ignores case, as the array lookup of tokens does.
      const bool present = std::find(tokens.begin(), tokens.end(), String(bit.token)) != tokens.end();
      ((*xPermissions).*bit.set)(present);
    }
  }
}

TraditionalPermissionsZRN::TraditionalPermissionsZRN(const FolderItemRef& file) {
  Owner = NonNil(file)->Owner();
  Group = file->Group();
  UnixFilePath = FolderItemExtension::PathZRN(file, /*abbreviateHome=*/false);
  xPermissions = std::make_shared<Permissions>(file->PermissionsMode());
  ACLRights = Acl::NewACLFromFile(String(file->NativePath()), Acl::kExtended);
}

DictionaryRef TraditionalPermissionsZRN::GetDictionary() const {
  NonNil(xPermissions);
  auto dict = std::make_shared<Dictionary>();
  dict->SetValue("Owner", Owner);
  dict->SetValue("Group", Group);
  dict->SetValue("UnixFilePath", UnixFilePath);
  if (ACLRights) dict->SetValue("RawACLRights", ACLRights->Text());
  for (const PermsKey& perms : kPermsKeys) {
    std::vector<String> tokens;
    for (const BitToken& bit : perms.bits) {
      if (((*xPermissions).*bit.get)()) tokens.emplace_back(bit.token);
    }
    dict->SetValue(perms.key, NewArray(std::move(tokens)));
  }
  return dict;
}

}  // namespace grantwright
