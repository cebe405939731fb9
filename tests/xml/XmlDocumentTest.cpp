#include <gtest/gtest.h>

#include <string>

#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"
#include "platform/Xml.h"
#include "support/TestSupport.h"

namespace grantwright {
namespace {

XmlDocument Parse(const String& text) {
  XmlDocument doc;
  doc.LoadXml(text);
  return doc;
}

std::string Repeat(const std::string& s, size_t n) {
  std::string out;
  out.reserve(s.size() * n);
  for (size_t i = 0; i < n; ++i) out += s;
  return out;
}

TEST(XmlDocument, KeepsElementsTextCdataAndCommentsButNoBlankText) {
  const XmlDocument doc = Parse("<?xml version=\"1.0\"?><?pi x?>\n<r a=\"1\">\n  <!--c-->t&amp;<![CDATA[<d>]]><e/>\n</r>");
  ASSERT_EQ(doc.ChildCount(), 1u);
  const XmlNode r = doc.FirstChild();
  EXPECT_EQ(doc.Name(), "#document");
  EXPECT_EQ(r.Name(), "r");
  EXPECT_EQ(r.GetAttribute("a"), "1");
  EXPECT_EQ(r.GetAttribute("A"), "");
  ASSERT_EQ(r.ChildCount(), 4u);
  struct Expected {
    XmlNode::Kind kind;
    const char* name;
    const char* value;
  };
  const Expected expected[] = {{XmlNode::Kind::kComment, "#comment", "c"},
                               {XmlNode::Kind::kText, "#text", "t&"},
                               {XmlNode::Kind::kCData, "#cdata-section", "<d>"},
                               {XmlNode::Kind::kElement, "e", ""}};
  for (size_t i = 0; i < 4; ++i) {
    const XmlNode child = r.Child(i);
    EXPECT_EQ(child.NodeKind(), expected[i].kind);
    EXPECT_TRUE(Identical(child.Name(), expected[i].name));
    EXPECT_TRUE(Identical(child.Value(), expected[i].value));
    EXPECT_EQ(child.Parent(), r);
  }
  EXPECT_TRUE(r.Child(4).IsNil());
  EXPECT_EQ(r.Child(0).GetAttribute("a"), "");
  EXPECT_TRUE(Identical(r.ToString(), "<r a=\"1\"><!--c-->t&amp;<![CDATA[<d>]]><e/></r>"));
  EXPECT_THROW(XmlNode().Name(), NilObjectException);
}

TEST(XmlDocument, BadTextRaisesWithStatusAndPosition) {
  struct Case {
    String text;
    int status;
    const char* where;
  };
  const Case cases[] = {
      {"<a>", 14, "line 1, column 3"},
      {"<a>\n<b>x</a>", 14, "line 2, column 7"},
      {"<a b=c/>", 12, "line 1, column 6"},
      {"just text", 16, ""},
      {"<!-- only a comment -->", 16, ""},
      {String(std::string("<a>caf\xE9</a>"), Encodings::UTF8()), XmlDocument::kInvalidUtf8,
       "line 1, column 7"},
      {String(std::string("<\0a\0/\0>\0", 8), Encodings::UTF8()), 5, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text.Bytes());
    XmlDocument doc;
    try {
      doc.LoadXml(c.text);
      ADD_FAILURE() << "no exception";
    } catch (const XmlException& e) {
      EXPECT_EQ(e.ErrorNumber(), c.status);
      EXPECT_NE(e.Message().find(c.where), std::string::npos) << e.Message();
    }
    EXPECT_EQ(doc.LastError(), c.status);
    EXPECT_EQ(doc.ChildCount(), 0u);
  }
  // Text with another tag is converted before it is parsed.
  for (const String& text : {String(std::string("<\0r\0>\0\xE9\0<\0/\0r\0>\0", 16), Encodings::UTF16LE()),
                            String(std::string("<r>\xE9</r>"), Encodings::SystemDefault())}) {
    EXPECT_TRUE(Identical(Parse(text).FirstChild().FirstChild().Value(), "\xC3\xA9"));
  }
}

TEST(XmlDocument, NeverExpandsEntitiesOrReadsExternalOnes) {
  const std::string laughs =
      "<!DOCTYPE r [<!ENTITY l0 \"lol\">" + [] {
        std::string decls;
        for (int i = 1; i < 10; ++i) {
          decls += "<!ENTITY l" + std::to_string(i) + " \"" +
                   Repeat("&l" + std::to_string(i - 1) + ";", 10) + "\">";
        }
        return decls;
      }() + "]><r>&l9;</r>";
  const std::string external =
      "<!DOCTYPE r SYSTEM \"file:///etc/passwd\" [<!ENTITY x SYSTEM \"file:///etc/passwd\">"
      "<!ENTITY % p SYSTEM \"file:///etc/passwd\"> %p;]><r>&x;</r>";
  for (const std::string& text : {laughs, external}) {
    const XmlDocument doc = Parse(text);
    const std::string all = doc.ToString().Bytes();
    EXPECT_LT(all.size(), 64u) << all;
    EXPECT_EQ(all.find("root:"), std::string::npos);
    EXPECT_EQ(doc.FirstChild().FirstChild().Value().Bytes()[0], '&');
  }
}

TEST(XmlDocument, DeepNestingStaysUsable) {
  const size_t depth = 1000000;
  const XmlDocument doc = Parse(Repeat("<a>", depth) + "x" + Repeat("</a>", depth));
  EXPECT_EQ(doc.Xql("//a").Length(), depth);
  EXPECT_EQ(doc.ToString().LenB(), depth * 7 + 1);
}

TEST(XmlDocument, QueriesSelectNodesAndAttributes) {
  const XmlDocument doc = Parse("<r x=\"\"><a id=\"1\">one</a><a id=\"2\"/><B/>t</r>");
  const XmlNode r = doc.FirstChild();
  EXPECT_EQ(r.Xql("a").Length(), 2u);
  EXPECT_EQ(r.Xql("b").Length(), 0u);  // names are case-sensitive
  const XmlNode id = r.Xql("a/@id").Item(1);
  EXPECT_TRUE(id.IsAttribute());
  EXPECT_EQ(id.Name(), "id");
  EXPECT_EQ(id.Value(), "2");
  EXPECT_EQ(id.ChildCount(), 0u);
  EXPECT_EQ(id.Parent(), r.Child(1));
  EXPECT_EQ(id.ToString(), "id=\"2\"");
  EXPECT_EQ(id.Xql("..").Item(0), r.Child(1));
  EXPECT_EQ(r.Xql("@x").Item(0).Value(), "");
  EXPECT_EQ(r.Xql("text()").Item(0).NodeKind(), XmlNode::Kind::kText);
  EXPECT_EQ(r.Xql("").Item(0), r);  // the empty query is the node itself
  EXPECT_TRUE(r.Xql("a").Item(2).IsNil());
  for (const char* bad : {"a[", "1+1", "//"}) {
    EXPECT_THROW(r.Xql(bad), XmlException) << bad;
  }
}

TEST(XmlDocument, NodesAreBuiltApartAndMovedIntoPlace) {
  XmlNode kept;
  {
    XmlDocument doc;
    XmlNode root = doc.CreateElement("root");
    XmlNode text = doc.CreateTextNode("a<b");
    // Waiting nodes are nowhere in the tree.
    EXPECT_EQ(doc.ChildCount(), 0u);
    EXPECT_TRUE(root.Parent().IsNil());
    EXPECT_TRUE(Identical(doc.ToString(), ""));
    EXPECT_EQ(doc.Xql("//*").Length(), 0u);
    EXPECT_EQ(root.Xql("..").Length(), 0u);

    EXPECT_EQ(doc.AppendChild(root), root);
    root.AppendChild(text);
    text.SetValue("a<c");
    EXPECT_TRUE(Identical(doc.ToString(), "<root>a&lt;c</root>"));
    EXPECT_EQ(root.OwnerDocument().FirstChild(), root);
    EXPECT_THROW(root.SetValue("x"), XmlException);
    EXPECT_THROW(text.AppendChild(doc.CreateElement("x")), XmlException);
    EXPECT_THROW(root.AppendChild(doc), XmlException);
    EXPECT_THROW(XmlDocument().AppendChild(root), XmlException);
    kept = text;
  }
  // The node keeps its document alive.
  EXPECT_TRUE(Identical(kept.Value(), "a<c"));
  EXPECT_TRUE(Identical(kept.Parent().OwnerDocument().ToString(), "<root>a&lt;c</root>"));
}

TEST(XmlDocument, LoadsFilesInTheirOwnEncoding) {
  const testing::TempDir dir;
  struct Case {
    std::string bytes;
    int status;  // 0: loads, with the text "é" in the root
  };
  const Case cases[] = {
      {std::string("\xFF\xFE<\0r\0>\0\xE9\0<\0/\0r\0>\0", 18), 0},
      {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE9</r>", 0},
      {"\xEF\xBB\xBF<r>\xC3\xA9</r>", 0},
      {"<r>\xE9</r>", XmlDocument::kInvalidUtf8},
      {"<r>", 14},
  };
  for (const Case& c : cases) {
    XmlDocument doc;
    const std::string path = dir.Write("c.xml", c.bytes);
    if (c.status == 0) {
      doc.LoadXml(PathToFolderItem(path));
      EXPECT_TRUE(Identical(doc.FirstChild().FirstChild().Value(), "\xC3\xA9"));
      continue;
    }
    EXPECT_THROW(doc.LoadXml(PathToFolderItem(path)), XmlException);
    EXPECT_EQ(doc.LastError(), c.status);
  }
  XmlDocument doc;
  EXPECT_THROW(doc.LoadXml(PathToFolderItem(dir / "missing.xml")), XmlException);
  EXPECT_EQ(doc.LastError(), 1);
  EXPECT_THROW(doc.LoadXml(PathToFolderItem(dir.path())), XmlException);
  EXPECT_EQ(doc.LastError(), 1);
  EXPECT_THROW(doc.LoadXml(FolderItemRef()), NilObjectException);
}

}  // namespace
}  // namespace grantwright
