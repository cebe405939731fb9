#include "platform/TextEncoding.h"

#include <iconv.h>
#include <utf8proc.h>

#include <cerrno>
#include <cstring>

#include "platform/OutOfMemory.h"
#include "platform/Utf8.h"

namespace grantwright {

namespace {

constexpr TextEncoding kUTF8(TextEncoding::Kind::UTF8, "UTF-8");
constexpr TextEncoding kUTF16(TextEncoding::Kind::UTF16, "UTF-16");
constexpr TextEncoding kUTF16LE(TextEncoding::Kind::UTF16LE, "UTF-16LE");
constexpr TextEncoding kUTF16BE(TextEncoding::Kind::UTF16BE, "UTF-16BE");
constexpr TextEncoding kUTF32LE(TextEncoding::Kind::UTF32LE, "UTF-32LE");
constexpr TextEncoding kUTF32BE(TextEncoding::Kind::UTF32BE, "UTF-32BE");
constexpr TextEncoding kASCII(TextEncoding::Kind::ASCII, "US-ASCII");
constexpr TextEncoding kWindows1252(TextEncoding::Kind::Windows1252, "windows-1252");

// windows-1252 bytes 0x80 to 0x9F. The five bytes the code page leaves undefined keep
// their C1 control value, so every byte has a character.
constexpr char16_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char32_t Windows1252ToUnicode(unsigned char byte) {
  return (byte >= 0x80 && byte <= 0x9F) ? kWindows1252High[byte - 0x80] : byte;
}

// The code point is one that real text holds: assigned, not a noncharacter, not
// private-use, and no C0 control but TAB, LF and CR.
bool IsTextCodePoint(uint32_t cp) {
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
  if (cp < 0x20) return cp == '\t' || cp == '\n' || cp == '\r';
  if ((cp >= 0xFDD0 && cp <= 0xFDEF) || (cp & 0xFFFE) == 0xFFFE) return false;
  const utf8proc_category_t category = utf8proc_category(static_cast<utf8proc_int32_t>(cp));
  return category != UTF8PROC_CATEGORY_CN && category != UTF8PROC_CATEGORY_CO;
}

bool IsValidUtf16(std::string_view bytes, bool littleEndian) {
  if (bytes.size() % 2 != 0) return false;
  bool holdsLatin1 = bytes.empty();
  const auto unit = [&](size_t i) -> uint32_t {
    const auto b0 = static_cast<unsigned char>(bytes[i]);
    const auto b1 = static_cast<unsigned char>(bytes[i + 1]);
    return littleEndian ? (b1 << 8 | b0) : (b0 << 8 | b1);
  };
  for (size_t i = 0; i < bytes.size(); i += 2) {
    uint32_t cp = unit(i);
    if (cp >= 0xDC00 && cp <= 0xDFFF) return false;
    if (cp >= 0xD800 && cp <= 0xDBFF) {
      if (i + 2 >= bytes.size()) return false;
      const uint32_t low = unit(i + 2);
      if (low < 0xDC00 || low > 0xDFFF) return false;
      cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
      i += 2;
    }
    if (!IsTextCodePoint(cp)) return false;
    holdsLatin1 |= cp < 0x100;
  }
  return holdsLatin1;
}

bool IsValidUtf32(std::string_view bytes, bool littleEndian) {
  if (bytes.size() % 4 != 0) return false;
  for (size_t i = 0; i < bytes.size(); i += 4) {
    uint32_t cp = 0;
    for (int k = 0; k < 4; ++k) {
      const auto b = static_cast<unsigned char>(bytes[i + (littleEndian ? 3 - k : k)]);
      cp = cp << 8 | b;
    }
    if (!IsTextCodePoint(cp)) return false;
  }
  return true;
}

size_t CodeUnitSize(const TextEncoding* encoding) {
  switch (encoding->kind()) {
    case TextEncoding::Kind::UTF16:
    case TextEncoding::Kind::UTF16LE:
    case TextEncoding::Kind::UTF16BE:
      return 2;
    case TextEncoding::Kind::UTF32LE:
    case TextEncoding::Kind::UTF32BE:
      return 4;
    default:
      return 1;
  }
}

// Converts between a UTF-16/32 encoding and UTF-8 with iconv. Invalid input units become
// U+FFFD (when decoding) and are skipped one code unit at a time; characters the target
// cannot hold never occur between Unicode encodings.
std::string IconvConvert(std::string_view in, const char* from, const char* to,
                         size_t inUnit, std::string_view replacement) {
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    ThrowIfOutOfMemory(errno);
    return std::string();
  }
  std::string out;
  out.resize(in.size() * 2 + 16);
  char* inPtr = const_cast<char*>(in.data());
  size_t inLeft = in.size();
  size_t outPos = 0;
  while (true) {
    char* outPtr = out.data() + outPos;
    size_t outLeft = out.size() - outPos;
    const size_t rc = iconv(cd, inLeft ? &inPtr : nullptr, &inLeft, &outPtr, &outLeft);
    outPos = static_cast<size_t>(outPtr - out.data());
    if (rc != static_cast<size_t>(-1)) {
      if (inLeft == 0) break;
      continue;
    }
    if (errno == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    // EILSEQ or EINVAL (a truncated unit at the end): replace one unit and go on.
    if (out.size() - outPos < replacement.size()) out.resize(out.size() * 2 + replacement.size());
    std::memcpy(out.data() + outPos, replacement.data(), replacement.size());
    outPos += replacement.size();
    const size_t skip = inLeft < inUnit ? inLeft : inUnit;
    inPtr += skip;
    inLeft -= skip;
    if (inLeft == 0) break;
  }
  // It fails only for a descriptor iconv_open did not give.
  (void)iconv_close(cd);
  out.resize(outPos);
  return out;
}

std::string ToUtf8(const String& text) {
  const std::string& bytes = text.Bytes();
  const TextEncoding* from = text.Encoding();
  switch (from->kind()) {
    case TextEncoding::Kind::UTF8:
      return utf8::Sanitized(bytes);
    case TextEncoding::Kind::ASCII: {
      std::string out;
      out.reserve(bytes.size());
      for (unsigned char c : bytes) {
        if (c < 0x80) {
          out.push_back(static_cast<char>(c));
        } else {
          utf8::Append(out, 0xFFFD);
        }
      }
      return out;
    }
    case TextEncoding::Kind::Windows1252: {
      std::string out;
      out.reserve(bytes.size());
      for (unsigned char c : bytes) utf8::Append(out, Windows1252ToUnicode(c));
      return out;
    }
    default:
      return IconvConvert(bytes, from->InternetName(), "UTF-8", CodeUnitSize(from), "\xEF\xBF\xBD");
  }
}

std::string FromUtf8(const std::string& utf8Text, const TextEncoding* to) {
  switch (to->kind()) {
    case TextEncoding::Kind::UTF8:
      return utf8Text;
    case TextEncoding::Kind::ASCII:
    case TextEncoding::Kind::Windows1252: {
      std::string out;
      out.reserve(utf8Text.size());
      size_t pos = 0;
      while (pos < utf8Text.size()) {
        const int32_t cp = utf8::Next(utf8Text, pos);
        char byte = '?';
        if (cp >= 0 && cp < 0x80) {
          byte = static_cast<char>(cp);
        } else if (cp >= 0 && to->kind() == TextEncoding::Kind::Windows1252) {
          for (int b = 0x80; b <= 0xFF; ++b) {
            if (Windows1252ToUnicode(static_cast<unsigned char>(b)) == static_cast<char32_t>(cp)) {
              byte = static_cast<char>(b);
              break;
            }
          }
        }
        out.push_back(byte);
      }
      return out;
    }
    default:
      // UTF-8 in, so every character is representable; "?" only guards the impossible.
      return IconvConvert(utf8Text, "UTF-8", to->InternetName(), 1, "?");
  }
}

}  // namespace

bool TextEncoding::IsUnicode() const {
  return kind_ != Kind::ASCII && kind_ != Kind::Windows1252;
}

bool TextEncoding::IsValidData(std::string_view bytes) const {
  switch (kind_) {
    case Kind::UTF8:
      return utf8::IsValid(bytes);
    case Kind::ASCII:
      return utf8::IsAscii(bytes);
    case Kind::Windows1252:
      return true;
    case Kind::UTF16LE:
      return IsValidUtf16(bytes, /*littleEndian=*/true);
    case Kind::UTF16BE:
      return IsValidUtf16(bytes, /*littleEndian=*/false);
    case Kind::UTF16:
      if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
          static_cast<unsigned char>(bytes[1]) == 0xFE) {
        return IsValidUtf16(bytes.substr(2), /*littleEndian=*/true);
      }
      if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFE &&
          static_cast<unsigned char>(bytes[1]) == 0xFF) {
        return IsValidUtf16(bytes.substr(2), /*littleEndian=*/false);
      }
      return IsValidUtf16(bytes, /*littleEndian=*/false);
    case Kind::UTF32LE:
      return IsValidUtf32(bytes, /*littleEndian=*/true);
    case Kind::UTF32BE:
      return IsValidUtf32(bytes, /*littleEndian=*/false);
  }
  return false;
}

namespace Encodings {
const TextEncoding* UTF8() { return &kUTF8; }
const TextEncoding* UTF16() { return &kUTF16; }
const TextEncoding* UTF16LE() { return &kUTF16LE; }
const TextEncoding* UTF16BE() { return &kUTF16BE; }
const TextEncoding* UTF32LE() { return &kUTF32LE; }
const TextEncoding* UTF32BE() { return &kUTF32BE; }
const TextEncoding* ASCII() { return &kASCII; }
const TextEncoding* SystemDefault() { return &kWindows1252; }
}  // namespace Encodings

String DefineEncoding(const String& text, const TextEncoding* encoding) {
  return String(text.Bytes(), encoding);
}

String ConvertEncoding(const String& text, const TextEncoding* encoding) {
  if (text.Encoding() == nullptr || encoding == nullptr) return text;
  if (text.Encoding() == encoding && encoding->kind() != TextEncoding::Kind::UTF8) return text;
  return String(FromUtf8(ToUtf8(text), encoding), encoding);
}

String ReplaceLineEndings(const String& text, const String& lineEnding) {
  const TextEncoding* tag = text.Encoding();
  const bool wide = tag != nullptr && CodeUnitSize(tag) > 1;
  const std::string bytes = wide ? ToUtf8(text) : text.Bytes();
  const std::string ending = wide ? lineEnding.Utf8() : lineEnding.Bytes();
  std::string out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\r') {
      if (i + 1 < bytes.size() && bytes[i + 1] == '\n') ++i;
      out += ending;
    } else if (bytes[i] == '\n') {
      out += ending;
    } else {
      out.push_back(bytes[i]);
    }
  }
  return wide ? String(FromUtf8(out, tag), tag) : String(std::move(out), tag);
}

}  // namespace grantwright
