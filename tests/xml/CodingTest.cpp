#include <gtest/gtest.h>
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
  const String encoded = EncodingToURL(String(all, nullptr));
  EXPECT_EQ(encoded.Bytes().find_first_not_of("%0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-_.~"),
            std::string::npos);
  EXPECT_TRUE(Identical(DecodingFromURL(encoded), String(all, nullptr)));
  EXPECT_TRUE(Identical(EncodingToURL("a b+/~"), "a%20b%2B%2F~"));
  EXPECT_TRUE(Identical(DecodingFromURL("%41%4a+%zz%4"), "AJ+%zz%4"));
}

TEST(HtmlCoding, ReplacesXmlLatin1AndNumericReferences) {
  const char* const cases[][2] = {
      {"&amp;&lt;&gt;&quot;&apos;", "&<>\"'"},
      {"&nbsp;&Eacute;&yuml;", "\u00A0\u00C9\u00FF"},
      {"&#65;&#x42;&#X43;&#0233;&#x1F600;", "ABC\u00E9\U0001F600"},
      {"&#0;&#xD800;&#x110000;&#99999999999;", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"&EACUTE; &euro; &amp &#; &#x; &#12a; & ;", "&EACUTE; &euro; &amp &#; &#x; &#12a; & ;"},
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

// A 2 x 1 image, red then blue, in the format that `write` makes.
template <class Write>
std::string Image(Write write) {
  const unsigned char pixels[] = {255, 0, 0, 255, 0, 0, 255, 255};
  std::string out;
  write([](void* out, void* data, int size) { static_cast<std::string*>(out)->append(static_cast<char*>(data), size); },
        &out, pixels);
  return out;
}

// GIF is decoded in TypedDecoderTest.
TEST(Picture, DecodesPngJpegAndBmpAndNothingElse) {
  const std::string png = Image([](auto f, void* c, const void* d) { stbi_write_png_to_func(f, c, 2, 1, 4, d, 8); });
  const std::string bmp = Image([](auto f, void* c, const void* d) { stbi_write_bmp_to_func(f, c, 2, 1, 4, d); });
  const std::string jpeg = Image([](auto f, void* c, const void* d) { stbi_write_jpg_to_func(f, c, 2, 1, 4, d, 100); });
  const std::string tga = Image([](auto f, void* c, const void* d) { stbi_write_tga_to_func(f, c, 2, 1, 4, d); });
  for (const std::string& bytes : {png, bmp, jpeg}) {
    const PictureRef picture = BinaryStringtoPicture(String(bytes, nullptr));
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->Width() * 10 + picture->Height(), 21);
    ASSERT_EQ(picture->RGBA().size(), 8u);
    EXPECT_GT(picture->RGBA()[0] + picture->RGBA()[6], 400);  // red, then blue
  }
  // A BMP header claiming 100000 x 100000 pixels, a truncated PNG, other formats, no image.
  std::string huge = bmp;
  huge.replace(18, 8, std::string("\xA0\x86\x01\x00\xA0\x86\x01\x00", 8));
  for (const std::string& bytes :
       {huge, png.substr(0, png.size() / 2), tga, std::string("BM"),
        std::string("not an image"), std::string()}) {
    EXPECT_EQ(BinaryStringtoPicture(String(bytes, nullptr)), nullptr);
  }
}

}  // namespace
}  // namespace grantwright
