// Reading an access control list's text, from 512 entries to 1M. Up to Acl::kMaxEntries
// the time doubles with the list (BM_ReadList reports the fit as "BigO"); past it the text
// is refused once that many entries have been read, so no list costs more.

#include <benchmark/benchmark.h>

#include <string>

#include "platform/Acl.h"

namespace {

using namespace grantwright;

// `entries` named entries of distinct ids no account has, with the base entries.
std::string ListOf(int64_t entries) {
  std::string text = "user::rw-\ngroup::r--\nother::---\n";
  for (int64_t i = 0; i < entries; ++i) text += "user:" + std::to_string(1000000 + i) + ":r--\n";
  return text;
}

void BM_ReadList(benchmark::State& state) {
  const String text(ListOf(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(Acl::NewACLFromText(text));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_ReadList)
    ->Arg(512)->Arg(1024)->Arg(2048)->Arg(4096)->Arg(Acl::kMaxEntries)
    ->Unit(benchmark::kMillisecond)->Complexity();

// Longer lists than any file system stores: refused after kMaxEntries of them.
void BM_RefuseLongerList(benchmark::State& state) {
  const String text(ListOf(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(Acl::NewACLFromText(text));
}
BENCHMARK(BM_RefuseLongerList)->RangeMultiplier(4)->Range(1 << 14, 1 << 20)->Unit(benchmark::kMillisecond);

}  // namespace
