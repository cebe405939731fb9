// Kinds and icons of files from the desktop's services: the icon routes over a recording
// stand-in, the kinds over the real content-type database, and `grantwright info` as a
// process over a small test theme in a temporary XDG_DATA_DIRS (known colours at fixed sizes,
// one SVG), so no installed theme's pixels matter.

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "desktop/GioFileIcons.h"
#include "filerefs/SmartFolderItemZRN.h"
#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using Colour = std::array<uint8_t, 4>;
constexpr Colour kRed{255, 0, 0, 255}, kGreen{0, 255, 0, 255}, kBlue{0, 0, 255, 255}, kMagenta{255, 0, 255, 255},
    kCyan{0, 255, 255, 255}, kOrange{255, 128, 0, 255}, kWhite{255, 255, 255, 255};
using Calls = std::vector<std::string>;
using nlohmann::json;

PictureRef Filled(int width, int height, Colour colour) {
  std::vector<uint8_t> rgba(size_t(width) * height * 4);
  for (size_t i = 0; i < rgba.size(); ++i) rgba[i] = colour[i % 4];
  return std::make_shared<Picture>(width, height, std::move(rgba));
}

// Records which service each call asks; answers a 1 x 1 picture, nil when `none` (and for a
// preview when `noPreview`).
class RecordingIcons final : public FileIcons {
 public:
  RecordingIcons() : before_(InstallFileIcons(this)) {}
  ~RecordingIcons() override { InstallFileIcons(before_); }
  PictureRef WorkspaceIcon(const std::string&, int) override { return Answer("workspace", none); }
  PictureRef TypeIcon(const std::string&, int) override { return Answer("type", none); }
  PictureRef Preview(const std::string&, int) override { return Answer("preview", none || noPreview); }
  PictureRef FamilyIcon(const std::string&, int) override { return Answer("family", none); }
  bool WritePng(const Picture&, const std::string&) override { return false; }
  Calls calls;
  bool none = false, noPreview = false;

 private:
  PictureRef Answer(const char* call, bool nil) {
    calls.push_back(call);
    return nil ? nullptr : Filled(1, 1, kRed);
  }
  FileIcons* before_;
};

TEST(Desktop, EachRouteAsksItsServiceAndAReferenceFallsBack) {
  TempDir dir;
  const FolderItemRef file = PathToFolderItem(String(dir.Write("notes.txt", "x")));
  const FolderItemRef missing = PathToFolderItem(String(dir / "gone.txt"));
  RecordingIcons icons;
  const auto asks = [&](const FolderItemRef& item, int64_t size, int64_t route) {
    icons.calls.clear();
    const bool shown = FolderItemExtension::IconZRN(item, size, false, route) != nullptr;
    return std::make_pair(shown, icons.calls);
  };
  for (const auto& [route, call] : std::vector<std::pair<int64_t, std::string>>{
           {-1, "workspace"}, {3, "workspace"}, {1, "type"}, {2, "type"}, {4, "preview"}, {0, "family"}, {5, "family"},
           {-2, "family"}}) {
    EXPECT_EQ(asks(file, 16, route), std::make_pair(true, Calls{call})) << route;
    EXPECT_EQ(asks(missing, 16, route), std::make_pair(false, Calls{})) << route;
  }
  for (const int64_t size : {int64_t{0}, int64_t{-16}, kMaxIconSize + 1}) EXPECT_FALSE(asks(file, size, 3).first);
  icons.noPreview = true;
  EXPECT_EQ(asks(file, 16, 4), std::make_pair(true, Calls{"preview", "workspace"}));
  EXPECT_THROW(FolderItemExtension::IconZRN(nullptr, 16, false, 3), NilObjectException);

  // A reference's icon is its file's, else the caller's fallback (which may be nil); its kind
  // is "unknown" where no database is installed, as in the helper.
  const PictureRef fallback = Filled(1, 1, kBlue);
  const SmartFolderItemZRNRef found = SmartFolderItemZRN::Create(file);
  auto gone = std::make_shared<SmartFolderItemZRN>();
  gone->LocatePath = missing->NativePath();
  EXPECT_NE(found->GetFileIcon(16, fallback), fallback);
  EXPECT_EQ(gone->GetFileIcon(16, fallback), fallback);
  EXPECT_EQ(gone->GetFileIcon(16, nullptr), nullptr);
  EXPECT_EQ(std::make_shared<SmartFolderItemZRN>()->GetFileIcon(16, fallback), fallback);
  icons.none = true;
  EXPECT_EQ(found->GetFileIcon(16, fallback), fallback);
  EXPECT_EQ(found->GetFileKind().Bytes(), "unknown");
}

// A name that tells the type decides it; without one the content does. A missing file's kind
// comes from its name; one whose name says nothing has none.
TEST(Desktop, NamesEachKindAsTheDatabaseDoes) {
  TempDir dir;
  ASSERT_EQ(::mkdir((dir / "folder").c_str(), 0755), 0);
  ASSERT_TRUE(SavePng(*Filled(1, 1, kRed), dir / "picture.png"));
  ASSERT_EQ(::link((dir / "picture.png").c_str(), (dir / "picture").c_str()), 0);
  GioFileKinds kinds;
  FileKinds* const before = InstallFileKinds(&kinds);
  for (const auto& [name, type, kind] : std::vector<std::array<std::string, 3>>{
           {dir.Write("notes.txt", "words\n"), "text/plain", "plain text document"},
           {dir / "folder", "inode/directory", "folder"},
           {dir / "picture.png", "image/png", "PNG image"},
           {dir / "picture", "image/png", "PNG image"},
           {dir.Write("empty", ""), "text/plain", "plain text document"},
           {dir / "gone.png", "image/png", "PNG image"},
           {dir / "gone", "application/octet-stream", "unknown"}}) {
    EXPECT_EQ(kinds.ContentType(name), type) << name;
    EXPECT_EQ(KindMBS(PathToFolderItem(String(name))).Bytes(), kind) << name;
  }
  EXPECT_EQ(KindMBS(nullptr).Bytes(), "unknown");
  EXPECT_EQ(std::make_shared<SmartFolderItemZRN>()->GetFileKind().Bytes(), "unknown");
  InstallFileKinds(before);
}

// The test theme: text-plain red at 16 and green at 32, an SVG of it (cyan) for 33 to 512;
// text-x-generic blue at 16; image-x-generic magenta at 16.
class TestTheme {
 public:
  TestTheme() {
    const std::string theme = dir_.path() + "/share/icons/hicolor";
    for (const char* sub : {"/16x16/mimetypes", "/32x32/mimetypes", "/scalable/mimetypes", "/../../../cache/thumbnails/normal"}) {
      std::filesystem::create_directories(theme + sub);
    }
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
  // `grantwright info` with `args`, in this theme: its status, and the JSON it printed.
  std::pair<int, json> Info(std::vector<std::string> args) const {
    args.insert(args.begin(), {CommandPath(), "info"});
    const ProcessResult r = Run(args, {.env = {"XDG_DATA_DIRS=" + dir_.path() + "/share", "XDG_DATA_HOME=/nonexistent",
                                               "XDG_CACHE_HOME=" + Cache(), "LC_ALL=C"}});
    return {r.status, r.out.empty() ? json() : json::parse(r.out)};
  }
  // The icon `grantwright info` writes, or nil.
  PictureRef Icon(const std::string& file, int size, int64_t route) const {
    TempDir out;
    Info({file, "--icon", std::to_string(size), "-o", out / "icon.png", "--route", std::to_string(route)});
    std::ifstream in(out / "icon.png", std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return bytes.empty() ? nullptr : BinaryStringtoPicture(String(bytes));
  }
  std::string Cache() const { return dir_.path() + "/cache"; }

 private:
  TempDir dir_;
};

// The colour at the picture's centre.
Colour Centre(const PictureRef& picture) {
  const size_t at = (size_t(picture->Height() / 2) * picture->Width() + picture->Width() / 2) * 4;
  return {picture->RGBA()[at], picture->RGBA()[at + 1], picture->RGBA()[at + 2], picture->RGBA()[at + 3]};
}

TEST(Desktop, InfoWritesEachRoutesIconAtTheAskedSize) {
  const TestTheme theme;
  TempDir dir;
  const std::string text = dir.Write("notes.txt", "words\n"), image = dir / "dot.png", huge = dir / "huge.png";
  ASSERT_TRUE(SavePng(*Filled(2, 1, kOrange), image));
  // 4100 x 4100 pixels, some 70 kB of PNG: too large to decode, so its preview is the theme's.
  ASSERT_TRUE(SavePng(*Filled(4100, 4100, kWhite), huge));
  for (const auto& [file, size, route, centre] : std::vector<std::tuple<std::string, int, int64_t, Colour>>{
           {text, 16, 3, kRed}, {text, 32, -1, kGreen}, {text, 64, 3, kCyan}, {text, 24, 3, kRed}, {text, 16, 2, kBlue},
           {text, 16, 1, kBlue}, {text, 16, 0, kRed}, {text, 32, 7, kGreen}, {text, 16, 4, kRed},
           {image, 16, 3, kMagenta}, {image, 20, 4, kOrange}, {huge, 16, 4, kMagenta}}) {
    const PictureRef icon = theme.Icon(file, size, route);
    ASSERT_TRUE(icon) << file << " " << size << " " << route;
    EXPECT_EQ(std::make_tuple(icon->Width(), icon->Height(), Centre(icon)), std::make_tuple(size, size, centre))
        << file << " " << size << " " << route;
  }
  // The pairs give the same pixels; a wide image is centred, its margins transparent.
  EXPECT_EQ(theme.Icon(text, 32, -1)->RGBA(), theme.Icon(text, 32, 3)->RGBA());
  EXPECT_EQ(theme.Icon(text, 16, 1)->RGBA(), theme.Icon(text, 16, 2)->RGBA());
  EXPECT_EQ(theme.Icon(image, 20, 4)->RGBA()[3], 0);
  // No raster of exactly 24 for the family route, and nothing for a missing file.
  EXPECT_EQ(theme.Info({text, "--icon", "24", "-o", dir / "out.png", "--route", "0"}).first, 1);
  EXPECT_EQ(theme.Info({dir / "gone.txt", "--icon", "16", "-o", dir / "out.png"}).first, 1);

  // A thumbnail of the file's own modification time is its preview; a stale one is not.
  struct stat st {};
  ASSERT_EQ(::stat(text.c_str(), &st), 0);
  const std::unique_ptr<char, decltype(&g_free)> uri(g_filename_to_uri(text.c_str(), nullptr, nullptr), g_free),
      digest(g_compute_checksum_for_string(G_CHECKSUM_MD5, uri.get(), -1), g_free);
  const PictureRef cyan = Filled(8, 8, kCyan);
  GdkPixbuf* pixbuf = gdk_pixbuf_new_from_data(cyan->RGBA().data(), GDK_COLORSPACE_RGB, TRUE, 8, 8, 8, 32, nullptr, nullptr);
  for (const time_t mtime : {st.st_mtime - 1, st.st_mtime}) {
    ASSERT_TRUE(gdk_pixbuf_save(pixbuf, (theme.Cache() + "/thumbnails/normal/" + digest.get() + ".png").c_str(), "png",
                                nullptr, "tEXt::Thumb::MTime", std::to_string(mtime).c_str(), nullptr));
    EXPECT_EQ(Centre(theme.Icon(text, 16, 4)), mtime == st.st_mtime ? kCyan : kRed) << mtime;
  }
  g_object_unref(pixbuf);
}

// `grantwright info` on a path and on a stored reference whose file was renamed since; and
// the helper, which holds no GLib symbol.
TEST(Desktop, InfoShowsThePathOrTheReferencesFile) {
  const TestTheme theme;
  TempDir dir;
  const std::string file = dir.Write("notes.txt", "words\n");
  json text{{"exists", true}, {"displayName", "notes.txt"}, {"kind", "plain text document"}, {"contentType", "text/plain"}};
  EXPECT_EQ(theme.Info({file}), std::make_pair(0, text));
  const json gone{{"exists", false}, {"displayName", "gone.png"}, {"kind", "PNG image"}, {"contentType", "image/png"}};
  EXPECT_EQ(theme.Info({dir / "gone.png"}), std::make_pair(1, gone));
  ASSERT_EQ(::grantwright::testing::Run({CommandPath(), "reference", file, "-o", dir / "notes.ref"}).status, 0);
  ASSERT_EQ(std::rename(file.c_str(), (dir / "renamed.txt").c_str()), 0);
  text["displayName"] = "renamed.txt";
  EXPECT_EQ(theme.Info({"--reference", dir / "notes.ref"}), std::make_pair(0, text));
  ASSERT_EQ(::unlink((dir / "renamed.txt").c_str()), 0);
  EXPECT_EQ(theme.Info({"--reference", dir / "notes.ref"}).second["exists"], false);
  EXPECT_EQ(theme.Info({}).first, 2);
  EXPECT_EQ(theme.Info({"--reference", dir / "none.ref"}).first, 1);

  const ProcessResult symbols = ::grantwright::testing::Run({"/usr/bin/nm", HelperPath()});
  ASSERT_EQ(symbols.status, 0) << symbols.err;
  EXPECT_EQ(symbols.out.find(" g_"), std::string::npos) << "the helper links GLib";
}

}  // namespace
}  // namespace grantwright::testing
