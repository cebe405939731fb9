// The preference work every helper run does on a steady store: a flush with nothing pending,
// then a flush of one value the file already holds (lock, one read, no write). And the
// codec on its own, for a file of that size.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "platform/PreferenceStore.h"
#include "platform/PropertyList.h"

namespace {

using namespace grantwright;

StoreStringRef Text(const char* s) { return std::make_shared<StoreString>(s); }

void BM_SteadyStartupFlushes(benchmark::State& state) {
  char folder[] = "/tmp/grantwright-bench-XXXXXX";
  if (::mkdtemp(folder) == nullptr) {
    state.SkipWithError("mkdtemp failed");
    return;
  }
  ::setenv("XDG_CONFIG_HOME", folder, 1);
  const auto flush = [](const StoreObjectRef& value) {
    PreferenceStore store;
    if (value) {
      store.SetValue(Text("NSApplicationShowExceptions"), value, Text("com.tarnvale.Grantwright"),
                     PreferenceStore::CurrentUser(), PreferenceStore::AnyHost());
    }
    return store.Synchronize(Text("com.tarnvale.Grantwright"), PreferenceStore::CurrentUser(),
                             PreferenceStore::AnyHost());
  };
  const auto flag = std::make_shared<StoreBoolean>(true);
  flush(flag);
  for (auto _ : state) {
    benchmark::DoNotOptimize(flush(nullptr));
    benchmark::DoNotOptimize(flush(flag));
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}
BENCHMARK(BM_SteadyStartupFlushes);

void BM_ParseAndWriteSmallFile(benchmark::State& state) {
  auto dict = std::make_shared<StoreDictionary>();
  dict->Set("NSApplicationShowExceptions", std::make_shared<StoreBoolean>(true));
  std::string bytes;
  PropertyList::Serialize(*dict, bytes);
  for (auto _ : state) {
    const StoreObjectRef parsed = PropertyList::Parse(bytes);
    std::string out;
    benchmark::DoNotOptimize(PropertyList::Serialize(*parsed, out));
  }
}
BENCHMARK(BM_ParseAndWriteSmallFile);

}  // namespace
