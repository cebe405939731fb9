// The access control list's text: any bytes as a configuration's "RawACLRights".
//
// Property: a list the text gives writes a text that reads back to a list writing that
// same text, so a captured list survives a trip through a configuration.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/Acl.h"
#include "platform/TextEncoding.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace grantwright;
  const String text(std::string(reinterpret_cast<const char*>(data), size), Encodings::UTF8());
  const AclRef acl = Acl::NewACLFromText(text);
  if (!acl) return 0;
  const String written = acl->Text();
  const AclRef again = Acl::NewACLFromText(written);
  if (!again || again->Text().Bytes() != written.Bytes()) std::abort();
  return 0;
}
