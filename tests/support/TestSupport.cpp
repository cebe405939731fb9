#include "support/TestSupport.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "platform/Date.h"
#include "platform/Dictionary.h"
#include "platform/MemoryBlock.h"
#include "platform/Picture.h"
#include "platform/TextEncoding.h"

extern char** environ;

namespace grantwright::testing {

namespace {

// A fresh folder below $TMPDIR (or /tmp) with `mode`; "" when none can be made.
std::string NewFolder(const char* prefix, mode_t mode) {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/" + prefix + "-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) return "";
  ::chmod(pattern.c_str(), mode);
  return pattern;
}

}  // namespace

TempDir::TempDir() : path_(NewFolder("grantwright-test", 0755)) {
  if (path_.empty()) throw std::runtime_error("mkdtemp failed");
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::string TempDir::Write(const std::string& name, const std::string& bytes) const {
  const std::string path = *this / name;
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!(out << bytes) || !out.flush()) throw std::runtime_error("cannot write " + path);
  ::chmod(path.c_str(), 0644);
  return path;
}

namespace {

// Every test process and the processes it starts keep their preferences in a folder of
// their own, never in the real user's: one XDG_CONFIG_HOME per user id below a shared,
// world-writable (sticky) folder that goes away when the test process ends.
class ConfigSandbox {
 public:
  ConfigSandbox() : root_(NewFolder("grantwright-config", 01777)) {
    if (!root_.empty()) ::setenv("XDG_CONFIG_HOME", HomeFor(::geteuid()).c_str(), 1);
  }
  ~ConfigSandbox() {
    if (root_.empty() || ::getpid() != owner_) return;
    std::error_code ec;
    std::filesystem::remove_all(root_, ec);
  }
  std::string HomeFor(uid_t uid) const { return root_ + "/uid-" + std::to_string(uid); }

 private:
  std::string root_;
  pid_t owner_ = ::getpid();
};

const ConfigSandbox& Sandbox() {
  static const ConfigSandbox sandbox;
  return sandbox;
}

// Set up before main, so that code under test never sees the real configuration folder.
const bool kSandboxReady = (Sandbox(), true);

void Drain(int outFd, int errFd, std::string& out, std::string& err) {
  struct pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
  int open = 2;
  char buffer[65536];
  while (open > 0) {
    if (::poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
      if (n > 0) {
        (i == 0 ? out : err).append(buffer, static_cast<size_t>(n));
      } else {
        fds[i].fd = -1;
        --open;
      }
    }
  }
}

struct StartedProcess {
  pid_t pid;
  int out;
  int err;
};

StartedProcess Start(const std::vector<std::string>& argv, const RunOptions& options) {
  int outPipe[2];
  int errPipe[2];
  if (::pipe2(outPipe, O_CLOEXEC) != 0 || ::pipe2(errPipe, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe failed");
  }
  const pid_t pid = ::fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    ::dup2(outPipe[1], STDOUT_FILENO);
    ::dup2(errPipe[1], STDERR_FILENO);
    // Another user's preferences go to a folder of its own, unless the options name one.
    if (options.uid != static_cast<uid_t>(-1)) {
      ::setenv("XDG_CONFIG_HOME", Sandbox().HomeFor(options.uid).c_str(), 1);
    }
    for (const std::string& entry : options.env) ::putenv(const_cast<char*>(entry.c_str()));
    if (options.gid != static_cast<gid_t>(-1) && (::setgroups(0, nullptr) != 0 || ::setgid(options.gid) != 0)) _exit(126);
    if (options.uid != static_cast<uid_t>(-1) && ::setuid(options.uid) != 0) _exit(126);
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    // Last: this process may use more already, and only the new program must fit.
    const rlimit space{options.addressSpace, options.addressSpace};
    if (options.addressSpace != 0 && ::setrlimit(RLIMIT_AS, &space) != 0) _exit(126);
    ::execv(args[0], args.data());
    _exit(127);
  }
  ::close(outPipe[1]);
  ::close(errPipe[1]);
  return {pid, outPipe[0], errPipe[0]};
}

ProcessResult Finish(const StartedProcess& process) {
  ProcessResult result;
  Drain(process.out, process.err, result.out, result.err);
  ::close(process.out);
  ::close(process.err);
  int status = 0;
  while (::waitpid(process.pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

}  // namespace

ProcessResult Run(const std::vector<std::string>& argv, const RunOptions& options) {
  return Finish(Start(argv, options));
}

size_t LeastAddressSpace(const std::vector<std::string>& argv, int status) {
  const auto runs = [&](size_t limit) { return Run(argv, {.addressSpace = limit}).status == status; };
  size_t low = 1 << 20;
  size_t high = 1 << 30;
  if (!runs(high)) return 0;
  while (high - low > (64 << 10)) {
    const size_t middle = low + (high - low) / 2;
    (runs(middle) ? high : low) = middle;
  }
  return high;
}

std::vector<ProcessResult> RunAll(const std::vector<std::vector<std::string>>& argvList,
                                  size_t parallel) {
  std::vector<ProcessResult> results;
  results.reserve(argvList.size());
  for (size_t first = 0; first < argvList.size(); first += parallel) {
    std::vector<StartedProcess> started;
    for (size_t i = first; i < argvList.size() && i < first + parallel; ++i) {
      started.push_back(Start(argvList[i], {}));
    }
    for (const StartedProcess& process : started) results.push_back(Finish(process));
  }
  return results;
}

std::string HelperPath() { return GRANTWRIGHT_HELPER; }

std::string CommandPath() { return GRANTWRIGHT_CLI; }

std::string LinkSwapperPath() { return GRANTWRIGHT_LINK_SWAPPER; }

Background::Background(const std::vector<std::string>& argv, const RunOptions& options) {
  const StartedProcess process = Start(argv, options);
  ::close(process.out);
  ::close(process.err);
  pid_ = process.pid;
}

Background::~Background() {
  ::kill(pid_, SIGKILL);
  while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

ProcessResult RunHelper(const std::vector<std::string>& args, const RunOptions& options) {
  std::vector<std::string> argv{HelperPath()};
  argv.insert(argv.end(), args.begin(), args.end());
  return Run(argv, options);
}

LogCapture::LogCapture() {
  previous_ = SetLogSink([this](std::string_view line) { lines_.emplace_back(line); });
}

LogCapture::~LogCapture() { SetLogSink(std::move(previous_)); }

bool IsRoot() { return ::geteuid() == 0; }

std::vector<int> OpenDescriptors() {
  std::vector<int> open;
  DIR* listing = ::opendir("/proc/self/fd");
  if (listing == nullptr) throw std::runtime_error("/proc/self/fd cannot be listed");
  while (const dirent* entry = ::readdir(listing)) {
    if (entry->d_name[0] == '.') continue;
    const int fd = std::atoi(entry->d_name);
    if (fd != ::dirfd(listing)) open.push_back(fd);
  }
  ::closedir(listing);
  std::sort(open.begin(), open.end());
  return open;
}

namespace {

// `tag` and then `text`, appended. Written as `"i" + std::to_string(...)`, the text would be
// a temporary that the tag is inserted in front of, for which GCC 12 at -O3 reports a
// memcpy that may overlap (-Wrestrict): falsely, but it stops a build with -Werror.
std::string Tagged(std::string_view tag, std::string_view text) {
  std::string out(tag);
  return out.append(text);
}

}  // namespace

std::string Describe(const Variant& v) {
  std::string out;
  switch (v.Type()) {
    case Variant::kNil: return "nil";
    case Variant::kBoolean: return v.BooleanValue() ? "true" : "false";
    case Variant::kInt32:
    case Variant::kInt64: return Tagged("i", std::to_string(v.Int64Value()));
    case Variant::kDouble: return "d" + Str(v.DoubleValue()).Bytes();
    case Variant::kSingle: return "f" + Str(v.DoubleValue()).Bytes();
    case Variant::kColor: return Tagged("c", std::to_string(v.ColorValue().value));
    case Variant::kString: {
      const String& s = *v.Get<String>();
      return (s.Encoding() == Encodings::UTF8() ? "'" : "untagged'") + s.Bytes() + "'";
    }
    case Variant::kDate: {
      const double unix = v.ObjectAs<Date>()->MomentSeconds() - Date::kUnixEpochIn1904;
      return Tagged("t", std::to_string(static_cast<int64_t>(std::floor(unix))));
    }
    case Variant::kArray:
      for (size_t i = 0; i < v.ArraySize(); ++i) {
        out.append(i ? "," : "").append(Describe(v.ArrayElement(i)));
      }
      return "[" + out + "]";
  }
  if (const auto picture = v.ObjectAs<Picture>()) {
    return Tagged("pic", std::to_string(picture->Width())) + "x" + std::to_string(picture->Height());
  }
  if (const auto block = v.ObjectAs<MemoryBlock>()) return "m" + block->Bytes();
  const auto dict = v.ObjectAs<Dictionary>();
  if (!dict) return "object";
  for (const auto& [key, value] : dict->Entries()) {
    out += (out.empty() ? "" : ",") + key.StringValue().Bytes() + "=" + Describe(value);
  }
  return "{" + out + "}";
}

std::string Getfacl(const std::string& path) {
  const ProcessResult r = Run({"/usr/bin/getfacl", "-c", "-E", path});
  if (r.status != 0) throw std::runtime_error("getfacl failed: " + r.err);
  return r.out;
}

void Setfacl(const std::vector<std::string>& args) {
  std::vector<std::string> argv{"/usr/bin/setfacl"};
  argv.insert(argv.end(), args.begin(), args.end());
  const ProcessResult r = Run(argv);
  if (r.status != 0) throw std::runtime_error("setfacl failed: " + r.err);
}

ScopedEnv::ScopedEnv(const char* name, const char* value) : name_(name) {
  if (const char* old = std::getenv(name)) old_ = old;
  value ? ::setenv(name, value, 1) : ::unsetenv(name);
}

ScopedEnv::~ScopedEnv() {
  old_ ? ::setenv(name_.c_str(), old_->c_str(), 1) : ::unsetenv(name_.c_str());
}

}  // namespace grantwright::testing
