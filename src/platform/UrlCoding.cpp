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

std::string DecodedURLBytes(std::string_view in) {
  std::string out;
  out.reserve(in.size());
  size_t pos = 0;
  while (pos < in.size()) {
    const size_t percent = in.find('%', pos);
    if (percent == std::string_view::npos) {
      out.append(in.substr(pos));
      break;
    }
    out.append(in.substr(pos, percent - pos));
    const int high = percent + 2 < in.size() ? HexValue(in[percent + 1]) : -1;
    const int low = high >= 0 ? HexValue(in[percent + 2]) : -1;
    if (low >= 0) {
      out.push_back(static_cast<char>(high << 4 | low));
      pos = percent + 3;
    } else {
      out.push_back('%');
      pos = percent + 1;
    }
  }
  return out;
}

String DecodingFromURL(const String& text) { return String(DecodedURLBytes(text.Bytes()), nullptr); }

}  // namespace grantwright
