#pragma once
// Configurations for the helper's job, written as the parent program writes them: a typed
// XML document whose root holds one element per key.

#include <cstdint>
#include <optional>
#include <string>

namespace grantwright::testing {

struct JobConfig {
  std::optional<std::string> owner = std::nullopt;  // a key left unset is left out of the document
  std::optional<std::string> group = std::nullopt;
  std::optional<std::string> path = std::nullopt;
  std::optional<std::string> acl = std::nullopt;  // "RawACLRights"
  uint32_t mode = 0;                 // the four "Perms" arrays; a class with no bit is left out
};

// The document for `config`: texts URL-encoded, tokens in the order read, write, execute
// and gid, uid, sticky.
std::string ConfigXml(const JobConfig& config);

// Every byte but letters, digits and "-._~" as %XX.
std::string UrlEncoded(const std::string& text);

}  // namespace grantwright::testing
