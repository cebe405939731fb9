#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/TextEncoding.h"
#include "platform/Xml.h"
#include "support/TestSupport.h"
#include "xml/XMLData.h"

namespace grantwright::testing {
namespace {

std::string Items(const std::vector<String>& items) {
  std::string out;
  for (const String& item : items) out += "[" + item.Bytes() + "]";
  return out;
}

TEST(XMLData, FactoriesReportBadXmlNeverGiveNilAndRefuseReferencesToNoCharacter) {
  const TempDir dir;
  const LogCapture log;
  const XMLDataRef empty = XMLData::CreateFromString("", true);
  EXPECT_FALSE(empty->Exists());
  EXPECT_EQ(empty->GetInteger("a", 4), 4);  // a wrapper without a node gives the defaults
  EXPECT_TRUE(empty->GetArray("", "a", false, false).empty() && empty->GetRawStrings("").empty());
  EXPECT_FALSE(XMLData::CreateFromFile(nullptr, false)->Exists());
  EXPECT_FALSE(XMLData::CreateFromFile(PathToFolderItem(dir / "none.xml"), false)->Exists());
  EXPECT_FALSE(XMLData::CreateFromString("<a><b></a>", false)->Exists());
  EXPECT_FALSE(XMLData::CreateFromFile(PathToFolderItem(dir.Write("bad.xml", "<r>\xE9</r>")), false)->Exists());

  // A file is read in the encoding its declaration names, tagged text in its own.
  const std::string latin1 = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE9</r>";
  const String utf16(std::string("<\0r\0>\0\xE9\0<\0/\0r\0>\0", 16), Encodings::UTF16LE());
  for (const XMLDataRef& data : {XMLData::CreateFromFile(PathToFolderItem(dir.Write("1.xml", latin1)), false),
                                 XMLData::CreateFromString(utf16, false)}) {
    EXPECT_TRUE(Identical(data->GetRawString("", ""), "\xC3\xA9"));
  }

  // A character reference is refused only where it would be read, and only when it names no
  // character; references pugixml's own writer makes (control characters) are read.
  for (const char* bad : {"<r>&#0;</r>", "<r>&#xD800;</r>", "<r>&#xdfff;</r>", "<r>&#1114112;</r>",
                          "<r>&#99999999999999999999;</r>", "<r a=\"&#xD800;\"/>",
                          "<r><a b='>' c='&#0;'/></r>", "<r a='<!--' b='&#0;'/>", "<r><!-- -->&#0;</r>"}) {
    XmlDocument doc;
    EXPECT_THROW(doc.LoadXml(String(bad)), XmlException) << bad;
    EXPECT_EQ(doc.LastError(), XmlDocument::kBadCharacterReference) << bad;
  }
  const XMLDataRef kept = XMLData::CreateFromString(
      "<r><!-- &#0; --><?pi &#0;?><a><![CDATA[&#0;]]></a><b>&#1;&#xFFFE;&#x10FFFF;&#65</b><c>&#x;&#12a;</c></r>",
      false);
  EXPECT_TRUE(Identical(kept->GetRawString("a", ""), "&#0;"));
  EXPECT_TRUE(Identical(kept->GetRawString("b", ""), "\x01\xEF\xBF\xBE\xF4\x8F\xBF\xBF&#65"));
  EXPECT_TRUE(Identical(kept->GetRawString("c", ""), "&#x;&#12a;"));
  // A file read from UTF-16 is checked on what the references gave.
  const std::string wide("<\0r\0>\0&\0#\0x\0D\0""8\0""0\0""0\0;\0<\0/\0r\0>\0", 30);
  XmlDocument doc;
  EXPECT_THROW(doc.LoadXml(PathToFolderItem(dir.Write("16.xml", wide))), XmlException);
  EXPECT_EQ(doc.LastError(), XmlDocument::kBadCharacterReference);
  // Only the two bad documents above were reported.
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "The string could not be parsed as XML.\n\nDefaults will be used if applicable.\n\nError Code: 14",
                "The file \"bad.xml\" could not be read.\n\nThe current user may not have permissions to read this "
                "file, or the XML syntax could be invalid. Defaults will be used if applicable.\n\nError Code:100"}));
}

TEST(XMLData, GettersConvertWhatTheKeyFindsAndListIt) {
  const XMLDataRef data = XMLData::CreateFromString(
      "<r flag=\"\" name=\"top\"><empty></empty><n>-3.9abc</n><n>8</n><neg>-1</neg>"
      "<nested><x>5</x></nested><note><!--yes-->no</note>"
      "<url>a%20%FF</url><secs>3061152000.5</secs>"
      "<html><![CDATA[&eacute;&EACUTE; &lt;&#65;&#x1F600;&#0;&#99999999999; &amp &#x; &bogus;]]></html></r>",
      false);
  const String d("default");
  // An element without children is selected but not found; an empty attribute and a child
  // element are found.
  EXPECT_TRUE(data->HasValue("empty") && !data->HasValue("missing"));
  EXPECT_EQ(data->GetRawString("empty", d) + "|" + data->GetRawString("@flag", d), "default|");
  EXPECT_EQ(data->GetInteger("nested", 9), 0);
  EXPECT_EQ(data->GetRawString("nested/x/text()", d), d);
  // The wrapped node's own attributes: an empty one counts as missing.
  EXPECT_EQ(data->GetAttribute("flag", d) + data->GetAttribute("name", d), "defaulttop");

  EXPECT_EQ(data->GetInteger("n", 0), -3);  // the first of two
  EXPECT_EQ(data->GetColor("neg", Color{1}), Color{0xFFFFFFFF});
  EXPECT_TRUE(data->GetBoolean("note", false));  // the comment's text, "yes"
  EXPECT_EQ(Describe(data->GetURLDecodedString("url", d, true)), "untagged'a \xFF'");
  EXPECT_EQ(Describe(data->GetURLDecodedString("url", d, false)), "'a \xC3\xBF'");  // read as windows-1252
  EXPECT_DOUBLE_EQ(data->GetDate("secs", nullptr)->TotalSeconds(), 3061152000.5);
  // Character references: the XML five, Latin-1 names (case matters) and numbers; a
  // number that stands for no character gives U+FFFD, and anything else stays as it is.
  EXPECT_TRUE(Identical(data->GetHTMLDecodedString("html", d),
                        "\u00E9&EACUTE; <A\U0001F600\uFFFD\uFFFD &amp &#x; &bogus;"));

  // A sub-wrapper sees only its subtree.
  EXPECT_TRUE(Identical(data->GetXMLData("nested")->ToString(), "<nested><x>5</x></nested>"));

  // Lists of strings.
  const XMLDataRef list = XMLData::CreateFromString(
      "<list><item>a%20b</item><item/><other>z</other><item>c</item><Item><!--d--></Item></list>", false);
  EXPECT_EQ(Items(list->GetArray("", "item", false, false)), "[a%20b][][c][d]");
  EXPECT_EQ(Items(list->GetArray("", "ITEM", true, true)), "[a b][][c][d]");
  EXPECT_EQ(Items(list->GetRawStrings("item")), "[a%20b][c]");
  EXPECT_EQ(Items(list->GetArray("missing", "item", true, false)) + Items(list->GetArray("", "", false, false)), "");
  EXPECT_EQ(Items(list->GetRawStrings("")), "[]");  // the list itself, whose first child is an element
  EXPECT_EQ(Items(XMLData::CreateFromString("<r a=\"\" b=\"x\"/>", false)->GetRawStrings("@*")), "[][x]");
}

}  // namespace
}  // namespace grantwright::testing
