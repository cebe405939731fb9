#include <gtest/gtest.h>

#include <string>

#include "platform/Dictionary.h"
#include "platform/Exceptions.h"
#include "platform/Picture.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"
#include "support/TestSupport.h"
#include "xml/XMLData.h"
#include "xml/XMLExtension.h"

namespace grantwright {
namespace {

using XMLExtension::AsDictionaryFromXMLStringZRN;

// A 1 x 1 GIF, URL-encoded as a "Picture" value holds it.
const std::string kGif = EncodingToURL(String(std::string(
    "GIF89a\x01\x00\x01\x00\x80\x00\x00\xFF\x00\x00\x00\x00\x00"
    ",\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;", 35), nullptr)).Bytes();

const char kTooDeep[] = "The XML could not be decoded: it nests containers more than 512 deep.";

using testing::Describe;

std::string Decoded(const String& text) {
  const DictionaryRef dict = AsDictionaryFromXMLStringZRN(text);
  return dict ? Describe(dict) : "nil";
}

std::string Repeat(const std::string& s, size_t n) {
  std::string out;
  for (size_t i = 0; i < n; ++i) out += s;
  return out;
}

TEST(TypedDecoder, ReadsEachDatatypeByItsRow) {
  struct Case {
    const char* datatype;  // null: no attribute
    std::string content;
    const char* value;  // null: no entry
  };
  const Case cases[] = {
      {"boolean", "yes", "true"},          {"BOOLEAN", "0.0", "false"},
      {"Booleans", "yes", nullptr},        {"Color", "4294967296", "c0"},
      {"color", "-1", "c4294967295"},      {"Color", "abc", "c0"},
      {"Integer", "-3.9", "i-3"},          {"Integer", "9007199254740993", "i9007199254740992"},
      {"Integer", "1e30", "i9223372036854775807"},
      {"Double", "1e-3", "d0.001"},        {"Single", "0.1", "f0.10000000149011612"},
      {"String", "%C3%A9t%C3%A9+x", "'\xC3\xA9t\xC3\xA9+x'"},
      {"String", "%E9", "'\xC3\xA9'"},      // windows-1252, brought to UTF-8
      {"String", "%00a&lt;", "'a<'"},      // NUL removed
      {"\xC5\xBFtring", "%41", "'A'"},     // long s folds to s
      {"", "a%20b", "'a%20b'"},            {nullptr, "x&amp;y", "'x&y'"},
      {"GMTTimeStampZRN", "2018-06-01T12:30:05+02:00", "t1527856205"},
      {"Picture", kGif, "pic1x1"},         {"Picture", "not%20an%20image", nullptr},
      {"SmartFolderItemZRN", "%2Ftmp", nullptr},
      // No child node: the element's own empty value, whatever the row.
      {"Dictionary", "", "''"},            {"Array", "", "''"},
      {"Integer", "", "''"},               {"Boolean", "", "''"},
      // Only the first child node counts, whatever kind it is.
      {"String", "x<b/>y", "'x'"},         {"String", "<!--c%20d-->x", "'c d'"},
      {"Integer", "<b>5</b>", "i0"},       {"String", "<![CDATA[a%20b]]>", "'a b'"},
      {"Dictionary", "<a>1</a>text", "{}"}, {"Array", "<array_0>1</array_0>", "[]"},
  };
  for (const Case& c : cases) {
    const std::string attribute = c.datatype ? std::string(" datatype=\"") + c.datatype + "\"" : "";
    const std::string text = "<r><k" + attribute + ">" + c.content + "</k></r>";
    EXPECT_EQ(Decoded(text), c.value ? std::string("{k=") + c.value + "}" : "{}") << text;
  }
}

TEST(TypedDecoder, EachLevelKeepsWhatItShould) {
  // Root level: untyped elements and text are read, nil leaves the key out.
  EXPECT_EQ(Decoded("<r>lead<a datatype=\"Integer\">1</a>mid<!--c--><n datatype=\"x\">1</n><e/></r>"),
            "{#text='mid',a=i1,#comment='c',e=''}");
  // Below it, untyped children are skipped and nil values are kept.
  EXPECT_EQ(Decoded("<r><d datatype=\"Dictionary\"> <u>1</u><n datatype=\"x\">1</n>"
                    "<e datatype=\"\">1</e><z datatype=\"Integer\">2</z><Z datatype=\"Integer\">3</Z></d></r>"),
            "{d={n=nil,z=i3}}");
  // Array elements go by their number, numerically and stably; gaps close up.
  EXPECT_EQ(Decoded("<r><a datatype=\"Array\">"
                    "<array_10 datatype=\"String\">ten</array_10><array_2 datatype=\"String\">two</array_2>"
                    "<x datatype=\"String\">x</x><array_ datatype=\"String\">empty</array_>"
                    "<array_-1 datatype=\"String\">m1</array_-1><u>skipped</u>"
                    "<array_1array_2 datatype=\"String\">1a2</array_1array_2>"
                    "<ARRAY_3 datatype=\"String\">three</ARRAY_3><Array_2 datatype=\"String\">two-b</Array_2>"
                    "<array_5 datatype=\"Blob\">nil</array_5></a></r>"),
            "{a=['m1','x','empty','1a2','two','two-b','three',nil,'ten']}");
  EXPECT_EQ(Decoded("<r><a datatype=\"Array\"><array_5 datatype=\"Integer\">5</array_5>"
                    "<array_0 datatype=\"Integer\">0</array_0></a></r>"),
            "{a=[i0,i5]}");
}

TEST(TypedDecoder, DecodesEveryTypeNestedDeep) {
  const std::string leaf =
      "<b datatype=\"Boolean\">on</b><c datatype=\"Color\">16</c>"
      "<t datatype=\"GMTTimeStampZRN\">2000-01-01T00:00:00</t><f datatype=\"Double\">1.5</f>"
      "<i datatype=\"Integer\">-7</i><p datatype=\"Picture\">" + kGif + "</p>"
      "<s datatype=\"Single\">2.5</s><str datatype=\"String\">x%20y</str>"
      "<nest datatype=\"Array\"><array_0 datatype=\"Array\"><array_0 datatype=\"String\">deep</array_0></array_0></nest>";
  const std::string leafValues =
      "b=true,c=c16,t=t946684800,f=d1.5,i=i-7,p=pic1x1,s=f2.5,str='x y',nest=[['deep']]";
  std::string text = "<d datatype=\"Dictionary\">" + leaf + "</d>";
  std::string expected = "{" + leafValues + "}";
  for (int level = 0; level < 6; ++level) {
    text = "<d datatype=\"Dictionary\">" + leaf + "<arr datatype=\"Array\"><array_1 datatype=\"Integer\">1</array_1>"
           "<array_0 datatype=\"Dictionary\">" + leaf + text + "</array_0></arr></d>";
    expected = "{" + leafValues + ",arr=[{" + leafValues + ",d=" + expected + "},i1]}";
  }
  EXPECT_EQ(Decoded("<r>" + text + "</r>"), "{d=" + expected + "}");
}

TEST(TypedDecoder, BadDocumentsGiveNilAndALogLine) {
  const std::string deep512 = Repeat("<d datatype=\"Dictionary\">", 512) + "<v datatype=\"Integer\">1</v>" +
                              Repeat("</d>", 512);
  const struct {
    String text;
    const char* log;  // the log line, or null for none
  } cases[] = {
      {"", nullptr},
      {"<config><Owner datatype=\"String\">ro", "Error Code: 14"},
      {String(std::string("<r><a>\xE9</a></r>"), Encodings::UTF8()), "Error Code: 100"},
      {"<r>" + Repeat("<a datatype=\"Array\">", 10000) + Repeat("</a>", 10000) + "</r>", kTooDeep},
      {"<r>" + Repeat("<a datatype=\"Array\">", 1000000) + Repeat("</a>", 1000000) + "</r>", kTooDeep},
      {"<r><d datatype=\"Dictionary\">" + deep512 + "</d></r>", kTooDeep},
  };
  for (const auto& c : cases) {
    const testing::LogCapture log;
    EXPECT_EQ(AsDictionaryFromXMLStringZRN(c.text), nullptr) << c.text.Bytes().substr(0, 60);
    ASSERT_EQ(log.lines().size(), c.log ? 1u : 0u);
    if (c.log) {
      EXPECT_NE(log.lines()[0].find(c.log), std::string::npos) << log.lines()[0];
    }
  }
  // Right at the limit, and deep nesting without containers, decode.
  EXPECT_NE(AsDictionaryFromXMLStringZRN("<r>" + deep512 + "</r>"), nullptr);
  EXPECT_EQ(Decoded("<r>" + Repeat("<a>", 1000000) + Repeat("</a>", 1000000) + "</r>"), "{a=''}");
  // A document type declaration is refused: no entity is expanded and no file is read.
  for (const char* doc : {"<!DOCTYPE r [<!ENTITY a \"aa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]>"
                          "<r><x datatype=\"String\">&b;</x></r>",
                          "<!DOCTYPE r [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><r><x>&e;</x></r>",
                          "<!DOCTYPE r SYSTEM \"/etc/passwd\"><r/>"}) {
    testing::LogCapture log;
    EXPECT_EQ(AsDictionaryFromXMLStringZRN(doc), nullptr) << doc;
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0],
              "The string could not be parsed as XML.\n\nDefaults will be used if applicable.\n\nError Code: 101");
  }
  EXPECT_EQ(Decoded("<r><x>&undeclared;</x></r>"), "{x='&undeclared;'}");
  // A root without children, or a comment that stands in for it, gives an empty Dictionary.
  EXPECT_EQ(Decoded("<r/>") + Decoded("<!--c--><r><a>1</a></r>"), "{}{}");
}

// Every decode parses its nodes through ToDictionaryFromXMLZRN_ParseNode.
TEST(TypedDecoder, SetStringWritesPlainOrUrlEncodedText) {
  XmlDocument doc;
  XmlNode root = doc.AppendChild(doc.CreateElement("config"));
  XMLExtension::SetString(root, "Path", "/tmp/a b", true);
  XMLExtension::SetString(root, "Raw", "a<b", false);
  EXPECT_TRUE(Identical(root.ToString(), "<config><Path>%2Ftmp%2Fa%20b</Path><Raw>a&lt;b</Raw></config>"));
  EXPECT_THROW(XMLExtension::SetString(XmlNode(), "a", "b", false), NilObjectException);
  EXPECT_THROW(XMLExtension::ToDictionaryFromXMLZRN_ParseNode(XmlNode()), NilObjectException);
}

}  // namespace
}  // namespace grantwright
