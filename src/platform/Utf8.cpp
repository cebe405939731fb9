#include "platform/Utf8.h"

namespace grantwright::utf8 {

int32_t Next(std::string_view bytes, size_t& pos) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned char lead = byte(pos);
  if (lead < 0x80) {
    ++pos;
    return lead;
  }
  int length;
  int32_t cp;
  int32_t minimum;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2, cp = lead & 0x1F, minimum = 0x80;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3, cp = lead & 0x0F, minimum = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4, cp = lead & 0x07, minimum = 0x10000;
  } else {
    ++pos;
    return -1;
  }
  if (pos + length > bytes.size()) {
    ++pos;
    return -1;
  }
  for (int i = 1; i < length; ++i) {
    const unsigned char c = byte(pos + i);
    if ((c & 0xC0) != 0x80) {
      ++pos;
      return -1;
    }
    cp = (cp << 6) | (c & 0x3F);
  }
  if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++pos;
    return -1;
  }
  pos += length;
  return cp;
}

void Append(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

std::string Sanitized(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  size_t pos = 0;
  while (pos < bytes.size()) {
    const size_t start = pos;
    const int32_t cp = Next(bytes, pos);
    if (cp < 0) {
      Append(out, 0xFFFD);
    } else {
      out.append(bytes.substr(start, pos - start));
    }
  }
  return out;
}

}  // namespace grantwright::utf8
