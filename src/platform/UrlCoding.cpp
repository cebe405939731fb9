#include "platform/UrlCoding.h"

#include "platform/TextEncoding.h"

namespace grantwright {

namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         c == '-' || c == '_' || c == '.' || c == '~';
}

}  // namespace

String EncodingToURL(const String& text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.LenB() * 3);
  for (unsigned char c : text.Bytes()) {
    if (IsUnreserved(c)) {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back('%');
      out.push_back(kHex[c >> 4]);
      out.push_back(kHex[c & 0xF]);
    }
  }
  return String(std::move(out), Encodings::UTF8());
}

String DecodingFromURL(const String& text) {
  const std::string& in = text.Bytes();
  std::string out;
  out.reserve(in.size());
  for (size_t i = 0; i < in.size(); ++i) {
    if (in[i] == '%' && i + 2 < in.size() && HexValue(in[i + 1]) >= 0 && HexValue(in[i + 2]) >= 0) {
      out.push_back(static_cast<char>(HexValue(in[i + 1]) << 4 | HexValue(in[i + 2])));
      i += 2;
    } else {
      out.push_back(in[i]);
    }
  }
  return String(std::move(out), nullptr);
}

}  // namespace grantwright
