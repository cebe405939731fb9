// The typed XML format: what the decoder reads from each row, what it refuses, what the
// writer makes of every kind of value, and both when memory runs out; and the URL coding its
// text values go through.

#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <stb/stb_image_write.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "platform/Dictionary.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"
#include "support/TestSupport.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

using XMLExtension::AsDictionaryFromXMLStringZRN;
using XMLExtension::AsXMLStringFromDictionaryZRN;

std::string Url(const std::string& bytes) { return EncodingToURL(String(bytes, nullptr)).Bytes(); }

// A 1 x 1 GIF, URL-encoded as a "Picture" value holds it.
const std::string kGif = Url(std::string(
    "GIF89a\x01\x00\x01\x00\x80\x00\x00\xFF\x00\x00\x00\x00\x00"
    ",\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;", 35));

// Appends what an image writer makes to a std::string.
void Append(void* out, void* data, int size) { static_cast<std::string*>(out)->append(static_cast<char*>(data), size); }

std::string Decoded(const String& text) {
  const DictionaryRef dict = AsDictionaryFromXMLStringZRN(text);
  return dict ? Describe(dict) : "nil";
}

std::string Repeat(const std::string& s, size_t n) {
  std::string out;
  while (n-- > 0) out += s;
  return out;
}

TEST(TypedDecoder, WorkedExampleAndRootLevel) {
  EXPECT_EQ(Decoded(R"(<config a="ignored"><Owner datatype="String">root</Owner>)"
                    R"(<UnixFilePath datatype="String">%2Ftmp%2Fnotes%20v2.txt</UnixFilePath>)"
                    R"(<owner datatype="String">daemon</owner><Group>staff</Group><Hint>a%20b</Hint>)"
                    R"(<Retries datatype="Integer">3.9abc</Retries><Ratio datatype="Double">0.25</Ratio>)"
                    R"(<Enabled datatype="Boolean">no</Enabled><Tint datatype="Color">255</Tint>)"
                    R"(<Scale datatype="Single">0.5</Scale>)"
                    R"(<Stamp datatype="GMTTimeStampZRN">2018-06-01T09:05:07</Stamp>)"
                    R"(<Ref datatype="SmartFolderItemZRN">%3Cref%2F%3E</Ref><Blank datatype="Integer"></Blank>)"
                    R"(<Strange datatype="Blob">x</Strange><PermsOwner datatype="Array">)"
                    R"(<array_10 datatype="Boolean">yes</array_10><array_2 datatype="String">write</array_2>)"
                    R"(<array_0 datatype="String">read</array_0><note>dropped</note></PermsOwner>)"
                    R"(<Options datatype="Dictionary"><Depth datatype="Integer">2</Depth>)"
                    R"(<Odd datatype="Blob">x</Odd></Options></config>)"),
            "{Owner='daemon',UnixFilePath='/tmp/notes v2.txt',Group='staff',Hint='a%20b',Retries=i3,"
            "Ratio=d0.25,Enabled=false,Tint=c255,Scale=f0.5,Stamp=t1527843907,Ref=object,Blank='',"
            "PermsOwner=['read','write',true],Options={Depth=i2,Odd=nil}}");
  // Text and comments between the root's elements are entries too.
  EXPECT_EQ(Decoded(R"(<r>lead<a datatype="Integer">1</a>mid<!--c--></r>)"), "{#text='mid',a=i1,#comment='c'}");
}

TEST(TypedDecoder, ReadsEachDatatypeByItsRow) {
  const unsigned char pixels[] = {255, 0, 0, 255, 0, 0, 255, 255};  // 2 x 1: red, blue
  std::string png, bmp, jpeg, tga;
  stbi_write_png_to_func(Append, &png, 2, 1, 4, pixels, 8);
  stbi_write_bmp_to_func(Append, &bmp, 2, 1, 4, pixels);
  stbi_write_jpg_to_func(Append, &jpeg, 2, 1, 4, pixels, 100);
  stbi_write_tga_to_func(Append, &tga, 2, 1, 4, pixels);
  std::string huge = bmp;  // its header claims 100000 x 100000 pixels
  huge.replace(18, 8, std::string("\xA0\x86\x01\x00\xA0\x86\x01\x00", 8));
  const struct { const char* datatype; std::string content; const char* value; } cases[] = {  // value null: no entry
      {"BOOLEAN", "0.0", "false"}, {"Boolean", "OFF", "false"}, {"boolean", "False", "false"},
      {"Boolean", "0.5", "true"},  {"Boolean", "nein", "true"},  {"Booleans", "yes", nullptr},
      {"Color", "4294967296", "c0"}, {"color", "-1", "c4294967295"}, {"Integer", "-3.9", "i-3"},
      {"Integer", "9007199254740993", "i9007199254740992"}, {"Integer", "1e30", "i9223372036854775807"},
      {"Single", "0.1", "f0.10000000149011612"},
      {"String", "%C3%A9t%C3%A9+x", "'\xC3\xA9t\xC3\xA9+x'"},
      {"String", "%E9", "'\xC3\xA9'"},      // windows-1252, brought to UTF-8
      {"String", "%00a&lt;", "'a<'"},      // NUL removed
      {"\xC5\xBFtring", "%41", "'A'"},     // long s folds to s
      {"", "a%20b", "'a%20b'"},
      // Only images that announce their format, of a sane size, and whole.
      {"Picture", Url(png), "pic2x1"},     {"Picture", Url(bmp), "pic2x1"},
      {"Picture", Url(jpeg), "pic2x1"},    {"Picture", Url(tga), nullptr},
      {"Picture", Url(huge), nullptr},     {"Picture", Url(png.substr(0, png.size() / 2)), nullptr},
      // No child node: the element's own empty value, whatever the row.
      {"Dictionary", "", "''"},            {"Array", "", "''"},
      // Only the first child node counts, whatever kind it is.
      {"String", "x<b/>y", "'x'"},         {"String", "<!--c%20d-->x", "'c d'"},
      {"String", "<![CDATA[a%20b]]>", "'a b'"},
      // Inside containers, children without a datatype, or with an empty one, are skipped.
      {"Dictionary", R"( <u>1</u><e datatype="">1</e><z datatype="Integer">2</z>)", "{z=i2}"},
      // Array elements go by their number, numerically and stably; gaps close up.
      {"Array",
       R"(<array_10 datatype="String">ten</array_10><array_2 datatype="String">two</array_2>)"
       R"(<x datatype="String">x</x><array_ datatype="String">empty</array_><u>skipped</u>)"
       R"(<array_-1 datatype="String">m1</array_-1><array_1array_2 datatype="String">1a2</array_1array_2>)"
       R"(<ARRAY_3 datatype="String">three</ARRAY_3><Array_2 datatype="String">two-b</Array_2>)"
       R"(<array_5 datatype="Blob">nil</array_5>)",
       "['m1','x','empty','1a2','two','two-b','three',nil,'ten']"},
  };
  for (const auto& c : cases) {
    const std::string text = std::string("<r><k datatype=\"") + c.datatype + "\">" + c.content + "</k></r>";
    EXPECT_EQ(Decoded(text), c.value ? std::string("{k=") + c.value + "}" : "{}") << text.substr(0, 80);
  }
}

TEST(TypedDecoder, DecodesEveryTypeNestedDeep) {
  const std::string leaf =
      R"(<b datatype="Boolean">on</b><c datatype="Color">16</c>)"
      R"(<t datatype="GMTTimeStampZRN">2000-01-01T00:00:00</t><f datatype="Double">1.5</f>)"
      R"(<i datatype="Integer">-7</i><p datatype="Picture">)" + kGif + "</p>"
      R"(<s datatype="Single">2.5</s><str datatype="String">x%20y</str><nest datatype="Array">)"
      R"(<array_0 datatype="Array"><array_0 datatype="String">deep</array_0></array_0></nest>)";
  const std::string leafValues = "b=true,c=c16,t=t946684800,f=d1.5,i=i-7,p=pic1x1,s=f2.5,str='x y',nest=[['deep']]";
  std::string text = R"(<d datatype="Dictionary">)" + leaf + "</d>";
  std::string expected = "{" + leafValues + "}";
  for (int level = 0; level < 6; ++level) {
    text = R"(<d datatype="Dictionary">)" + leaf + R"(<arr datatype="Array"><array_1 datatype="Integer">1</array_1>)"
           R"(<array_0 datatype="Dictionary">)" + leaf + text + "</array_0></arr></d>";
    expected = "{" + leafValues + ",arr=[{" + leafValues + ",d=" + expected + "},i1]}";
  }
  EXPECT_EQ(Decoded("<r>" + text + "</r>"), "{d=" + expected + "}");
}

TEST(TypedDecoder, BadDocumentsGiveNilAndALogLine) {
  const std::string parseFailed =
      "The string could not be parsed as XML.\n\nDefaults will be used if applicable.\n\nError Code: ";
  const struct { String text; std::vector<std::string> log; } cases[] = {
      {"", {}},
      {R"(<config><Owner datatype="String">ro)", {parseFailed + "14"}},
      {String(std::string("<r><a>\xE9</a></r>"), Encodings::UTF8()), {parseFailed + "100"}},
      {"<r>" + Repeat(R"(<a datatype="Array">)", 10000) + Repeat("</a>", 10000) + "</r>",
       {"The XML could not be decoded: it nests containers more than 512 deep."}},
      // A declaration of entities is refused: no entity is expanded and no file is read.
      {R"(<!DOCTYPE r [<!ENTITY a "aa"><!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;">]>)"
       R"(<r><x datatype="String">&b;</x></r>)", {parseFailed + "101"}},
      {R"(<!DOCTYPE r [<!ENTITY e SYSTEM "file:///etc/passwd">]><r><x>&e;</x></r>)", {parseFailed + "101"}},
      // References to no character: text that is not UTF-8, or cut short at a NUL.
      {"<r><Group>x&#55555;y</Group></r>", {parseFailed + "102"}},
      {"<r><Group datatype=\"String\">&#x110000;</Group></r>", {parseFailed + "102"}},
      {"<r><Group datatype='Str&#0;ing'>x</Group></r>", {parseFailed + "102"}},
      // ...also behind many elements, whose ranges are each looked at once.
      {"<r>" + Repeat("<a b='1'>x</a>", 200000) + "<c>&#0;</c></r>", {parseFailed + "102"}},
  };
  for (const auto& c : cases) {
    const LogCapture log;
    EXPECT_EQ(AsDictionaryFromXMLStringZRN(c.text), nullptr) << c.text.Bytes().substr(0, 60);
    EXPECT_EQ(log.lines(), c.log);
  }
  // A declaration that only names the type, and a DTD that is never read, is dropped.
  EXPECT_EQ(Decoded(R"(<!DOCTYPE r SYSTEM "file:///etc/passwd[1]"><r><a datatype="String">x</a></r>)"), "{a='x'}");
  // Deep nesting without containers decodes.
  EXPECT_EQ(Decoded("<r>" + Repeat("<a>", 1000000) + Repeat("</a>", 1000000) + "</r>"), "{a=''}");
  // A root without children, or a comment that stands in for it, gives an empty Dictionary.
  EXPECT_EQ(Decoded("<r/>") + Decoded("<!--c--><r><a>1</a></r>"), "{}{}");
}

DictionaryRef DictionaryOf(std::initializer_list<std::pair<const char*, Variant>> entries) {
  auto dict = std::make_shared<Dictionary>();
  for (const auto& [key, value] : entries) dict->SetValue(key, value);
  return dict;
}

TEST(TypedWriter, EveryKindNestedReadsBackEqualAndOthersAreRefused) {
  const auto when = std::make_shared<Date>(2018, 6, 1, 9, 5, 7, -4.0);
  when->SetTotalSeconds(when->TotalSeconds() + 0.75);
  const DictionaryRef inner = DictionaryOf({
      {"Strings", NewArray<String>({"read", "write"})}, {"Numbers", NewArray<int64_t>({3, 1, 2})},
      {"Flags", NewArray<bool>({true, false})}, {"NoItems", NewArray<Variant>()},
      {"NoEntries", std::make_shared<Dictionary>()},
  });
  const DictionaryRef all = DictionaryOf({
      {"Text", "a b+c%d/\xC3\xBC\n<&>\"'"}, {"Empty", ""}, {"Yes", true}, {"No", false},
      {"Small", int32_t{-7}}, {"Big", int64_t{9007199254740992}}, {"Ratio", 0.1}, {"Tiny", 5e-324},
      {"Third", 1.0f / 3.0f}, {"When", when}, {"Tint", Integer2Color(0xFF8000FF)},
      {"Outer", NewArray<Variant>({inner, NewArray<Variant>({1.5})})},
  });
  // Equal as the format carries them: Int32 as Int64, dates to the whole second in GMT,
  // typed arrays as arrays of Variant. Nil is left out; an array closes up around it.
  const std::string expected = Describe(all);
  all->SetValue("Gone", Variant());
  inner->SetValue("Strings", NewArray<Variant>({Variant(), "read", Variant(), "write"}));
  const String xml = AsXMLStringFromDictionaryZRN(all, "config");
  EXPECT_EQ(Describe(AsDictionaryFromXMLStringZRN(xml)), expected) << xml.Bytes();
  EXPECT_NE(xml.Bytes().find(R"(<When datatype="GMTTimeStampZRN">2018-06-01T13:05:07<)"), std::string::npos);
  // A key that is no XML name, and a value of a kind the format has no row for, are refused.
  EXPECT_THROW(AsXMLStringFromDictionaryZRN(DictionaryOf({{"two words", "x"}}), "r"), XmlException);
  EXPECT_THROW(AsXMLStringFromDictionaryZRN(DictionaryOf({{"File", std::make_shared<FolderItem>("/tmp")}}), "r"),
               TypeMismatchException);
}

// What the writers encode, the decoder gives back byte for byte, whatever the escapes' offsets.
TEST(UrlCoding, RoundTripsEveryByteAtEveryOffsetAndSetStringUsesIt) {
  std::string all;
  for (int c = 0; c < 256; ++c) all.push_back(static_cast<char>(c));
  const String encoded = EncodingToURL(String(all, nullptr));
  EXPECT_EQ(encoded.Bytes().find_first_not_of("%0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-_.~"),
            std::string::npos);
  EXPECT_TRUE(Identical(DecodingFromURL(encoded), String(all, nullptr)));
  XmlDocument doc;
  XmlNode root = doc.AppendChild(doc.CreateElement("config"));
  XMLExtension::SetString(root, "Path", "a b+/~", true);
  XMLExtension::SetString(root, "Raw", "a<b", false);
  EXPECT_TRUE(Identical(root.ToString(), "<config><Path>a%20b%2B%2F~</Path><Raw>a&lt;b</Raw></config>"));
  // The decoder looks for escapes 64 bytes at a time: each escape, whole or broken, reads
  // the same at every offset, across the edge of a block and next to the end of the text.
  const std::pair<std::string, std::string> fragments[] = {
      {"%41", "A"}, {"%4a", "J"}, {"%00", std::string(1, '\0')}, {"%FF", "\xFF"}, {"%", "%"},
      {"%4", "%4"}, {"%4G", "%4G"}, {"%zz", "%zz"}, {"%%41", "%A"}, {"%41%42", "AB"}, {"+", "+"},
  };
  for (const auto& [fragment, decoded] : fragments) {
    for (size_t before = 0; before <= 70; ++before) {
      for (size_t after = 0; after <= 9; ++after) {
        const std::string head(before, 'x'), tail(after, 'q');
        EXPECT_EQ(DecodedURLBytes(head + fragment + tail), head + decoded + tail)
            << fragment << " after " << before << " bytes, before " << after;
      }
    }
  }
}

// Memory that runs out inside the XML layer: pugixml reports it as a parse status or a
// node it did not make, and either must end as std::bad_alloc, never as text that is no
// XML or a document with a part missing. pugixml's allocator is the seam: it fails the
// n-th allocation, for every n until the work needs no more.

size_t allocationsLeft = 0;

void* FailingAllocate(size_t size) {
  if (allocationsLeft == 0) return nullptr;
  --allocationsLeft;
  return std::malloc(size);
}

// Runs `work` with pugixml failing its allocation number `n` (from 0), for n = 0, 1, ...
// until `work` goes through; each run must give `whole` or throw std::bad_alloc.
void EachAllocationFails(const std::function<std::string()>& work, const std::string& whole) {
  pugi::set_memory_management_functions(FailingAllocate, std::free);
  bool done = false;
  for (size_t n = 0; !done && n < 10000; ++n) {
    allocationsLeft = n;
    try {
      EXPECT_EQ(work(), whole) << "allocation " << n << " failed";
      done = true;
    } catch (const std::bad_alloc&) {
    }
  }
  pugi::set_memory_management_functions(std::malloc, std::free);
  EXPECT_TRUE(done);
}

TEST(OutOfMemory, EveryFailedXmlAllocationIsBadAlloc) {
  // Large enough that pugixml needs more than one page of nodes and text.
  std::string xml = "<config><Owner datatype=\"String\">root</Owner>";
  for (int i = 0; i < 2000; ++i) {
    xml += "<K" + std::to_string(i) + " datatype=\"Integer\">" + std::to_string(i) + "</K" + std::to_string(i) + ">";
  }
  xml += "<P datatype=\"Array\"><array_0 datatype=\"String\">read</array_0></P></config>";
  const auto decode = [&] { return Describe(AsDictionaryFromXMLStringZRN(String(xml))); };
  const std::string decoded = decode();
  ASSERT_NE(decoded.find("K1999=i1999"), std::string::npos);
  EachAllocationFails(decode, decoded);

  const DictionaryRef dict = AsDictionaryFromXMLStringZRN(String(xml));
  const auto write = [&] { return AsXMLStringFromDictionaryZRN(dict, "config").Bytes(); };
  EachAllocationFails(write, write());
}

}  // namespace
}  // namespace grantwright::testing
