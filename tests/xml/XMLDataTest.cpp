#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"
#include "support/TestSupport.h"
#include "tool/GlobalMethods.h"
#include "xml/XMLData.h"

namespace grantwright {
namespace {

using testing::LogCapture;

TEST(XMLData, FactoriesReportBadXmlAndNeverGiveNil) {
  const testing::TempDir dir;
  const LogCapture log;
  const XMLDataRef empty = XMLData::CreateFromString("", true);
  EXPECT_FALSE(empty->Exists());
  EXPECT_TRUE((empty->ToString() + empty->GetElementName()).IsEmpty());
  EXPECT_EQ(empty->GetInteger("a", 4), 4);  // a wrapper without a node gives the defaults
  EXPECT_TRUE(empty->GetArray("", "a", false, false).empty() && empty->GetRawStrings("").empty());
  EXPECT_FALSE(XMLData::CreateFromFile(nullptr, false)->Exists());
  EXPECT_FALSE(XMLData::CreateFromFile(PathToFolderItem(dir / "none.xml"), false)->Exists());
  EXPECT_TRUE(log.lines().empty());

  EXPECT_FALSE(XMLData::CreateFromString("<a><b></a>", false)->Exists());
  EXPECT_FALSE(XMLData::CreateFromFile(PathToFolderItem(dir.Write("bad.xml", "<r>")), false)->Exists());
  ASSERT_EQ(log.lines().size(), 2u);
  EXPECT_EQ(log.lines()[0],
            "The string could not be parsed as XML.\n\nDefaults will be used if applicable.\n\n"
            "Error Code: 14");
  EXPECT_EQ(log.lines()[1],
            "The file \"bad.xml\" could not be read.\n\nThe current user may not have permissions "
            "to read this file, or the XML syntax could be invalid. Defaults will be used if "
            "applicable.\n\nError Code:14");

  EXPECT_EQ(XMLData::CreateFromString("<r/>", false)->GetElementName(), "r");
  EXPECT_EQ(XMLData::CreateFromFile(PathToFolderItem(dir.Write("ok.xml", "<r><a>2</a></r>")), false)
                ->GetInteger("a", 0), 2);
  // A comment ahead of the root is the wrapped node, and nothing is found under it.
  const XMLDataRef comment = XMLData::CreateFromString("<!--c--><r><a>1</a></r>", false);
  EXPECT_EQ(comment->GetElementName(), "#comment");
  EXPECT_EQ(comment->GetInteger("a", 7), 7);
}

TEST(XMLData, GettersConvertWhatTheKeyFinds) {
  const XMLDataRef data = XMLData::CreateFromString(
      "<r flag=\"\" name=\"top\"><empty></empty><n>-3.9abc</n><n>8</n><neg>-1</neg>"
      "<big>4294967296</big><nested><x>5</x></nested><note><!--yes-->no</note><t>off</t>"
      "<url>a%20%FF</url><html>caf&amp;eacute; &amp;lt;&amp;#x41;&amp;bogus;</html>"
      "<secs>3061152000.5</secs></r>",
      false);
  const String d("default");
  // An element without children is not found; an empty attribute and a child element are.
  EXPECT_TRUE(data->HasValue("empty"));
  EXPECT_EQ(data->GetNode("empty").Name(), "empty");
  EXPECT_EQ(data->GetRawString("empty", d), d);
  EXPECT_EQ(data->GetRawString("@flag", d), "");
  EXPECT_EQ(data->GetAttribute("flag", d), d);
  EXPECT_EQ(data->GetAttribute("name", d), "top");
  EXPECT_EQ(data->GetInteger("nested", 9), 0);
  EXPECT_EQ(data->GetRawString("nested/x/text()", d), d);
  EXPECT_FALSE(data->HasValue("missing"));
  EXPECT_THROW(data->GetRawString("n[", d), XmlException);

  EXPECT_EQ(data->GetInteger("n", 0), -3);  // the first of two
  EXPECT_EQ(data->GetInteger("@flag", 9), 0);
  EXPECT_DOUBLE_EQ(data->GetDouble("n", 0), -3.9);
  EXPECT_EQ(data->GetColor("neg", Color{1}), Color{0xFFFFFFFF});
  EXPECT_EQ(data->GetColor("big", Color{1}), Color{0});
  EXPECT_TRUE(data->GetBoolean("note", false));  // the comment's text, "yes"
  EXPECT_FALSE(data->GetBoolean("t", true));
  EXPECT_FALSE(data->GetBoolean("@flag", true));

  const String raw = data->GetURLDecodedString("url", d, true);
  EXPECT_TRUE(Identical(raw, std::string("a \xFF")));
  EXPECT_EQ(raw.Encoding(), nullptr);
  const String text = data->GetURLDecodedString("url", d, false);
  EXPECT_TRUE(Identical(text, "a \xC3\xBF"));  // read as windows-1252
  EXPECT_EQ(text.Encoding(), Encodings::UTF8());
  EXPECT_TRUE(Identical(data->GetHTMLDecodedString("html", d), "caf\xC3\xA9 <A&bogus;"));
  EXPECT_DOUBLE_EQ(data->GetDate("secs", nullptr)->TotalSeconds(), 3061152000.5);

  // A sub-wrapper sees only its subtree.
  const XMLDataRef nested = data->GetXMLData("nested");
  EXPECT_TRUE(Identical(nested->ToString(), "<nested><x>5</x></nested>"));
  EXPECT_EQ(nested->GetInteger("x", 0), 5);
  EXPECT_EQ(data->GetXMLData("")->GetNode(""), data->GetNode(""));
  EXPECT_FALSE(data->GetXMLData("missing")->Exists());
}

TEST(XMLData, ListsOfStrings) {
  const XMLDataRef list = XMLData::CreateFromString(
      "<list><item>a%20b</item><item/><other>z</other><item>c</item><Item><!--d--></Item></list>",
      false);
  const auto text = [](const std::vector<String>& items) {
    std::string out;
    for (const String& item : items) out += "[" + item.Bytes() + "]";
    return out;
  };
  EXPECT_EQ(text(list->GetArray("", "item", false, false)), "[a%20b][][c][d]");
  EXPECT_EQ(text(list->GetArray("", "ITEM", true, true)), "[a b][][c][d]");
  EXPECT_EQ(text(list->GetRawStrings("item")), "[a%20b][c]");
  EXPECT_EQ(text(list->GetRawStrings("")), "[]");  // the first child is an element
  EXPECT_EQ(text(list->GetArray("", "", false, false)), "");
  EXPECT_EQ(text(XMLData::CreateFromString("<r a=\"\" b=\"x\"/>", false)->GetRawStrings("@*")), "[][x]");
}

TEST(CBool, ReadsValuesAsBooleans) {
  const struct {
    Variant value;
    bool expected;
  } cases[] = {
      {Variant(), false}, {"", false}, {"False", false}, {"OFF", false}, {"no", false},
      {"0", false}, {"0.0", false}, {"00", false}, {"0e0", false}, {" 0 ", false}, {"&h0", false},
      {Variant(false), false}, {Variant(int64_t{0}), false}, {Variant(-0.0), false},
      {Variant(Color{0}), false}, {"true", true}, {"on", true}, {"1", true}, {"-1", true},
      {"0.5", true}, {"   ", true}, {"0x", true}, {"nein", true}, {Variant(true), true},
      {Variant(0.5), true}, {Variant(std::make_shared<Date>()), true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(GlobalMethods::CBool(c.value), c.expected) << c.value.StringValue().Bytes();
  }
  EXPECT_THROW(GlobalMethods::CBool(Variant(NewArray<Variant>())), TypeMismatchException);
}

}  // namespace
}  // namespace grantwright
