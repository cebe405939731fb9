#include "cli/StoredText.h"

#include "platform/FileIO.h"

namespace grantwright::Commands {

int ReadStored(const std::string& path, std::string& content) {
  if (const int error = ReadWholeFile(path, kMaxStoredSize, content); error != 0) return error;
  if (content.ends_with("\r\n")) {
    content.resize(content.size() - 2);
  } else if (content.ends_with('\n')) {
    content.pop_back();
  }
  return 0;
}

}  // namespace grantwright::Commands
