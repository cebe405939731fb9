// The preference file: any bytes as the plist of a domain are read by the store, and a
// flush merges a change into them.
//
// Properties: a document the codec reads and then writes reads back to the same content;
// a read of the file never fails; after a flush that reports success the file holds a
// dictionary with the key that was set.

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ScratchFolder.h"
#include "platform/PreferenceStore.h"
#include "platform/PropertyList.h"
#include "prefs/CorePreferences.h"

namespace {

// Names the property that failed before stopping, so a reproducer explains itself.
#define Check(condition) \
  ((condition) ? (void)0 : (std::fprintf(stderr, "property failed: %s\n", #condition), std::abort()))

const std::string& PlistPath() {
  static const ScratchFolder scratch;
  static const std::string path = [] {
    const std::string& home = scratch.path();
    ::setenv("XDG_CONFIG_HOME", home.c_str(), 1);
    ::mkdir((home + "/grantwright").c_str(), 0700);
    ::mkdir((home + "/grantwright/preferences").c_str(), 0700);
    return home + "/grantwright/preferences/com.example.fuzz.plist";
  }();
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace grantwright;
  const std::string bytes(reinterpret_cast<const char*>(data), size);

  if (const StoreObjectRef value = PropertyList::Parse(bytes)) {
    std::string written;
    if (PropertyList::Serialize(*value, written)) {
      const StoreObjectRef again = PropertyList::Parse(written);
      Check(again != nullptr && PropertyList::SameContent(*value, *again));
    }
  }

  FILE* file = std::fopen(PlistPath().c_str(), "wb");
  Check(file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
  std::fclose(file);

  const auto prefs = std::make_shared<PreferenceStore>();
  (void)CorePreferences::AppGetKeyZRN(prefs, "com.example.fuzz", "Key");
  if (CorePreferences::AppSetKeyZRN(prefs, "com.example.fuzz", "Key", Variant(int64_t{7}))) {
    const auto fresh = std::make_shared<PreferenceStore>();
    const Variant stored = CorePreferences::AppGetKeyZRN(fresh, "com.example.fuzz", "Key");
    Check(stored.Type() == Variant::kInt64 && stored.Int64Value() == 7);
  }
  return 0;
}
