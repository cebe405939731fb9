#include "support/ExtraAccounts.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "support/TestSupport.h"

namespace grantwright::testing {

namespace {

constexpr const char* kFolder = "/var/lib/extrausers";
constexpr const char* kNsswitch = "/etc/nsswitch.conf";
constexpr const char* kLock = "/run/grantwright-extra-accounts.lock";

// False with errno set when the file cannot be read.
bool ReadFile(const std::string& path, std::string& bytes) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char buffer[4096];
  ssize_t n;
  while ((n = ::read(fd, buffer, sizeof buffer)) > 0) bytes.append(buffer, static_cast<size_t>(n));
  ::close(fd);
  return n == 0;
}

// Writes `bytes` beside `path` and renames it over, so that no reader sees a part.
bool WriteAtomically(const std::string& path, const std::string& bytes) {
  const std::string temporary = path + ".gw19-" + std::to_string(::getpid());
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    if (!(out << bytes) || !out.flush()) return false;
  }
  if (::chmod(temporary.c_str(), 0644) != 0 || ::rename(temporary.c_str(), path.c_str()) != 0) {
    ::unlink(temporary.c_str());
    return false;
  }
  return true;
}

// `text` with " extrausers" at the end of its passwd and group lines (the lines added
// when it has none).
std::string AddSource(std::string text, const std::string& source) {
  for (const std::string database : {"passwd", "group"}) {
    bool found = false;
    size_t start = 0;
    while (start < text.size()) {
      size_t end = text.find('\n', start);
      if (end == std::string::npos) end = text.size();
      if (text.compare(start, database.size() + 1, database + ":") == 0) {
        size_t content = text.find('#', start);
        if (content == std::string::npos || content > end) content = end;
        text.insert(content, " " + source);
        end += source.size() + 1;
        found = true;
      }
      start = end + 1;
    }
    if (!found) text += (text.empty() || text.back() == '\n' ? "" : "\n") + database + ": files " + source + "\n";
  }
  return text;
}

std::string AppendLine(std::string text, const std::string& line) {
  if (!text.empty() && text.back() != '\n') text += '\n';
  return text + line + "\n";
}

}  // namespace

ExtraAccounts::ExtraAccounts(const std::string& name, uint32_t id) {
  if (!IsRoot()) {
    unavailable_ = "needs root to change /etc/nsswitch.conf";
    return;
  }
  lock_ = ::open(kLock, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (lock_ < 0 || ::flock(lock_, LOCK_EX) != 0) {
    unavailable_ = std::string("cannot lock ") + kLock;
    return;
  }
  unavailable_ = SetUp(name, id);
}

std::string ExtraAccounts::SetUp(const std::string& name, uint32_t id) {
  if (::mkdir(kFolder, 0755) == 0) {
    madeFolder_ = true;
  } else if (errno != EEXIST) {
    return std::string("cannot make ") + kFolder;
  }
  const std::string ids = std::to_string(id);
  if (!Change(std::string(kFolder) + "/passwd", AppendLine, name + ":x:" + ids + ":" + ids + "::/nonexistent:/usr/sbin/nologin") ||
      !Change(std::string(kFolder) + "/group", AppendLine, name + ":x:" + ids + ":") ||
      !Change(kNsswitch, AddSource, "extrausers")) {
    return "cannot change the account files";
  }
  // The source works when a dynamically linked program finds the account through it.
  if (Run({"/usr/bin/getent", "passwd", name}).status != 0 || Run({"/usr/bin/getent", "group", name}).status != 0) {
    return "libnss-extrausers does not answer (is the package installed?)";
  }
  return "";
}

bool ExtraAccounts::Change(const std::string& path, std::string (*change)(std::string, const std::string&),
                           const std::string& argument) {
  Saved saved{path, false, ""};
  saved.existed = ReadFile(path, saved.bytes);
  if (!saved.existed && errno != ENOENT) return false;
  if (!WriteAtomically(path, change(saved.bytes, argument))) return false;
  saved_.push_back(std::move(saved));
  return true;
}

ExtraAccounts::~ExtraAccounts() {
  for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
    if (it->existed) {
      WriteAtomically(it->path, it->bytes);
    } else {
      ::unlink(it->path.c_str());
    }
  }
  if (madeFolder_) ::rmdir(kFolder);
  if (lock_ >= 0) ::close(lock_);
}

}  // namespace grantwright::testing
