// The stored form of a reference: written, read back, and made from plain paths; and the
// file values of the typed format and XMLData built on it.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "filerefs/SmartFolderItemZRN.h"
#include "filerefs/StoredReference.h"
#include "platform/Dictionary.h"
#include "platform/TextEncoding.h"
#include "platform/UrlCoding.h"
#include "support/TestSupport.h"
#include "xml/XMLData.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

std::string Fields(const SmartFolderItemZRN& r) {
  return r.LocateRelativeData.Bytes() + "|" + r.LocateURLPath.Bytes() + "|" + r.LocateShellPath.Bytes() +
         "|" + r.LocatePath.Bytes() + "|" + r.BackupFileName.Bytes() + "|" + r.LocateMacBookmarkData.Bytes();
}

std::string Element(const char* name, const std::string& value) {
  return std::string("<") + name + ">" + EncodingToURL(String(value, nullptr)).Bytes() + "</" + name + ">";
}

TEST(StoredReference, ReadsBackEveryFieldAndTextsAsValidUtf8) {
  SmartFolderItemZRN written;
  written.LocateRelativeData = String(std::string("\0\x01\x80\xFF<&>", 7), nullptr);
  written.LocateURLPath = "file:///x%20y";
  written.LocateShellPath = "/x\\ y";
  written.LocatePath = "/x y/\xC3\xA9";
  written.BackupFileName = "\xC3\xA9";
  written.LocateMacBookmarkData = String(std::string("\xFF\0\x80", 3), nullptr);
  const String stored = StoredReference::Write(written);
  SmartFolderItemZRN read;
  ASSERT_TRUE(StoredReference::Read(stored, read));
  EXPECT_EQ(Fields(read), Fields(written));
  EXPECT_EQ(read.LocatePath.Encoding(), Encodings::UTF8());
  EXPECT_EQ(read.LocateRelativeData.Encoding(), nullptr);

  const struct {
    std::string document;
    std::string fields;
  } cases[] = {
      {"<root>" + Element("mac_bookmark_data", "b") + Element("path", "/p") + Element("rel_data", "r") + "</root>",
       "r|||/p||b"},
      {"<root>" + Element("path", "/p") + "<other>x</other></root>", "|||/p||"},
      {"<root/>", "|||||"},
      // Texts that are no UTF-8 come back as UTF-8 (windows-1252 here), NUL bytes dropped.
      {"<root>" + Element("path", std::string("/caf\xE9\0\0", 7)) + "</root>", "|||/caf\xC3\xA9||"},
  };
  for (const auto& c : cases) {
    SmartFolderItemZRN r;
    ASSERT_TRUE(StoredReference::Read(c.document, r)) << c.document;
    EXPECT_EQ(Fields(r), c.fields) << c.document;
  }
  SmartFolderItemZRN untouched;
  EXPECT_FALSE(StoredReference::Read("/just/a path", untouched));
  EXPECT_EQ(Fields(untouched), "|||||");
}

TEST(StoredReference, CreateFromDataFillsEveryFieldFromTheFileFound) {
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const auto original = SmartFolderItemZRN::Create(PathToFolderItem(String(file)));
  const String xml = original->GetXML();
  // A form holding only the path finds the file and fills every field from it; so does a
  // plain path (a missing one: tests/cli).
  for (const std::string& data : {"<root>" + Element("path", file) + "</root>", file}) {
    const auto record = SmartFolderItemZRN::Create(String(data, nullptr));
    EXPECT_EQ(record->GetFile()->NativePath(), file) << data;
    EXPECT_EQ(Fields(*record), Fields(*original)) << data;
  }
  // The round trip keeps the six fields of an existing file.
  EXPECT_EQ(Fields(*SmartFolderItemZRN::Create(xml)), Fields(*original));
  EXPECT_EQ(SmartFolderItemZRN::Create(String()), nullptr);
}

TEST(FileValues, XMLDataAndTheTypedFormatReadAndWriteReferences) {
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const String stored = SmartFolderItemZRN::Create(PathToFolderItem(String(file)))->GetXML();
  const std::string value = EncodingToURL(stored).Bytes();
  const XMLDataRef xml = XMLData::CreateFromString(
      "<r a=\"\"><ref>" + value + "</ref><empty></empty></r>", false);
  const auto fallback = std::make_shared<SmartFolderItemZRN>();
  const auto fallbackFile = std::make_shared<FolderItem>("/fallback");
  EXPECT_EQ(xml->GetFile("ref", fallbackFile)->NativePath(), file);
  EXPECT_EQ(xml->GetSmartFile("ref", fallback)->GetFile()->NativePath(), file);
  // A key that is there but makes no reference gives nil; a missing key the default.
  EXPECT_EQ(xml->GetSmartFile("empty", fallback), fallback);  // no child node: not found
  EXPECT_EQ(xml->GetSmartFile("missing", fallback), fallback);
  EXPECT_EQ(xml->GetFile("missing", fallbackFile), fallbackFile);
  EXPECT_EQ(xml->GetSmartFile("@a", fallback), nullptr);  // found, empty: no reference
  EXPECT_EQ(xml->GetFile("@a", fallbackFile), nullptr);

  // The decoder makes a reference, and the writer writes it back as the same row.
  const String typed = "<c><Ref datatype=\"SmartFolderItemZRN\">" + String(value) + "</Ref></c>";
  const DictionaryRef decoded = XMLExtension::AsDictionaryFromXMLStringZRN(typed);
  const auto reference = decoded->Value("Ref").ObjectAs<SmartFolderItemZRN>();
  ASSERT_NE(reference, nullptr);
  EXPECT_EQ(reference->GetFile()->NativePath(), file);
  const String written = XMLExtension::AsXMLStringFromDictionaryZRN(decoded, "c");
  EXPECT_EQ(XMLExtension::AsXMLStringFromDictionaryZRN(XMLExtension::AsDictionaryFromXMLStringZRN(written), "c").Bytes(),
            written.Bytes());
  EXPECT_NE(written.Bytes().find("datatype=\"SmartFolderItemZRN\">" + value), std::string::npos);
}

}  // namespace
}  // namespace grantwright::testing
