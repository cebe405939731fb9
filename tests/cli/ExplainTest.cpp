#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using nlohmann::json;

json Typed(const char* type, json value) { return json{{"type", type}, {"value", std::move(value)}}; }

json ExplainJson(const std::string& config) {
  const ProcessResult r = grantwright::testing::Run({CommandPath(), "explain", config}, {.env = {"TZ=UTC"}});
  EXPECT_EQ(r.status, 0) << r.err;
  return json::parse(r.out);
}

TEST(Explain, TheTypedFormatsWorkedExample) {
  TempDir dir;
  const std::string config = dir.Write("config.xml", R"(<config a="ignored">
<Owner datatype="String">root</Owner>
<UnixFilePath datatype="String">%2Ftmp%2Fnotes%20v2.txt</UnixFilePath>
<owner datatype="String">daemon</owner>
<Group>staff</Group>
<Hint>a%20b</Hint>
<Retries datatype="Integer">3.9abc</Retries>
<Ratio datatype="Double">0.25</Ratio>
<Enabled datatype="Boolean">no</Enabled>
<Tint datatype="Color">255</Tint>
<Scale datatype="Single">0.5</Scale>
<Stamp datatype="GMTTimeStampZRN">2018-06-01T09:05:07</Stamp>
<Ref datatype="SmartFolderItemZRN">%3Cref%2F%3E</Ref>
<Blank datatype="Integer"></Blank>
<Strange datatype="Blob">x</Strange>
<PermsOwner datatype="Array"><array_10 datatype="Boolean">yes</array_10><array_2 datatype="String">write</array_2><array_0 datatype="String">read</array_0><note>dropped</note></PermsOwner>
<Options datatype="Dictionary"><Depth datatype="Integer">2</Depth><Odd datatype="Blob">x</Odd></Options>
</config>)");
  const json out = ExplainJson(config);
  const json want = {
      {"Owner", Typed("String", "daemon")},
      {"UnixFilePath", Typed("String", "/tmp/notes v2.txt")},
      {"Group", Typed("String", "staff")},
      {"Hint", Typed("String", "a%20b")},
      {"Retries", Typed("Int64", 3)},
      {"Ratio", Typed("Double", 0.25)},
      {"Enabled", Typed("Boolean", false)},
      {"Tint", Typed("Color", 255)},
      {"Scale", Typed("Single", 0.5)},
      {"Stamp", Typed("Date", "2018-06-01T09:05:07+00:00")},
      {"Blank", Typed("String", "")},
      {"PermsOwner", Typed("Array", json::array({Typed("String", "read"), Typed("String", "write"),
                                                  Typed("Boolean", true)}))},
      {"Options", Typed("Dictionary", {{"Depth", Typed("Int64", 2)}, {"Odd", Typed("Nil", nullptr)}})},
  };
  EXPECT_EQ(out["configuration"], want) << out.dump(2);
  EXPECT_EQ(out["record"], json({{"path", "/tmp/notes v2.txt"}, {"owner", "daemon"}, {"group", "staff"},
                                 {"mode", "0600"}, {"acl", nullptr}}));
}

TEST(Explain, ThePermissionRecordsWorkedExample) {
  TempDir dir;
  const std::string config = dir.Write("config.xml", R"(<?xml version="1.0"?><anything>
<Owner datatype="String">root</Owner><Group datatype="String">daemon</Group>
<UnixFilePath datatype="String">%2Ftmp%2Fnotes%20v2.txt</UnixFilePath>
<PermsOwner datatype="Array"><array_0 datatype="String">read</array_0><array_1 datatype="String">write</array_1><array_2 datatype="String">execute</array_2></PermsOwner>
<PermsGroup datatype="Array"><array_0 datatype="String">read</array_0><array_1 datatype="String">execute</array_1></PermsGroup>
<RawACLRights datatype="String">user%3A%3Arwx%0Auser%3Adaemon%3Ar--%0Agroup%3A%3Ar-x%0Amask%3A%3Ar-x%0Aother%3A%3A---%0A</RawACLRights>
</anything>)");
  const json out = ExplainJson(config);
  EXPECT_EQ(out["record"], json({{"path", "/tmp/notes v2.txt"}, {"owner", "root"}, {"group", "daemon"},
                                 {"mode", "0750"},
                                 {"acl", "user::rwx\nuser:daemon:r--\ngroup::r-x\nmask::r-x\nother::---\n"}}));
  EXPECT_EQ(out["configuration"]["PermsGroup"],
            Typed("Array", json::array({Typed("String", "read"), Typed("String", "execute")})));
}

TEST(Explain, FailuresAndUsage) {
  TempDir dir;
  const std::string unwritable = dir / "no-such-folder/out.xml";
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string err;
  };
  const Case cases[] = {
      {{"explain", dir / "missing.xml"}, 1, "Missing config file!\n"},
      {{"explain", dir.path()}, 1, "Failed to read config file!\n"},
      {{"explain", dir.Write("bad.xml", "<unclosed")}, 1, "Failed to read XML from config file!\n"},
      {{"capture", dir / "missing"}, 1, "grantwright: " + (dir / "missing") + ": No such file or directory\n"},
      {{"capture", dir.path(), "-o", unwritable}, 1,
       "grantwright: cannot write " + unwritable + ": No such file or directory\n"},
      {{"frobnicate"}, 2, ""},
      {{}, 2, ""},
  };
  for (const Case& c : cases) {
    std::vector<std::string> argv{CommandPath()};
    argv.insert(argv.end(), c.args.begin(), c.args.end());
    const ProcessResult r = grantwright::testing::Run(argv, {.env = {"GRANTWRIGHT_LOG=/dev/null"}});
    EXPECT_EQ(r.status, c.status) << ::testing::PrintToString(c.args);
    EXPECT_EQ(r.out, "");
    if (!c.err.empty()) {
      EXPECT_EQ(r.err, c.err) << ::testing::PrintToString(c.args);
    }
  }
  const ProcessResult help = grantwright::testing::Run({CommandPath(), "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("grantwright-helper -a -f"), std::string::npos);
}

TEST(Capture, WritesAtomicallyWithMode0600AndStdoutWithout) {
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const std::string config = dir / "f.xml";
  dir.Write("f.xml", "old");
  ASSERT_EQ(::chmod(config.c_str(), 0644), 0);
  const ProcessResult toFile = grantwright::testing::Run({CommandPath(), "capture", file, "-o", config});
  ASSERT_EQ(toFile.status, 0) << toFile.err;
  struct stat st;
  ASSERT_EQ(::stat(config.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0600u);
  const ProcessResult toStdout = grantwright::testing::Run({CommandPath(), "capture", file});
  ASSERT_EQ(toStdout.status, 0);
  EXPECT_EQ(toStdout.out.rfind("<?xml", 0), 0u);
  size_t entries = 0;
  for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(dir.path())) ++entries;
  EXPECT_EQ(entries, 2u);  // no temporary file left behind
}

}  // namespace
}  // namespace grantwright::testing
