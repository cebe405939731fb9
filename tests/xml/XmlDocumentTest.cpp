#include <gtest/gtest.h>

#include <string>

#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"
#include "platform/Xml.h"
#include "support/TestSupport.h"

namespace grantwright {
namespace {

// The tree itself (node kinds, blank text, building) is read through the typed decoder and
// writer's tests; here are the parser's failures, depth and file encodings.

XmlDocument Parse(const String& text) {
  XmlDocument doc;
  doc.LoadXml(text);
  return doc;
}

TEST(XmlDocument, BadTextRaisesWithStatusAndPosition) {
  const struct {
    String text;
    int status;
    const char* where;
  } cases[] = {
      {"<a>\n<b>x</a>", 14, "line 2, column 7"},
      {"just text", 16, ""},
      {String(std::string("<a>caf\xE9</a>"), Encodings::UTF8()), XmlDocument::kInvalidUtf8, "line 1, column 7"},
      {String(std::string("<\0a\0/\0>\0", 8), Encodings::UTF8()), 5, ""},
  };
  for (const auto& c : cases) {
    XmlDocument doc;
    try {
      doc.LoadXml(c.text);
      ADD_FAILURE() << c.text.Bytes();
    } catch (const XmlException& e) {
      EXPECT_EQ(e.ErrorNumber(), c.status);
      EXPECT_NE(e.Message().find(c.where), std::string::npos) << e.Message();
    }
    EXPECT_EQ(doc.LastError(), c.status);
    EXPECT_EQ(doc.ChildCount(), 0u);
  }
  // Text with another tag is converted before it is parsed.
  const String utf16(std::string("<\0r\0>\0\xE9\0<\0/\0r\0>\0", 16), Encodings::UTF16LE());
  EXPECT_TRUE(Identical(Parse(utf16).FirstChild().FirstChild().Value(), "\xC3\xA9"));
}

TEST(XmlDocument, WalksAMillionLevelsWithoutRecursion) {
  const size_t depth = 1000000;
  std::string text;
  for (size_t i = 0; i < depth; ++i) text += "<a>";
  for (size_t i = 0; i < depth; ++i) text += "</a>";
  const XmlDocument doc = Parse(text);
  EXPECT_EQ(doc.Xql("//a").Length(), depth);
  EXPECT_EQ(doc.ToString().LenB(), depth * 7 - 3);  // <a>...<a/>...</a>
}

TEST(XmlDocument, LoadsFilesInTheirOwnEncoding) {
  const testing::TempDir dir;
  XmlDocument doc;
  doc.LoadXml(PathToFolderItem(dir.Write("16.xml", std::string("\xFF\xFE<\0r\0>\0\xE9\0<\0/\0r\0>\0", 18))));
  EXPECT_TRUE(Identical(doc.FirstChild().FirstChild().Value(), "\xC3\xA9"));
  doc.LoadXml(PathToFolderItem(dir.Write("1.xml", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE9</r>")));
  EXPECT_TRUE(Identical(doc.FirstChild().FirstChild().Value(), "\xC3\xA9"));
  const struct {
    std::string path;
    int status;
  } failures[] = {{dir.Write("8.xml", "<r>\xE9</r>"), XmlDocument::kInvalidUtf8},
                  {dir / "missing.xml", 1},
                  {dir.path(), 1}};
  for (const auto& f : failures) {
    EXPECT_THROW(doc.LoadXml(PathToFolderItem(f.path)), XmlException);
    EXPECT_EQ(doc.LastError(), f.status);
  }
  EXPECT_THROW(doc.LoadXml(FolderItemRef()), NilObjectException);
}

}  // namespace
}  // namespace grantwright
