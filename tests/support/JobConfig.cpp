#include "support/JobConfig.h"

#include <cstdio>

namespace grantwright::testing {

std::string UrlEncoded(const std::string& text) {
  std::string out;
  for (const unsigned char c : text) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
        c == '.' || c == '_' || c == '~') {
      out += static_cast<char>(c);
    } else {
      char hex[4];
      std::snprintf(hex, sizeof hex, "%%%02X", c);
      out += hex;
    }
  }
  return out;
}

namespace {

void AddText(std::string& xml, const char* key, const std::optional<std::string>& value) {
  if (!value) return;
  xml += std::string("<") + key + " datatype=\"String\">" + UrlEncoded(*value) + "</" + key + ">";
}

void AddTokens(std::string& xml, const char* key, uint32_t mode, const uint32_t (&bits)[3],
               const char* const (&tokens)[3]) {
  std::string items;
  int index = 0;
  for (int i = 0; i < 3; ++i) {
    if ((mode & bits[i]) == 0) continue;
    const std::string name = "array_" + std::to_string(index++);
    items += "<" + name + " datatype=\"String\">" + tokens[i] + "</" + name + ">";
  }
  if (items.empty()) return;
  xml += std::string("<") + key + " datatype=\"Array\">" + items + "</" + key + ">";
}

}  // namespace

std::string ConfigXml(const JobConfig& config) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Permissions>";
  AddText(xml, "Owner", config.owner);
  AddText(xml, "Group", config.group);
  AddText(xml, "UnixFilePath", config.path);
  AddText(xml, "RawACLRights", config.acl);
  const char* const rwx[3] = {"read", "write", "execute"};
  AddTokens(xml, "PermsOwner", config.mode, {0400, 0200, 0100}, rwx);
  AddTokens(xml, "PermsGroup", config.mode, {040, 020, 010}, rwx);
  AddTokens(xml, "PermsOthers", config.mode, {04, 02, 01}, rwx);
  AddTokens(xml, "PermsExtras", config.mode, {02000, 04000, 01000}, {"gid", "uid", "sticky"});
  return xml + "</Permissions>\n";
}

}  // namespace grantwright::testing
