#include <gtest/gtest.h>
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

#include <string>
#include <vector>

#include "platform/HtmlCoding.h"
#include "platform/Picture.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"

namespace grantwright {
namespace {

TEST(UrlCoding, RoundTripsEveryByte) {
  std::string all;
  for (int c = 0; c < 256; ++c) all.push_back(static_cast<char>(c));
  for (const std::string& bytes : {all, std::string("a b+c%d/e~f-g_h.i"), std::string()}) {
    const String encoded = EncodingToURL(String(bytes, nullptr));
    for (unsigned char c : encoded.Bytes()) {
      EXPECT_TRUE(isalnum(c) || std::string("-_.~%").find(static_cast<char>(c)) != std::string::npos);
    }
    EXPECT_TRUE(Identical(DecodingFromURL(encoded), String(bytes, nullptr)));
  }
  EXPECT_TRUE(Identical(EncodingToURL("a b+/~"), "a%20b%2B%2F~"));
  EXPECT_TRUE(Identical(DecodingFromURL("%41%4a+%zz%4"), "AJ+%zz%4"));
}

TEST(HtmlCoding, ReplacesXmlLatin1AndNumericReferences) {
  const char* const cases[][2] = {
      {"&amp;&lt;&gt;&quot;&apos;", "&<>\"'"},
      {"&nbsp;&iexcl;&Eacute;&eacute;&times;&yuml;", "\u00A0\u00A1\u00C9\u00E9\u00D7\u00FF"},
      {"&#65;&#x42;&#X43;&#0233;&#x1F600;", "ABC\u00E9\U0001F600"},
      {"&#0;&#xD800;&#x110000;&#99999999999;", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"&EACUTE; &euro; &amp &#; &#x; &#12a; & ;", "&EACUTE; &euro; &amp &#; &#x; &#12a; & ;"},
      {"a&&amp;b", "a&&b"},
  };
  for (const auto& c : cases) {
    const String decoded = DecodingFromHTML(c[0]);
    EXPECT_TRUE(Identical(decoded, c[1])) << c[0] << " -> " << decoded.Bytes();
    EXPECT_EQ(decoded.Encoding(), Encodings::UTF8());
  }
  // Text in another encoding is read as text.
  EXPECT_TRUE(Identical(DecodingFromHTML(String(std::string("\xE9&amp;"), Encodings::SystemDefault())),
                        "\xC3\xA9&"));
}

std::string Encoded(int (*write)(stbi_write_func*, void*, int, int, int, const void*)) {
  const unsigned char pixels[] = {255, 0, 0, 255, 0, 0, 255, 255};  // red, blue: 2 x 1
  std::string out;
  write([](void* context, void* data, int size) {
          static_cast<std::string*>(context)->append(static_cast<const char*>(data), size);
        },
        &out, 2, 1, 4, pixels);
  return out;
}

TEST(Picture, DecodesPngJpegGifAndBmpAndNothingElse) {
  const std::string png = Encoded([](stbi_write_func* f, void* c, int w, int h, int n, const void* d) {
    return stbi_write_png_to_func(f, c, w, h, n, d, w * n);
  });
  const std::string bmp = Encoded(stbi_write_bmp_to_func);
  const std::string jpeg = Encoded([](stbi_write_func* f, void* c, int w, int h, int n, const void* d) {
    return stbi_write_jpg_to_func(f, c, w, h, n, d, 100);
  });
  const std::string tga = Encoded(stbi_write_tga_to_func);
  // A 1 x 1 GIF whose one pixel is red.
  const std::string gif("GIF89a\x01\x00\x01\x00\x80\x00\x00\xFF\x00\x00\x00\x00\x00"
                        ",\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;",
                        35);
  for (const std::string& bytes : {png, bmp, jpeg}) {
    const PictureRef picture = BinaryStringtoPicture(String(bytes, nullptr));
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->Width(), 2);
    EXPECT_EQ(picture->Height(), 1);
    ASSERT_EQ(picture->RGBA().size(), 8u);
    EXPECT_GT(picture->RGBA()[0], 200);  // red
    EXPECT_GT(picture->RGBA()[6], 200);  // blue
  }
  const PictureRef red = BinaryStringtoPicture(String(gif, nullptr));
  ASSERT_NE(red, nullptr);
  EXPECT_EQ(red->RGBA(), (std::vector<uint8_t>{255, 0, 0, 255}));

  // A BMP header claiming 100000 x 100000 pixels, a truncated PNG, other formats, no image.
  std::string huge = bmp;
  huge.replace(18, 8, std::string("\xA0\x86\x01\x00\xA0\x86\x01\x00", 8));
  int width = 0, height = 0, channels = 0;
  ASSERT_TRUE(stbi_info_from_memory(reinterpret_cast<const stbi_uc*>(huge.data()),
                                    static_cast<int>(huge.size()), &width, &height, &channels));
  ASSERT_EQ(width, 100000);
  for (const std::string& bytes :
       {huge, png.substr(0, png.size() / 2), tga, gif.substr(0, 10), std::string("BM"),
        std::string("not an image"), std::string()}) {
    EXPECT_EQ(BinaryStringtoPicture(String(bytes, nullptr)), nullptr);
  }
}

}  // namespace
}  // namespace grantwright
