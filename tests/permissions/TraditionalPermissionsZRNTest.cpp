#include "permissions/TraditionalPermissionsZRN.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Exceptions.h"

namespace grantwright {
namespace {

ArrayRef<Variant> Tokens(std::vector<Variant> items) { return NewArray(std::move(items)); }

std::vector<std::string> TextsOf(const Variant& array) {
  std::vector<std::string> out;
  for (const String& s : *array.ArrayAs<String>()) out.push_back(s.Bytes());
  return out;
}

TEST(TraditionalPermissionsZRN, PermsKeysSetTheirBits) {
  const struct {
    const char* key;
    std::vector<Variant> tokens;
    uint32_t mode;
  } cases[] = {
      {"PermsOwner", {"read", "write", "execute"}, 0700},
      {"PermsOwner", {"execute"}, 0100},
      {"PermsGroup", {"write", "read", "write"}, 060},  // order and repeats mean nothing
      {"PermsOthers", {"READ", "Execute"}, 05},         // tokens match ignoring case
      {"permsothers", {"write"}, 02},                    // so do keys
      {"PermsExtras", {"gid"}, 02000},
      {"PermsExtras", {"uid", "sticky"}, 05000},
      {"PermsExtras", {"read", "write", "execute"}, 0},  // only gid, uid, sticky count
      {"PermsOwner", {"gid", "uid", "sticky", "rwx", ""}, 0},
      {"PermsGroup", {nullptr, int64_t{5}, std::make_shared<Dictionary>(), "read"}, 040},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    auto dict = std::make_shared<Dictionary>();
    dict->SetValue(c.key, Tokens(c.tokens));
    const TraditionalPermissionsZRN record(dict);
    EXPECT_EQ(record.xPermissions->Mode(), c.mode);
  }

  // A value that is no array counts as an empty one; a typed array of String is refused.
  auto dict = std::make_shared<Dictionary>();
  dict->SetValue("PermsOwner", "read");
  dict->SetValue("PermsGroup", std::make_shared<Dictionary>());
  EXPECT_EQ(TraditionalPermissionsZRN(dict).xPermissions->Mode(), 0u);
  dict->SetValue("PermsOthers", NewArray<String>({"read"}));
  EXPECT_THROW(TraditionalPermissionsZRN{dict}, TypeMismatchException);
}

TEST(TraditionalPermissionsZRN, TextKeysAndTheList) {
  const auto empty = TraditionalPermissionsZRN(std::make_shared<Dictionary>());
  EXPECT_TRUE((empty.Owner + empty.Group + empty.UnixFilePath).IsEmpty());
  EXPECT_EQ(empty.ACLRights, nullptr);
  EXPECT_EQ(empty.xPermissions->Mode(), 0u);

  auto dict = std::make_shared<Dictionary>();
  dict->SetValue("OWNER", int64_t{501});
  dict->SetValue("Group", "daemon");
  dict->SetValue("UnixFilePath", "/tmp/notes v2.txt");
  dict->SetValue("RawACLRights", "user:daemon:r--\n");
  const TraditionalPermissionsZRN record(dict);
  EXPECT_EQ(record.Owner.Bytes(), "501");
  EXPECT_EQ(record.Group.Bytes(), "daemon");
  EXPECT_EQ(record.UnixFilePath.Bytes(), "/tmp/notes v2.txt");
  ASSERT_NE(record.ACLRights, nullptr);
  EXPECT_EQ(record.ACLRights->Text().Bytes(), "user:daemon:r--\n");

  for (const char* refused : {"", "user:gw-no-such-account:r--"}) {
    dict->SetValue("RawACLRights", refused);
    EXPECT_EQ(TraditionalPermissionsZRN(dict).ACLRights, nullptr) << refused;
  }
  dict->SetValue("Owner", NewArray<Variant>({"root"}));
  EXPECT_THROW(TraditionalPermissionsZRN{dict}, TypeMismatchException);
  EXPECT_THROW(TraditionalPermissionsZRN{DictionaryRef()}, NilObjectException);
}

TEST(TraditionalPermissionsZRN, GetDictionaryWritesEveryKeyInItsOrder) {
  TraditionalPermissionsZRN record;
  EXPECT_THROW(record.GetDictionary(), NilObjectException);

  record.xPermissions = std::make_shared<Permissions>(07051);
  record.Owner = "root";
  record.UnixFilePath = "/tmp/x";
  DictionaryRef dict = record.GetDictionary();
  std::vector<std::string> keys;
  for (const auto& [key, value] : dict->Entries()) keys.push_back(key.StringValue().Bytes());
  EXPECT_EQ(keys, (std::vector<std::string>{"Owner", "Group", "UnixFilePath", "PermsOwner",
                                            "PermsGroup", "PermsOthers", "PermsExtras"}));
  EXPECT_EQ(dict->Value("Group").StringValue().Bytes(), "");
  EXPECT_EQ(TextsOf(dict->Value("PermsOwner")), std::vector<std::string>{});
  EXPECT_EQ(TextsOf(dict->Value("PermsGroup")), (std::vector<std::string>{"read", "execute"}));
  EXPECT_EQ(TextsOf(dict->Value("PermsOthers")), std::vector<std::string>{"execute"});
  EXPECT_EQ(TextsOf(dict->Value("PermsExtras")),
            (std::vector<std::string>{"gid", "uid", "sticky"}));

  record.ACLRights = Acl::NewACLFromText("group:bin:rw-");
  dict = record.GetDictionary();
  EXPECT_EQ(dict->Value("RawACLRights").StringValue().Bytes(), "group:bin:rw-\n");
  EXPECT_EQ(dict->Key(3).StringValue().Bytes(), "RawACLRights");

}

}  // namespace
}  // namespace grantwright
