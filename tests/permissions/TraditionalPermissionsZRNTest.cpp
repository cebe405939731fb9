#include "permissions/TraditionalPermissionsZRN.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "platform/Exceptions.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

// Every bit from its token; which keys take which value kinds is StringArrayValueZRN's,
// tested with it.
TEST(TraditionalPermissionsZRN, PermsKeysSetTheirBits) {
  const std::tuple<const char*, std::vector<Variant>, uint32_t> cases[] = {
      {"PermsOwner", {"read", "write", "execute"}, 0700},
      {"PermsOwner", {"execute"}, 0100},
      {"PermsGroup", {"write", "execute", "read", "write"}, 070},  // order and repeats mean nothing
      {"PermsOthers", {"READ", "Write", "execute"}, 07},            // tokens match ignoring case
      {"PermsExtras", {"gid"}, 02000},
      {"PermsExtras", {"uid", "sticky"}, 05000},
      {"PermsExtras", {"read", "write", "execute"}, 0},  // only gid, uid, sticky count there
      {"PermsOwner", {"gid", "uid", "sticky", "rwx", ""}, 0},
  };
  for (const auto& [key, tokens, mode] : cases) {
    auto dict = std::make_shared<Dictionary>();
    dict->SetValue(key, NewArray(tokens));
    EXPECT_EQ(TraditionalPermissionsZRN(dict).xPermissions->Mode(), mode) << key;
  }
}

// The text keys take a value of any kind in its text form (an Owner with none, an array or
// a dictionary, ends as TypeMismatchException: tests/cli's explain shows it); GetDictionary
// writes every key in its order.
TEST(TraditionalPermissionsZRN, TextKeysTheListAndGetDictionary) {
  auto dict = std::make_shared<Dictionary>();
  EXPECT_EQ(Describe(TraditionalPermissionsZRN(dict).GetDictionary()),
            "{Owner=untagged'',Group=untagged'',UnixFilePath=untagged'',PermsOwner=[],PermsGroup=[],PermsOthers=[],"
            "PermsExtras=[]}");
  dict->SetValue("OWNER", int64_t{501});  // a value of any kind is taken in its text form
  dict->SetValue("Group", "daemon");
  dict->SetValue("UnixFilePath", "/tmp/notes v2.txt");
  dict->SetValue("RawACLRights", "user:daemon:r--\n");
  EXPECT_EQ(Describe(TraditionalPermissionsZRN(dict).GetDictionary()),
            "{Owner='501',Group='daemon',UnixFilePath='/tmp/notes v2.txt',RawACLRights='user:daemon:r--\n',"
            "PermsOwner=[],PermsGroup=[],PermsOthers=[],PermsExtras=[]}");
  // An empty list, or one the ACL library refuses, gives none.
  for (const char* refused : {"", "user:gw-no-such-account:r--"}) {
    dict->SetValue("RawACLRights", refused);
    EXPECT_EQ(TraditionalPermissionsZRN(dict).ACLRights, nullptr) << refused;
  }
  EXPECT_THROW(TraditionalPermissionsZRN{DictionaryRef()}, NilObjectException);
  TraditionalPermissionsZRN record;
  EXPECT_THROW(record.GetDictionary(), NilObjectException);
  record.xPermissions = std::make_shared<Permissions>(07051);
  record.Owner = "root";
  record.ACLRights = Acl::NewACLFromText("group:bin:rw-");
  EXPECT_EQ(Describe(record.GetDictionary()),
            "{Owner='root',Group=untagged'',UnixFilePath=untagged'',RawACLRights='group:bin:rw-\n',PermsOwner=[],"
            "PermsGroup=['read','execute'],PermsOthers=['execute'],PermsExtras=['gid','uid','sticky']}");
}

}  // namespace
}  // namespace grantwright::testing
