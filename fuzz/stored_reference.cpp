// The stored form of a file reference and the relative data inside it: any bytes as the
// text SmartFolderItemZRN::Create(data) reads, as relative data, and as the URL and shell
// forms of a path. Only the readers run: nothing here looks at the file system.
//
// Properties: a stored form that reads gives valid UTF-8 without NUL in its four text
// fields, and writing what was read and reading it again gives the same six fields byte for
// byte; relative data that reads writes back to bytes that read the same, and data longer
// than the bound never reads; the URL and shell readers invert their writers for any path.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "filerefs/SmartFolderItemZRN.h"
#include "filerefs/StoredReference.h"
#include "platform/Log.h"
#include "platform/PathForms.h"
#include "platform/RelativeData.h"
#include "platform/Utf8.h"

#define Check(condition) \
  ((condition) ? (void)0 : (std::fprintf(stderr, "property failed: %s\n", #condition), std::abort()))

namespace {

bool IsText(const grantwright::String& s) {
  return grantwright::utf8::IsValid(s.Bytes()) && s.Bytes().find('\0') == std::string::npos;
}

std::string Fields(const grantwright::SmartFolderItemZRN& r) {
  return r.LocateRelativeData.Bytes() + '\x1F' + r.LocateURLPath.Bytes() + '\x1F' + r.LocateShellPath.Bytes() +
         '\x1F' + r.LocatePath.Bytes() + '\x1F' + r.BackupFileName.Bytes() + '\x1F' +
         r.LocateMacBookmarkData.Bytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace grantwright;
  static const LogSink quiet = SetLogSink([](std::string_view) {});
  (void)quiet;
  const std::string bytes(reinterpret_cast<const char*>(data), size);

  SmartFolderItemZRN record;
  if (StoredReference::Read(String(bytes, nullptr), record)) {
    Check(IsText(record.LocateURLPath) && IsText(record.LocateShellPath) && IsText(record.LocatePath) &&
          IsText(record.BackupFileName));
    SmartFolderItemZRN again;
    Check(StoredReference::Read(StoredReference::Write(record), again));
    Check(Fields(again) == Fields(record));
  }

  if (const std::optional<RelativeData> relative = DecodeRelativeData(bytes)) {
    Check(size <= kMaxRelativeDataSize);
    const std::string written = EncodeRelativeData(*relative);
    Check(written.size() <= kMaxRelativeDataSize);
    Check(DecodeRelativeData(written) == relative);
  }

  (void)PathFromURL(bytes);
  (void)PathFromShell(bytes);
  if (bytes.find('\0') == std::string::npos) {
    if (bytes.starts_with('/')) Check(PathFromURL(URLPathOf(bytes, false)) == bytes);
    Check(PathFromShell(ShellPathOf(bytes)) == bytes);
  }
  return 0;
}
