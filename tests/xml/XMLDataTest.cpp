#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

#include "platform/Exceptions.h"
#include "platform/TextEncoding.h"
#include "support/TestSupport.h"
#include "tool/GlobalMethods.h"
#include "xml/XMLData.h"

namespace grantwright {
namespace {

using testing::LogCapture;

// What `action` writes to standard error.
std::string StandardError(const std::function<void()>& action) {
  std::FILE* file = std::tmpfile();
  const int saved = dup(STDERR_FILENO);
  dup2(fileno(file), STDERR_FILENO);
  action();
  dup2(saved, STDERR_FILENO);
  close(saved);
  std::string out(4096, '\0');
  std::rewind(file);
  out.resize(std::fread(out.data(), 1, out.size(), file));
  std::fclose(file);
  return out;
}

const char kStringFailure[] =
    "The string could not be parsed as XML.\n\nDefaults will be used if applicable.\n\n"
    "Error Code: ";

TEST(XMLData, FactoriesReportBadXmlAndNeverGiveNil) {
  {
    const LogCapture log;
    const XMLDataRef empty = XMLData::CreateFromString("", true);
    EXPECT_FALSE(empty->Exists());
    EXPECT_TRUE(empty->ToString().IsEmpty());
    EXPECT_TRUE(empty->GetElementName().IsEmpty());
    EXPECT_TRUE(log.lines().empty());

    EXPECT_FALSE(XMLData::CreateFromString("<a><b></a>", false)->Exists());
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0], std::string(kStringFailure) + "14");
  }
  EXPECT_EQ(StandardError([] { XMLData::CreateFromString("<a", true); }),
            std::string(kStringFailure) + "11\n");

  const XMLDataRef onlyRoot = XMLData::CreateFromString("<r/>", false);
  EXPECT_TRUE(onlyRoot->Exists());
  EXPECT_EQ(onlyRoot->GetElementName(), "r");
  const XMLDataRef comment = XMLData::CreateFromString("<!--c--><r><a>1</a></r>", false);
  EXPECT_EQ(comment->GetElementName(), "#comment");
  EXPECT_EQ(comment->GetInteger("a", 7), 7);

  const testing::TempDir dir;
  const LogCapture log;
  EXPECT_FALSE(XMLData::CreateFromFile(nullptr, false)->Exists());
  EXPECT_FALSE(XMLData::CreateFromFile(PathToFolderItem(dir / "none.xml"), false)->Exists());
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(XMLData::CreateFromFile(PathToFolderItem(dir.Write("ok.xml", "<r><a>2</a></r>")), false)
                ->GetInteger("a", 0),
            2);
  EXPECT_FALSE(XMLData::CreateFromFile(PathToFolderItem(dir.Write("bad.xml", "<r>")), false)->Exists());
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0],
            "The file \"bad.xml\" could not be read.\n\nThe current user may not have permissions "
            "to read this file, or the XML syntax could be invalid. Defaults will be used if "
            "applicable.\n\nError Code:14");
}

TEST(XMLData, GettersConvertWhatTheKeyFinds) {
  const XMLDataRef data = XMLData::CreateFromString(
      "<r flag=\"\" name=\"top\">"
      "<empty></empty><n>-3.9abc</n><n>8</n><neg>-1</neg><big>4294967296</big>"
      "<nested><x>5</x></nested><note><!--yes-->no</note><t>off</t>"
      "<url>a%20%FF</url><html>caf&amp;eacute; &amp;lt;&amp;#x41;&amp;bogus;</html>"
      "<secs>3061152000.5</secs></r>",
      false);
  const String kDefault("default");
  // Found, whatever the text holds, or not found.
  EXPECT_TRUE(data->HasValue("empty"));
  EXPECT_EQ(data->GetNode("empty").Name(), "empty");
  EXPECT_EQ(data->GetRawString("empty", kDefault), kDefault);
  EXPECT_EQ(data->GetRawString("@flag", kDefault), "");
  EXPECT_EQ(data->GetAttribute("flag", kDefault), kDefault);
  EXPECT_EQ(data->GetAttribute("name", kDefault), "top");
  EXPECT_EQ(data->GetRawString("nested", kDefault), "");
  EXPECT_EQ(data->GetInteger("nested", 9), 0);
  EXPECT_EQ(data->GetRawString("missing", kDefault), kDefault);
  EXPECT_FALSE(data->HasValue("missing"));
  EXPECT_EQ(data->GetRawString("nested/x/text()", kDefault), kDefault);
  EXPECT_THROW(data->GetRawString("n[", kDefault), XmlException);

  EXPECT_EQ(data->GetInteger("n", 0), -3);  // the first of two
  EXPECT_EQ(data->GetInteger("@flag", 9), 0);
  EXPECT_DOUBLE_EQ(data->GetDouble("n", 0), -3.9);
  EXPECT_EQ(data->GetColor("neg", Color{1}), Color{0xFFFFFFFF});
  EXPECT_EQ(data->GetColor("big", Color{1}), Color{0});
  EXPECT_EQ(data->GetColor("missing", Color{1}), Color{1});
  EXPECT_TRUE(data->GetBoolean("note", false));  // the comment's text, "yes"
  EXPECT_FALSE(data->GetBoolean("t", true));
  EXPECT_FALSE(data->GetBoolean("@flag", true));
  EXPECT_TRUE(data->GetBoolean("missing", true));

  const String raw = data->GetURLDecodedString("url", kDefault, true);
  EXPECT_TRUE(Identical(raw, std::string("a \xFF")));
  EXPECT_EQ(raw.Encoding(), nullptr);
  const String text = data->GetURLDecodedString("url", kDefault, false);
  EXPECT_TRUE(Identical(text, "a \xC3\xBF"));  // read as windows-1252
  EXPECT_EQ(text.Encoding(), Encodings::UTF8());
  EXPECT_TRUE(Identical(data->GetHTMLDecodedString("html", kDefault), "caf\xC3\xA9 <A&bogus;"));

  const DateRef fallback = std::make_shared<Date>();
  EXPECT_EQ(data->GetDate("missing", fallback), fallback);
  EXPECT_DOUBLE_EQ(data->GetDate("secs", nullptr)->TotalSeconds(), 3061152000.5);

  // A sub-wrapper sees only its subtree.
  const XMLDataRef nested = data->GetXMLData("nested");
  EXPECT_TRUE(Identical(nested->ToString(), "<nested><x>5</x></nested>"));
  EXPECT_EQ(nested->GetInteger("x", 0), 5);
  EXPECT_EQ(data->GetXMLData("")->GetElementName(), "r");
  EXPECT_EQ(data->GetXMLData("")->GetNode(""), data->GetNode(""));
  EXPECT_FALSE(data->GetXMLData("missing")->Exists());
}

TEST(XMLData, WrapperWithoutNodeGivesEveryDefault) {
  const XMLData none{XmlNode()};
  const DateRef date = std::make_shared<Date>();
  EXPECT_FALSE(none.Exists());
  EXPECT_EQ(none.GetRawString("a", "d"), "d");
  EXPECT_EQ(none.GetInteger("a", 4), 4);
  EXPECT_DOUBLE_EQ(none.GetDouble("a", 0.5), 0.5);
  EXPECT_TRUE(none.GetBoolean("a", true));
  EXPECT_EQ(none.GetColor("a", Color{3}), Color{3});
  EXPECT_EQ(none.GetURLDecodedString("a", "d", false), "d");
  EXPECT_EQ(none.GetHTMLDecodedString("a", "d"), "d");
  EXPECT_EQ(none.GetDate("a", date), date);
  EXPECT_TRUE(none.GetNode("").IsNil());
  EXPECT_FALSE(none.GetXMLData("a")->Exists());
  EXPECT_FALSE(none.HasValue(""));
  EXPECT_EQ(none.GetAttribute("a", "d"), "d");
  EXPECT_TRUE(none.GetArray("", "a", false, false).empty());
  EXPECT_TRUE(none.GetRawStrings("a").empty());
}

TEST(XMLData, ListsOfStrings) {
  const XMLDataRef list = XMLData::CreateFromString(
      "<list><item>a%20b</item><item/><other>z</other><item>c</item><Item><!--d--></Item></list>",
      false);
  using V = std::vector<String>;
  const auto same = [](const V& a, const V& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
      if (!Identical(a[i], b[i])) return false;
    }
    return true;
  };
  EXPECT_TRUE(same(list->GetArray("", "item", false, false), V{"a%20b", "", "c", "d"}));
  EXPECT_TRUE(same(list->GetArray("", "ITEM", true, true), V{"a b", "", "c", "d"}));
  EXPECT_TRUE(same(list->GetRawStrings("item"), V{"a%20b", "c"}));
  EXPECT_TRUE(list->GetArray("missing", "item", true, false).empty());
  EXPECT_TRUE(list->GetArray("", "", false, false).empty());
  EXPECT_TRUE(same(list->GetRawStrings(""), V{""}));  // the first child is an element
  EXPECT_TRUE(same(XMLData::CreateFromString("<r a=\"\" b=\"x\"/>", false)->GetRawStrings("@*"),
                   V{"", "x"}));
}

TEST(CBool, ReadsValuesAsBooleans) {
  struct Case {
    Variant value;
    bool expected;
  };
  const Case cases[] = {
      {Variant(), false},          {"", false},        {"False", false},   {"OFF", false},
      {"no", false},               {"0", false},       {"0.0", false},     {"00", false},
      {"0e0", false},              {" 0 ", false},     {"&h0", false},     {Variant(false), false},
      {Variant(int64_t{0}), false}, {Variant(-0.0), false}, {Variant(Color{0}), false},
      {"true", true},              {"on", true},       {"1", true},        {"-1", true},
      {"0.5", true},               {"   ", true},      {"0x", true},       {"nein", true},
      {Variant(true), true},       {Variant(0.5), true}, {Variant(std::make_shared<Date>()), true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(GlobalMethods::CBool(c.value), c.expected) << c.value.StringValue().Bytes();
  }
  EXPECT_THROW(GlobalMethods::CBool(Variant(NewArray<Variant>())), TypeMismatchException);
}

}  // namespace
}  // namespace grantwright
