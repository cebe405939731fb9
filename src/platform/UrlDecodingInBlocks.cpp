// A speed-up of percent-decoding: the '%' bytes are found 64 at a time, and each escape
// is decoded where it stands, into a buffer of the input's size. With a loop that looks at
// every byte instead, decoding the 1 MB typed configuration whose bulk is a URL-encoded
// access control list, an escape every few bytes, takes 2.5 times as long: 3.7 times the
// time libplist takes for the same values instead of 1.5 (bench/decode_config.cpp).

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "platform/UrlCoding.h"

namespace grantwright {

namespace {

// Bit i set for each byte i of the 64 at `p` that is a '%'.
uint64_t PercentMarks(const char* p) {
  constexpr uint64_t kLow7 = 0x7F7F7F7F7F7F7F7FULL;
  constexpr uint64_t kPercents = 0x2525252525252525ULL;
  uint64_t marks = 0;
  for (int k = 0; k < 8; ++k) {
    uint64_t word;
    std::memcpy(&word, p + 8 * k, 8);
    const uint64_t x = word ^ kPercents;
    // The top bit of each byte that is zero in x, with no carry from byte to byte...
    const uint64_t zeros = ~(((x & kLow7) + kLow7) | x | kLow7);
    // ...gathered into the low eight bits, byte k's into bit k.
    marks |= ((zeros >> 7) * 0x0102040810204080ULL >> 56) << (8 * k);
  }
  return marks;
}

}  // namespace

std::string DecodedURLBytes(std::string_view in) {
  static constexpr auto kHex = [] {
    std::array<int8_t, 256> table{};
    table.fill(-1);
    for (int c = 0; c < 10; ++c) table['0' + c] = static_cast<int8_t>(c);
    for (int c = 0; c < 6; ++c) table['a' + c] = table['A' + c] = static_cast<int8_t>(10 + c);
    return table;
  }();
  if (in.empty()) return {};
  const char* const src = in.data();
  const size_t size = in.size();
  // Decoding never lengthens the text: the output is written in place, never ahead of the
  // input, and trimmed at the end.
  std::string out(size, '\0');
  char* o = out.data();
  size_t from = 0;  // the first input byte not yet read
  // Every '%' starts an escape, whole or broken, since hex digits are never '%': the '%'
  // bytes are found 64 at a time, and each is decoded where it stands.
  const auto escape = [&](size_t at) {
    const size_t run = at - from;
    if (run <= 8 && from + 8 <= size) {
      std::memcpy(o, src + from, 8);  // room: o + 8 <= out.data() + from + 8 <= end
    } else {
      std::memcpy(o, src + from, run);
    }
    o += run;
    const int high = at + 2 < size ? kHex[static_cast<unsigned char>(src[at + 1])] : -1;
    const int low = high >= 0 ? kHex[static_cast<unsigned char>(src[at + 2])] : -1;
    if (low >= 0) {
      *o++ = static_cast<char>(high << 4 | low);
      from = at + 3;
    } else {
      *o++ = '%';
      from = at + 1;
    }
  };
  size_t block = 0;
  for (; block + 64 <= size; block += 64) {
    for (uint64_t marks = PercentMarks(src + block); marks != 0; marks &= marks - 1) {
      escape(block + static_cast<size_t>(std::countr_zero(marks)));
    }
  }
  for (size_t at = block; at < size; ++at) {
    if (src[at] == '%') escape(at);
  }
  std::memcpy(o, src + from, size - from);
  o += size - from;
  out.resize(static_cast<size_t>(o - out.data()));
  return out;
}

}  // namespace grantwright
