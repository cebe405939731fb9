// Reading a configuration and explaining it, for configurations of 1k to 1M keys: the time
// of each doubles with the keys (each benchmark reports the fit as "BigO"). A real
// configuration holds a few keys; the helper refuses one larger than
// ConfigurationFile::kMaxBytes (16 MiB, some 400,000 keys of this shape), so the largest
// sizes here show the trend past what it reads.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <climits>
#include <string>

#include "cli/Explanation.h"
#include "platform/String.h"
#include "xml/XMLExtension.h"

namespace {

using namespace grantwright;

// Freed memory stays with the process, so a size measured over a single iteration does
// not pay for faulting in pages that the small sizes, measured over many, reuse.
const bool kFreedMemoryStays = [] {
  ::mallopt(M_TRIM_THRESHOLD, INT_MAX);
  ::mallopt(M_TOP_PAD, 256 << 20);
  ::mallopt(M_MMAP_THRESHOLD, 32 << 20);  // the largest it takes
  return true;
}();

// A typed configuration of `keys` distinct keys, taking turns at a String, an Integer and a
// Boolean: some 40 bytes a key.
std::string ConfigurationOfKeys(int64_t keys) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n";
  static const char* const kTypes[][2] = {{"String", "value%20"}, {"Integer", ""}, {"Boolean", "true"}};
  for (int64_t i = 0; i < keys; ++i) {
    const std::string n = std::to_string(i);
    const auto& [type, value] = kTypes[i % 3];
    text += "<Key" + n + " datatype=\"" + type + "\">" + value + n + "</Key" + n + ">\n";
  }
  return text + "</config>\n";
}

// The helper's read of a configuration once its text is in memory: parse and decode.
void BM_DecodeKeys(benchmark::State& state) {
  const String text(ConfigurationOfKeys(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(XMLExtension::AsDictionaryFromXMLStringZRN(text));
  }
  state.SetComplexityN(state.range(0));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.LenB()));
}

// `grantwright explain` past its read: the decoded values and the record as JSON text.
// Before its objects were built member after member, each member searched the ones before
// it: 40,000 keys took seconds, and 1M did not end in 12 minutes.
void BM_ExplainKeys(benchmark::State& state) {
  const DictionaryRef config = XMLExtension::AsDictionaryFromXMLStringZRN(String(ConfigurationOfKeys(state.range(0))));
  for (auto _ : state) {
    benchmark::DoNotOptimize(Commands::Explanation(config));
  }
  state.SetComplexityN(state.range(0));
}

BENCHMARK(BM_DecodeKeys)
    ->RangeMultiplier(2)
    ->Range(1 << 10, 1 << 20)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);
BENCHMARK(BM_ExplainKeys)
    ->RangeMultiplier(2)
    ->Range(1 << 10, 1 << 20)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

}  // namespace
