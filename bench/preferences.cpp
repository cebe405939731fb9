// The preference work every helper run does on a steady store: a flush with nothing pending,
// then a flush of one value the file already holds (one read, no lock, no write). And the
// codec on its own: for a file of that size, and for files of 1k to 1M keys, whose parse
// time doubles with the file (BM_ParseKeys reports the fit as "BigO").

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <stdlib.h>

#include <climits>

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

// Memory one iteration frees stays with the process for the next. Otherwise the large
// sizes, measured in a single iteration, pay for faulting their pages in (some 27 us a page
// on a virtual machine of the development class), while the small ones, measured over
// many, do not: the ladder would compare the kernel's page faults, not the parse.
const bool kFreedMemoryStays = [] {
  ::mallopt(M_TRIM_THRESHOLD, INT_MAX);
  ::mallopt(M_TOP_PAD, 256 << 20);
  ::mallopt(M_MMAP_THRESHOLD, 32 << 20);  // the largest it takes
  return true;
}();

// A dictionary of `keys` integers under distinct keys, as our writer writes it: some 40
// bytes a key, so 1M keys make 40 MB.
std::string FileOfKeys(int64_t keys) {
  StoreDictionary dict;
  for (int64_t i = 0; i < keys; ++i) {
    dict.Set("Key number " + std::to_string(i), StoreNumber::Integer(i));
  }
  std::string bytes;
  PropertyList::Serialize(dict, bytes);
  return bytes;
}

// Before dictionaries kept an index of their keys, each key read searched all keys read
// before it: 40,000 keys took 6.7 s. Now the time doubles with the keys: on the development
// machine about 0.25 us a key while the file fits the caches (up to some 32k keys), then
// about 1 us a key from 64k to 1M keys.
void BM_ParseKeys(benchmark::State& state) {
  const std::string bytes = FileOfKeys(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(PropertyList::Parse(bytes));
  }
  state.SetComplexityN(state.range(0));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_ParseKeys)
    ->RangeMultiplier(2)
    ->Range(1 << 10, 1 << 20)
    ->Unit(benchmark::kMillisecond)
    ->MinWarmUpTime(1.0)
    ->Complexity(benchmark::oN);

}  // namespace

