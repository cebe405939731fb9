#pragma once
// A folder of a fuzz target's own under /tmp, for the files its inputs are written to, and
// removed with what it holds when the run ends (libFuzzer ends a timed run with exit()).

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

class ScratchFolder {
 public:
  ScratchFolder() {
    if (::mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_ = "/tmp/grantwright-fuzz-XXXXXX";
};
