#include "platform/Picture.h"

#include <stb/stb_image.h>

#include <climits>
#include <cstring>
#include <string_view>

namespace grantwright {

namespace {

// The decoder knows more formats than these, some of which (TGA) have no signature and
// would take almost any bytes for an image. Only formats that announce themselves are let
// through.
bool HasKnownSignature(std::string_view b) {
  const auto starts = [&](std::string_view magic) { return b.substr(0, magic.size()) == magic; };
  return starts("\x89PNG\r\n\x1a\n") || starts("\xff\xd8\xff") || starts("GIF87a") ||
         starts("GIF89a") || starts("BM");
}

}  // namespace

PictureRef BinaryStringtoPicture(const String& data) {
  const std::string& bytes = data.Bytes();
  if (!HasKnownSignature(bytes) || bytes.size() > static_cast<size_t>(INT_MAX)) return nullptr;
  const auto* buffer = reinterpret_cast<const stbi_uc*>(bytes.data());
  const int length = static_cast<int>(bytes.size());
  int width = 0;
  int height = 0;
  int channels = 0;
  if (!stbi_info_from_memory(buffer, length, &width, &height, &channels)) return nullptr;
  if (width <= 0 || height <= 0 || int64_t{width} * height > kMaxPicturePixels) return nullptr;
  stbi_uc* pixels = stbi_load_from_memory(buffer, length, &width, &height, &channels, 4);
  if (pixels == nullptr) return nullptr;
  const size_t size = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
  std::vector<uint8_t> rgba(pixels, pixels + size);
  stbi_image_free(pixels);
  return std::make_shared<Picture>(width, height, std::move(rgba));
}

}  // namespace grantwright
