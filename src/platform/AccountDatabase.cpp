#include "platform/AccountDatabase.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/FileIO.h"
#include "platform/OutOfMemory.h"

namespace grantwright::AccountDatabase {

namespace {

// Up to `limit` bytes from `fd`, stopping early at its end or at a failed read.
std::string ReadUpTo(int fd, size_t limit) {
  std::string bytes(limit, '\0');
  size_t done = 0;
  while (done < limit) {
    const ssize_t n = ::read(fd, bytes.data() + done, limit - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  bytes.resize(done);
  return bytes;
}

// Reads `fd` to its end, keeping nothing, so that the writer can finish.
void Drain(int fd) {
  char scratch[4096];
  for (;;) {
    const ssize_t n = ::read(fd, scratch, sizeof scratch);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
  }
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

// Starts `program` with `argv`, no environment, and its standard output on the write end
// of a pipe whose read end goes to `readEnd`. The child's pid, or -1.
pid_t Start(const char* program, char* const argv[], int& readEnd) {
  int pipeEnds[2];
  if (::pipe2(pipeEnds, O_CLOEXEC) != 0) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawnattr_init(&attributes);
  // The caller may ignore SIGPIPE or block signals; the child starts as any program would.
  sigset_t all;
  sigset_t none;
  ::sigfillset(&all);
  ::sigemptyset(&none);
  ::posix_spawnattr_setsigdefault(&attributes, &all);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
  ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  // Descriptors the caller opened without O_CLOEXEC stay out of the child too.
  ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  char* const noEnvironment[] = {nullptr};
  pid_t pid = -1;
  const int error = ::posix_spawn(&pid, program, &actions, &attributes, argv, noEnvironment);
  ::posix_spawn_file_actions_destroy(&actions);
  ::posix_spawnattr_destroy(&attributes);
  // The parent never writes to the pipe: its end closes with nothing that could be lost.
  CloseReadDescriptor(pipeEnds[1]);
  if (error != 0) {
    CloseReadDescriptor(pipeEnds[0]);
    ThrowIfOutOfMemory(error);
    return -1;
  }
  readEnd = pipeEnds[0];
  return pid;
}

}  // namespace

std::optional<uint32_t> IdOf(std::string_view digits) {
  if (digits.empty() || digits.size() > 10 || (digits.size() > 1 && digits[0] == '0')) return std::nullopt;
  uint64_t id = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
    id = id * 10 + static_cast<uint64_t>(c - '0');
  }
  if (id >= UINT32_MAX) return std::nullopt;
  return static_cast<uint32_t>(id);
}

std::optional<Entry> EntryOf(std::string_view answer) {
  answer = answer.substr(0, answer.find('\n'));
  const size_t first = answer.find(':');
  if (first == 0 || first == std::string_view::npos) return std::nullopt;
  const size_t second = answer.find(':', first + 1);
  if (second == std::string_view::npos) return std::nullopt;
  const size_t third = answer.find(':', second + 1);
  if (third == std::string_view::npos) return std::nullopt;
  const std::optional<uint32_t> id = IdOf(answer.substr(second + 1, third - second - 1));
  if (!id) return std::nullopt;
  return Entry{std::string(answer.substr(0, first)), *id};
}

bool NamesOtherSources(std::string_view text, std::string_view database) {
  bool others = false;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    line = line.substr(0, line.find('#'));
    while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
    if (line.substr(0, database.size()) != database) continue;
    line.remove_prefix(database.size());
    while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
    if (line.empty() || line.front() != ':') continue;
    line.remove_prefix(1);

    // A later line for the same database replaces an earlier one.
    others = false;
    bool inAction = false;
    size_t start = 0;
    for (size_t i = 0; i <= line.size(); ++i) {
      const char c = i < line.size() ? line[i] : ' ';
      if (inAction) {
        inAction = c != ']';
        start = i + 1;
      } else if (c == '[') {
        inAction = true;
      } else if (IsBlank(c)) {
        if (i > start && line.substr(start, i - start) != "files") others = true;
        start = i + 1;
      }
    }
  }
  return others;
}

std::optional<Entry> Ask(std::string_view database, const std::string& key, const char* getent) {
  if (key.empty() || key.find_first_of(std::string_view(":\n\0", 3)) != std::string::npos) return std::nullopt;
  // "--" first, so that a name beginning with "-" is not taken for an option.
  std::string databaseArg(database);
  std::string keyArg(key);
  char name[] = "getent";
  char endOfOptions[] = "--";
  char* const argv[] = {name, endOfOptions, databaseArg.data(), keyArg.data(), nullptr};
  int readEnd = -1;
  const pid_t pid = Start(getent, argv, readEnd);
  if (pid < 0) return std::nullopt;
  const std::string answer = ReadUpTo(readEnd, kMaxAnswerBytes);
  Drain(readEnd);
  CloseReadDescriptor(readEnd);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return std::nullopt;
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return EntryOf(answer);
}

std::optional<Entry> LookUpBeyondFiles(std::string_view database, const std::string& key,
                                       const char* nsswitchConf, const char* getent) {
  const int fd = ::open(nsswitchConf, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  const std::string text = ReadUpTo(fd, kMaxNsswitchBytes);
  CloseReadDescriptor(fd);
  if (!NamesOtherSources(text, database)) return std::nullopt;
  return Ask(database, key, getent);
}

}  // namespace grantwright::AccountDatabase
