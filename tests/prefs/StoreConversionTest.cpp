#include <gtest/gtest.h>

#include "prefs/PrefsTestSupport.h"

namespace grantwright::testing {
namespace {

using CoreFoundationExtension::ValueAsRBZRN;

// A store type the conversion does not know.
class Oddity final : public StoreObject {
 public:
  const char* ClassName() const override { return "Oddity"; }
  const char* TypeDescription() const override { return "Oddity"; }
};

// Documents in the forms other writers use read as the values they name, as the program
// sees them; a document the format does not allow reads as nothing. A store type the
// conversion does not know gives nil and its log line, also inside a container, which
// keeps its size.
TEST(ValueAsRBZRN, ReadsOtherWritersFormsAndRefusesTheRest) {
  std::string deep;  // deeper than the reader goes
  for (int i = 0; i < 600; ++i) deep = "<array>" + deep + "</array>";
  const auto plist = [](const std::string& body) { return "<plist>" + body + "</plist>"; };
  const std::pair<std::string, std::string> rows[] = {
      {plist("<integer> +42\n</integer>"), "i42"},
      {plist("<integer>18446744073709551615</integer>"), "d18446744073709551616"},
      {plist("<date>2000-12-31T23:59:59.75Z</date>"), "t978307199"},
      {plist("<string>a<![CDATA[<b>]]></string>"), "'a<b>'"},
      {plist("<dict><key>a</key><true/><key>a</key><false/></dict>"), "{a=false}"},
      {plist("<dict><key>Key</key><true/><key>KEY</key><false/></dict>"), "{Key=false}"},
      // The format's declaration names a DTD that is never fetched.
      {R"(<!DOCTYPE plist PUBLIC "-//Example//DTD PLIST 1.0//EN" "http://localhost:1/p.dtd">)" + plist("<true/>"),
       "true"},
  };
  for (const auto& [document, read] : rows)
    EXPECT_EQ(Describe(ValueAsRBZRN(NonNil(PropertyList::Parse(document)))), read) << document;
  for (const std::string& body : std::vector<std::string>{
           "", "<dict>", "<true/><true/>", "<dict><key>a</key></dict>", "<integer>12x</integer>",
           "<real>1e999</real>", "<date>yesterday</date>", "<data>!!</data>",
           "<string>a<b/></string>", deep})
    EXPECT_EQ(PropertyList::Parse(plist(body)), nullptr) << body;
  // What no reader of XML here takes: declarations of its own, bytes that are not UTF-8, a
  // reference to no character.
  for (const std::string& document : std::vector<std::string>{
           R"(<!DOCTYPE plist [<!ENTITY a "x">]><plist><string>&a;</string></plist>)",
           plist("<string>\xE9</string>"), plist("<string>a&#0;b</string>")})
    EXPECT_EQ(PropertyList::Parse(document), nullptr) << document;

  const LogCapture log;
  auto array = std::make_shared<StoreArray>();
  array->Append(std::make_shared<Oddity>());
  array->Append(StoreString::New("kept"));
  EXPECT_EQ(Describe(ValueAsRBZRN(array)), "[nil,'kept']");
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Unhandled RBDictFromCFDict() of type: Oddity"});
}

}  // namespace
}  // namespace grantwright::testing
