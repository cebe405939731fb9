#include "platform/UserFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/Accounts.h"
#include "platform/BinaryStream.h"
#include "platform/Exceptions.h"

namespace grantwright {

namespace {

// The account database entry of the real user id; false when there is none.
bool AccountEntry(struct passwd& entry, std::vector<char>& buffer) {
  buffer.resize(16384);
  ConfineAccountLookupsWhenStatic();
  struct passwd* found = nullptr;
  return ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found;
}

std::string HomePath() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') return home;
  struct passwd entry;
  std::vector<char> buffer;
  return AccountEntry(entry, buffer) && entry.pw_dir ? entry.pw_dir : "";
}

std::string ReadSmallFile(const std::string& path) {
  try {
    const auto stream = BinaryStream::Open(PathToFolderItem(String(path)), /*readWrite=*/false);
    return stream->Read(stream->Length() < 65536 ? stream->Length() : 65536, nullptr).Bytes();
  } catch (const RuntimeException&) {
    return std::string();
  }
}

// XDG_DOCUMENTS_DIR="$HOME/Documents" or ="/absolute/path"; anything else is ignored.
std::string DocumentsFromUserDirs(const std::string& home) {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  const std::string base = config && *config == '/' ? config : home + "/.config";
  const std::string text = ReadSmallFile(base + "/user-dirs.dirs");
  const std::string key = "XDG_DOCUMENTS_DIR=\"";
  size_t at = 0;
  while ((at = text.find(key, at)) != std::string::npos) {
    if (at == 0 || text[at - 1] == '\n') break;
    at += key.size();
  }
  if (at == std::string::npos) return std::string();
  const size_t start = at + key.size();
  const size_t end = text.find('"', start);
  if (end == std::string::npos) return std::string();
  std::string value = text.substr(start, end - start);
  if (value.rfind("$HOME", 0) == 0) return home + value.substr(5);
  return value.rfind('/', 0) == 0 ? value : std::string();
}

}  // namespace

namespace SpecialFolder {

FolderItemRef Documents() {
  const std::string home = HomePath();
  if (home.empty()) return nullptr;
  const std::string fromUserDirs = DocumentsFromUserDirs(home);
  return PathToFolderItem(String(fromUserDirs.empty() ? home + "/Documents" : fromUserDirs));
}

FolderItemRef UserHome() {
  const std::string home = HomePath();
  return home.empty() ? nullptr : PathToFolderItem(String(home));
}

FolderItemRef Home() { return PathToFolderItem("/home"); }

}  // namespace SpecialFolder

namespace SystemInformation {

String ShortUsername() {
  struct passwd entry;
  std::vector<char> buffer;
  if (AccountEntry(entry, buffer) && entry.pw_name) return String(std::string(entry.pw_name));
  return Str(static_cast<int64_t>(::getuid()));
}

}  // namespace SystemInformation

}  // namespace grantwright
