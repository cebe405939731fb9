#include "platform/Base64.h"

#include <cstdint>

namespace grantwright {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int Base64Value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

}  // namespace

void AppendBase64(std::string_view bytes, std::string& out) {
  size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const uint32_t n = static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << 16 |
                       static_cast<uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8 |
                       static_cast<unsigned char>(bytes[i + 2]);
    out += kBase64[n >> 18];
    out += kBase64[(n >> 12) & 63];
    out += kBase64[(n >> 6) & 63];
    out += kBase64[n & 63];
  }
  const size_t rest = bytes.size() - i;
  if (rest == 0) return;
  uint32_t n = static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << 16;
  if (rest == 2) n |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8;
  out += kBase64[n >> 18];
  out += kBase64[(n >> 12) & 63];
  out += rest == 2 ? kBase64[(n >> 6) & 63] : '=';
  out += '=';
}

bool DecodeBase64(std::string_view text, std::string& out) {
  uint32_t accumulator = 0;
  int bits = 0;
  bool padded = false;
  for (char c : text) {
    if (IsBlank(c)) continue;
    if (c == '=') {
      padded = true;
      continue;
    }
    const int value = Base64Value(c);
    if (value < 0 || padded) return false;
    accumulator = (accumulator << 6) | static_cast<uint32_t>(value);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out += static_cast<char>((accumulator >> bits) & 0xFF);
    }
  }
  return bits < 6;  // a single leftover character carries less than one byte
}

}  // namespace grantwright
