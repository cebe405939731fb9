// The text reader: any bytes as a configuration file are read into UTF-8 text.
//
// Properties: the read succeeds; text that did not come with a UTF-8 byte order mark (the
// one tag the normaliser leaves alone) is valid UTF-8 without NUL; normalising untagged
// bytes gives valid UTF-8 without NUL.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ScratchFolder.h"
#include "convert/UniversalExtension.h"
#include "fileutil/FolderItemExtension.h"
#include "platform/TextEncoding.h"
#include "platform/Utf8.h"

namespace {

const std::string& ScratchFile() {
  static const ScratchFolder scratch;
  static const std::string path = scratch.path() + "/text";
  return path;
}

// Names the property that failed before stopping, so a reproducer explains itself.
#define Check(condition) \
  ((condition) ? (void)0 : (std::fprintf(stderr, "property failed: %s\n", #condition), std::abort()))

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace grantwright;
  const std::string bytes(reinterpret_cast<const char*>(data), size);

  FILE* file = std::fopen(ScratchFile().c_str(), "wb");
  Check(file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
  std::fclose(file);

  String contents;
  Check(FolderItemExtension::ReadContentsSmartZRN(PathToFolderItem(String(ScratchFile())), contents,
                                                  nullptr, false, false, true));
  Check(contents.Encoding() == Encodings::UTF8());
  if (bytes.rfind("\xEF\xBB\xBF", 0) != 0) {
    Check(utf8::IsValid(contents.Bytes()));
    Check(contents.Bytes().find('\0') == std::string::npos);
  }

  const String normalised = UniversalExtension::EnsureUTF8EncodingZRN(String(bytes, nullptr));
  Check(normalised.Encoding() == Encodings::UTF8());
  Check(utf8::IsValid(normalised.Bytes()));
  Check(normalised.Bytes().find('\0') == std::string::npos);
  return 0;
}
