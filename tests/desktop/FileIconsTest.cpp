// Icons of files: the routes over a recording stand-in for the desktop's services, and
// `grantwright info --icon` as a process over a small test theme in a temporary
// XDG_DATA_DIRS (known colours at fixed sizes, one SVG), so no installed theme's pixels
// matter.

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "desktop/GioFileIcons.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "fileutil/FileIcons.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using Colour = std::array<uint8_t, 4>;

PictureRef Filled(int width, int height, Colour colour) {
  std::vector<uint8_t> rgba;
  for (int i = 0; i < width * height; ++i) rgba.insert(rgba.end(), colour.begin(), colour.end());
  return std::make_shared<Picture>(width, height, std::move(rgba));
}

// Records which service each IconZRN call asks; gives a 1 x 1 picture, or nil for a
// preview when `noPreview`.
class RecordingIcons final : public FileIcons {
 public:
  RecordingIcons() : before_(InstallFileIcons(this)) {}
  ~RecordingIcons() override { InstallFileIcons(before_); }
  std::vector<std::string> calls;
  bool noPreview = false;
  bool none = false;
  PictureRef WorkspaceIcon(const std::string&, int) override { return Answer("workspace"); }
  PictureRef TypeIcon(const std::string&, int) override { return Answer("type"); }
  PictureRef Preview(const std::string&, int) override { return noPreview ? (calls.push_back("preview"), nullptr) : Answer("preview"); }
  PictureRef FamilyIcon(const std::string&, int) override { return Answer("family"); }

 private:
  PictureRef Answer(const char* call) {
    calls.push_back(call);
    return none ? nullptr : Filled(1, 1, {1, 2, 3, 4});
  }
  FileIcons* before_;
};

TEST(FileIcons, EachRouteAsksItsServiceAndAMissingFileAsksNone) {
  TempDir dir;
  const FolderItemRef file = PathToFolderItem(String(dir.Write("notes.txt", "x")));
  const FolderItemRef missing = PathToFolderItem(String(dir / "gone.txt"));
  RecordingIcons icons;
  const struct {
    int64_t route;
    std::vector<std::string> calls;
  } rows[] = {{-1, {"workspace"}}, {3, {"workspace"}}, {1, {"type"}}, {2, {"type"}},
              {4, {"preview"}},    {0, {"family"}},    {5, {"family"}}, {-2, {"family"}}};
  for (const auto& row : rows) {
    icons.calls.clear();
    EXPECT_TRUE(FolderItemExtension::IconZRN(file, 16, false, row.route)) << row.route;
    EXPECT_EQ(icons.calls, row.calls) << row.route;
    icons.calls.clear();
    EXPECT_FALSE(FolderItemExtension::IconZRN(missing, 16, false, row.route)) << row.route;
    EXPECT_TRUE(icons.calls.empty()) << row.route;
  }
  icons.calls.clear();
  icons.noPreview = true;
  EXPECT_TRUE(FolderItemExtension::IconZRN(file, 16, false, 4));
  EXPECT_EQ(icons.calls, (std::vector<std::string>{"preview", "workspace"}));
  for (const int64_t size : {int64_t{0}, int64_t{-16}, kMaxIconSize + 1}) {
    EXPECT_FALSE(FolderItemExtension::IconZRN(file, size, false, 3)) << size;
  }
  EXPECT_THROW(FolderItemExtension::IconZRN(nullptr, 16, false, 3), NilObjectException);

  // A reference's icon: the file's, else the caller's fallback, which may be nil.
  const PictureRef fallback = Filled(1, 1, {9, 9, 9, 9});
  const SmartFolderItemZRNRef found = SmartFolderItemZRN::Create(file);
  auto gone = std::make_shared<SmartFolderItemZRN>();
  gone->LocatePath = missing->NativePath();
  EXPECT_NE(found->GetFileIcon(16, fallback), fallback);
  EXPECT_EQ(gone->GetFileIcon(16, fallback), fallback);
  EXPECT_EQ(std::make_shared<SmartFolderItemZRN>()->GetFileIcon(16, fallback), fallback);
  EXPECT_EQ(gone->GetFileIcon(16, nullptr), nullptr);
  icons.none = true;
  EXPECT_EQ(found->GetFileIcon(16, fallback), fallback);
}

// The test theme: text-plain red at 16 and green at 32, an SVG of it (cyan) for 33 to 512;
// text-x-generic blue at 16; image-x-generic magenta at 16.
class TestTheme {
 public:
  TestTheme() {
    const std::string theme = dir_.path() + "/share/icons/hicolor";
    for (const char* sub : {"/16x16/mimetypes", "/32x32/mimetypes", "/scalable/mimetypes"}) {
      std::filesystem::create_directories(theme + sub);
    }
    std::filesystem::create_directories(Cache() + "/thumbnails/normal");
    ::symlink("/usr/share/mime", (dir_.path() + "/share/mime").c_str());
    std::ofstream(theme + "/index.theme")
        << "[Icon Theme]\nName=Test\nDirectories=16x16/mimetypes,32x32/mimetypes,scalable/mimetypes\n\n"
           "[16x16/mimetypes]\nSize=16\nType=Fixed\n\n[32x32/mimetypes]\nSize=32\nType=Fixed\n\n"
           "[scalable/mimetypes]\nSize=64\nMinSize=33\nMaxSize=512\nType=Scalable\n";
    SavePng(*Filled(16, 16, kRed), theme + "/16x16/mimetypes/text-plain.png");
    SavePng(*Filled(32, 32, kGreen), theme + "/32x32/mimetypes/text-plain.png");
    SavePng(*Filled(16, 16, kBlue), theme + "/16x16/mimetypes/text-x-generic.png");
    SavePng(*Filled(16, 16, kMagenta), theme + "/16x16/mimetypes/image-x-generic.png");
    std::ofstream(theme + "/scalable/mimetypes/text-plain.svg")
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"64\" height=\"64\">"
           "<rect width=\"64\" height=\"64\" fill=\"#00ffff\"/></svg>";
  }
  std::vector<std::string> Env() const {
    return {"XDG_DATA_DIRS=" + dir_.path() + "/share", "XDG_DATA_HOME=" + dir_.path() + "/none",
            "XDG_CACHE_HOME=" + dir_.path() + "/cache", "LC_ALL=C"};
  }
  std::string Cache() const { return dir_.path() + "/cache"; }

  static constexpr Colour kRed{255, 0, 0, 255}, kGreen{0, 255, 0, 255}, kBlue{0, 0, 255, 255},
      kMagenta{255, 0, 255, 255}, kCyan{0, 255, 255, 255}, kOrange{255, 128, 0, 255};

 private:
  TempDir dir_;
};

struct Shown {
  int status;
  PictureRef picture;
};

// `grantwright info <file> --icon <size> -o ... --route <route>` and the PNG it wrote.
Shown IconOf(const TestTheme& theme, const std::string& file, int size, int64_t route) {
  TempDir out;
  const std::string png = out / "icon.png";
  const ProcessResult r = ::grantwright::testing::Run(
      {CommandPath(), "info", file, "--icon", std::to_string(size), "-o", png, "--route", std::to_string(route)},
      {.env = theme.Env()});
  std::ifstream in(png, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return {r.status, bytes.empty() ? nullptr : BinaryStringtoPicture(String(bytes))};
}

// The colour at the picture's centre, and whether every pixel has it.
Colour Centre(const PictureRef& picture) {
  const size_t at = (size_t(picture->Height() / 2) * picture->Width() + picture->Width() / 2) * 4;
  return {picture->RGBA()[at], picture->RGBA()[at + 1], picture->RGBA()[at + 2], picture->RGBA()[at + 3]};
}

TEST(FileIcons, InfoWritesEachRoutesIconAtTheAskedSize) {
  const TestTheme theme;
  TempDir dir;
  const std::string text = dir.Write("notes.txt", "words\n");
  const std::string image = dir / "dot.png";
  ASSERT_TRUE(SavePng(*Filled(2, 1, TestTheme::kOrange), image));
  const struct {
    std::string file;
    int size;
    int64_t route;
    Colour centre;
  } rows[] = {
      {text, 16, 3, TestTheme::kRed},      {text, 32, -1, TestTheme::kGreen}, {text, 64, 3, TestTheme::kCyan},
      {text, 24, 3, TestTheme::kRed},      {text, 16, 2, TestTheme::kBlue},   {text, 16, 1, TestTheme::kBlue},
      {text, 16, 0, TestTheme::kRed},      {text, 32, 7, TestTheme::kGreen},  {text, 16, 4, TestTheme::kRed},
      {image, 16, 3, TestTheme::kMagenta}, {image, 20, 4, TestTheme::kOrange},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file + " size " + std::to_string(row.size) + " route " + std::to_string(row.route));
    const Shown shown = IconOf(theme, row.file, row.size, row.route);
    ASSERT_EQ(shown.status, 0);
    ASSERT_TRUE(shown.picture);
    EXPECT_EQ(shown.picture->Width(), row.size);
    EXPECT_EQ(shown.picture->Height(), row.size);
    EXPECT_EQ(Centre(shown.picture), row.centre);
  }
  // The pairs give the same pixels; a wide image is centred, its margins transparent.
  EXPECT_EQ(IconOf(theme, text, 32, -1).picture->RGBA(), IconOf(theme, text, 32, 3).picture->RGBA());
  EXPECT_EQ(IconOf(theme, text, 16, 1).picture->RGBA(), IconOf(theme, text, 16, 2).picture->RGBA());
  EXPECT_EQ(IconOf(theme, image, 20, 4).picture->RGBA()[3], 0);
  // An image of 4100 x 4100 pixels (opaque white, some 70 kB of PNG) is not decoded: its
  // preview is the theme's icon.
  const std::string huge = dir / "huge.png";
  ASSERT_EQ(::grantwright::testing::Run(
                {"/usr/bin/python3", "-c",
                 "import struct, sys, zlib\n"
                 "def chunk(t, d): return struct.pack('>I', len(d)) + t + d + struct.pack('>I', zlib.crc32(t + d))\n"
                 "n = 4100\n"
                 "rows = zlib.compress((b'\\0' + b'\\xff' * 4 * n) * n)\n"
                 "open(sys.argv[1], 'wb').write(b'\\x89PNG\\r\\n\\x1a\\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', n, n, 8, 6, 0, 0, 0))"
                 " + chunk(b'IDAT', rows) + chunk(b'IEND', b''))\n",
                 huge})
                .status,
            0);
  EXPECT_EQ(Centre(IconOf(theme, huge, 16, 4).picture), TestTheme::kMagenta);
  // No raster of exactly 24 for the family route, and none for a missing file.
  EXPECT_EQ(IconOf(theme, text, 24, 0).status, 1);
  EXPECT_EQ(IconOf(theme, dir / "gone.txt", 16, 3).status, 1);

  // A thumbnail of the file's own modification time is its preview; a stale one is not.
  struct stat st {};
  ASSERT_EQ(::stat(text.c_str(), &st), 0);
  gchar* uri = g_filename_to_uri(text.c_str(), nullptr, nullptr);
  gchar* digest = g_compute_checksum_for_string(G_CHECKSUM_MD5, uri, -1);
  const std::string thumbnail = theme.Cache() + "/thumbnails/normal/" + digest + ".png";
  g_free(uri);
  g_free(digest);
  for (const long long mtime : {static_cast<long long>(st.st_mtime) - 1, static_cast<long long>(st.st_mtime)}) {
    const PictureRef cyan = Filled(8, 8, TestTheme::kCyan);
    GdkPixbuf* pixbuf = gdk_pixbuf_new_from_data(cyan->RGBA().data(), GDK_COLORSPACE_RGB, TRUE, 8, 8, 8, 32, nullptr, nullptr);
    ASSERT_TRUE(gdk_pixbuf_save(pixbuf, thumbnail.c_str(), "png", nullptr, "tEXt::Thumb::MTime",
                                std::to_string(mtime).c_str(), nullptr));
    g_object_unref(pixbuf);
    const bool fresh = mtime == st.st_mtime;
    EXPECT_EQ(Centre(IconOf(theme, text, 16, 4).picture), fresh ? TestTheme::kCyan : TestTheme::kRed) << mtime;
  }
}

}  // namespace
}  // namespace grantwright::testing
