// The account database's two readers of outside bytes: nsswitch.conf's text, and the
// answer getent writes (from whatever an LDAP or other directory holds), both any bytes.
//
// Properties: an entry read from an answer is the answer's own first field, not empty and
// free of separators, with an id chown can take; and whatever a text says about passwd, a
// last line of its own decides.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/AccountDatabase.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace grantwright::AccountDatabase;
  const std::string bytes(reinterpret_cast<const char*>(data), size);

  if (const auto entry = EntryOf(bytes)) {
    const std::string& name = entry->name;
    if (name.empty() || name.find_first_of(":\n") != std::string::npos) std::abort();
    if (bytes.compare(0, name.size() + 1, name + ":") != 0) std::abort();
    if (entry->id == UINT32_MAX) std::abort();
  }

  NamesOtherSources(bytes, kUsers);
  if (NamesOtherSources(bytes + "\npasswd: files\n", kUsers)) std::abort();
  if (!NamesOtherSources(bytes + "\npasswd: files [NOTFOUND=return] ldap\n", kUsers)) std::abort();
  return 0;
}
