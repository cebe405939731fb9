#pragma once
// What the tests share: a fresh temporary folder, files written into it, the built helper
// run as a real process, the system log captured in process, and values described as text.

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/Log.h"
#include "platform/Variant.h"

namespace grantwright::testing {

// A fresh folder under $TMPDIR (or /tmp), removed with everything in it on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  // Writes `bytes` to `name` inside the folder (mode 0644) and gives the full path.
  std::string Write(const std::string& name, const std::string& bytes) const;
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

struct ProcessResult {
  int status = -1;       // exit status, or 128 + signal number
  std::string out;       // standard output
  std::string err;       // standard error
};

struct RunOptions {
  std::vector<std::string> env = {};  // extra NAME=value entries
  uid_t uid = static_cast<uid_t>(-1);  // run as this user (root only); -1 keeps ours
  gid_t gid = static_cast<gid_t>(-1);
  // The process's address space is limited to this many bytes (RLIMIT_AS, as `ulimit -v`
  // sets it); 0 leaves it as it is.
  size_t addressSpace = 0;
};

// Runs `argv` (argv[0] is the program's path) and waits for it.
ProcessResult Run(const std::vector<std::string>& argv, const RunOptions& options = {});
// Runs the built helper with `args` after its own path.
ProcessResult RunHelper(const std::vector<std::string>& args, const RunOptions& options = {});
// Runs every `argv` of the list, `parallel` at a time, and gives their results in order.
// Each must write little (a pipe's worth): their outputs are read one by one.
std::vector<ProcessResult> RunAll(const std::vector<std::vector<std::string>>& argvList,
                                  size_t parallel = 8);

// The least address space (RLIMIT_AS, to 64 kB) in which `argv` runs to its own end with
// `status`: below it the program's image and start-up do not fit. Found by bisection
// between 1 MB and 1 GB; 0 when it does not end so even with 1 GB.
size_t LeastAddressSpace(const std::vector<std::string>& argv, int status);

std::string HelperPath();
std::string CommandPath();  // the built `grantwright`
std::string LinkSwapperPath();  // the tests' racer, support/link_swapper.c

// A process started as Run starts it, left running in the background, its output
// discarded; killed and waited for when the object goes away.
class Background {
 public:
  explicit Background(const std::vector<std::string>& argv, const RunOptions& options = {});
  ~Background();
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;

 private:
  pid_t pid_;
};

// Captures System.DebugLog lines for its lifetime.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
  LogSink previous_;
};

bool IsRoot();

// The numbers of this process's open descriptors, in order, as /proc/self/fd lists them.
std::vector<int> OpenDescriptors();

// A value as compact text: 'string' (untagged'string' when not UTF-8), i3 (Int32 and
// Int64), d0.25, f0.5, c255, true, t<unix seconds of its moment>, m<bytes>, pic<w>x<h>,
// {key=value,...}, [value,...], nil.
std::string Describe(const Variant& value);

// getfacl's listing of `path`: no header, no effective-rights comments, names by name.
std::string Getfacl(const std::string& path);
// Runs setfacl with `args`; throws when it fails.
void Setfacl(const std::vector<std::string>& args);

// Sets (or, with a null value, unsets) an environment variable for its lifetime.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

}  // namespace grantwright::testing

// Skips the current test with a message when the process is not root.
#define GRANTWRIGHT_REQUIRE_ROOT()                                             \
  do {                                                                         \
    if (!::grantwright::testing::IsRoot()) GTEST_SKIP() << "needs root";       \
  } while (0)
