#include "platform/AccountFiles.h"

#include <string>

#include "platform/FileIO.h"
#include "platform/OutOfMemory.h"

namespace grantwright::AccountFiles {

namespace {

template <class Matches>
std::optional<AccountDatabase::Entry> First(std::string_view text, Matches matches) {
  while (!text.empty()) {
    const size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (std::optional<AccountDatabase::Entry> entry = AccountDatabase::EntryOf(line); entry && matches(*entry)) {
      return entry;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<AccountDatabase::Entry> FindName(std::string_view text, std::string_view name) {
  return First(text, [&](const AccountDatabase::Entry& entry) { return entry.name == name; });
}

std::optional<AccountDatabase::Entry> FindId(std::string_view text, uint32_t id) {
  return First(text, [&](const AccountDatabase::Entry& entry) { return entry.id == id; });
}

std::string_view Text(std::string_view database) {
  struct File {
    bool read = false;
    std::string text;
  };
  static File users, groups;
  File& file = database == AccountDatabase::kUsers ? users : groups;
  if (!file.read) {
    const int error = ReadWholeFile(&file == &users ? kUsersFile : kGroupsFile, kMaxBytes, file.text);
    ThrowIfOutOfMemory(error);
    file.read = true;
  }
  return file.text;
}

}  // namespace grantwright::AccountFiles
