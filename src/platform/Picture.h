#pragma once
// Picture: an image held as 8-bit RGBA pixels, row by row from the top left.

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/Object.h"
#include "platform/String.h"

namespace grantwright {

class Picture : public Object {
 public:
  Picture(int width, int height, std::vector<uint8_t> rgba)
      : width_(width), height_(height), rgba_(std::move(rgba)) {}
  const char* ClassName() const override { return "Picture"; }

  int Width() const { return width_; }
  int Height() const { return height_; }
  // Width * Height * 4 bytes: red, green, blue, alpha.
  const std::vector<uint8_t>& RGBA() const { return rgba_; }

 private:
  int width_;
  int height_;
  std::vector<uint8_t> rgba_;
};

using PictureRef = std::shared_ptr<Picture>;

// The most pixels a picture made from bytes may have (a 4096 x 4096 image); larger
// images are refused before any pixel is decoded, so hostile bytes cannot make the
// decoder claim much memory.
inline constexpr int64_t kMaxPicturePixels = int64_t{4096} * 4096;

// The picture that `data` holds as a PNG, JPEG, GIF (its first frame) or BMP file; nil for
// bytes in any other format, for bytes that cannot be decoded and for images with more
// than kMaxPicturePixels pixels. The string's encoding tag is not looked at.
PictureRef BinaryStringtoPicture(const String& data);

}  // namespace grantwright
