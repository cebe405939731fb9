// A reference whose file is where it was last seen costs one stat: GetFile on such a
// record against a bare stat(2) of the same path. The ratio of the two is the figure.

#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "filerefs/SmartFolderItemZRN.h"

namespace {

using namespace grantwright;

std::string NewFile() {
  char path[] = "/tmp/grantwright-bench-XXXXXX";
  const int fd = ::mkstemp(path);
  if (fd >= 0) ::close(fd);
  return path;
}

void BM_StatOfTheFile(benchmark::State& state) {
  const std::string file = NewFile();
  struct stat st;
  for (auto _ : state) benchmark::DoNotOptimize(::stat(file.c_str(), &st));
  ::unlink(file.c_str());
}
BENCHMARK(BM_StatOfTheFile);

void BM_GetFileWithAGoodLastFile(benchmark::State& state) {
  const std::string file = NewFile();
  const SmartFolderItemZRNRef record = SmartFolderItemZRN::Create(PathToFolderItem(String(file)));
  for (auto _ : state) benchmark::DoNotOptimize(record->GetFile());
  ::unlink(file.c_str());
}
BENCHMARK(BM_GetFileWithAGoodLastFile);

}  // namespace
