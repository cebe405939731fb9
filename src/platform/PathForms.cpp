#include "platform/PathForms.h"

namespace grantwright {

namespace {

bool IsAlphanumeric(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

bool StaysInURL(unsigned char c) {
  return IsAlphanumeric(c) || c == '-' || c == '.' || c == '_' || c == '~' || c == '/';
}

// Bytes no POSIX shell gives a meaning to, anywhere in a word. Everything else of the
// ASCII range is escaped, also bytes that matter only in some places ("=", "%", "~"), so
// the form holds wherever the word stands.
bool StaysInShell(unsigned char c) {
  return IsAlphanumeric(c) || c >= 0x80 || c == '/' || c == '.' || c == '_' || c == '-' ||
         c == '+' || c == ',' || c == ':' || c == '@';
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view lowerPrefix) {
  if (text.size() < lowerPrefix.size()) return false;
  for (size_t i = 0; i < lowerPrefix.size(); ++i) {
    const char c = text[i];
    const char lower = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    if (lower != lowerPrefix[i]) return false;
  }
  return true;
}

}  // namespace

std::string URLPathOf(std::string_view path, bool folder) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string url = "file://";
  url.reserve(url.size() + path.size() * 3 + 1);
  for (const unsigned char c : path) {
    if (StaysInURL(c)) {
      url += static_cast<char>(c);
    } else {
      url += '%';
      url += kHex[c >> 4];
      url += kHex[c & 15];
    }
  }
  if (folder && (path.empty() || path.back() != '/')) url += '/';
  return url;
}

std::string ShellPathOf(std::string_view path) {
  std::string shell;
  shell.reserve(path.size() * 2);
  for (const unsigned char c : path) {
    if (c == '\n') {
      shell += "'\n'";
    } else {
      if (!StaysInShell(c)) shell += '\\';
      shell += static_cast<char>(c);
    }
  }
  return shell;
}

std::optional<std::string> PathFromURL(std::string_view url) {
  if (!StartsWithIgnoringCase(url, "file://")) return std::nullopt;
  url.remove_prefix(7);
  const size_t slash = url.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const std::string_view host = url.substr(0, slash);
  if (!host.empty() && !(host.size() == 9 && StartsWithIgnoringCase(host, "localhost"))) {
    return std::nullopt;
  }
  std::string_view encoded = url.substr(slash);
  if (const size_t end = encoded.find_first_of("?#"); end != std::string_view::npos) {
    encoded = encoded.substr(0, end);
  }
  std::string path;
  path.reserve(encoded.size());
  for (size_t i = 0; i < encoded.size(); ++i) {
    const char c = encoded[i];
    if (c == '%' && i + 2 < encoded.size() && HexValue(encoded[i + 1]) >= 0 &&
        HexValue(encoded[i + 2]) >= 0) {
      const char byte = static_cast<char>(HexValue(encoded[i + 1]) * 16 + HexValue(encoded[i + 2]));
      if (byte == '\0' || byte == '/') return std::nullopt;
      path += byte;
      i += 2;
    } else {
      path += c;
    }
  }
  return path;
}

std::string PathFromShell(std::string_view text) {
  std::string word;
  word.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\\' && i + 1 < text.size()) {
      ++i;
      if (text[i] != '\n') word += text[i];
    } else if (c == '\'') {
      const size_t close = text.find('\'', i + 1);
      const size_t end = close == std::string_view::npos ? text.size() : close;
      word.append(text.substr(i + 1, end - i - 1));
      i = end;
    } else {
      word += c;
    }
  }
  return word;
}

}  // namespace grantwright
