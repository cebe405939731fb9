// `grantwright` as a user runs it: explain and capture, and the round trip of many files
// through capture and the helper.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "support/TestSupport.h"

namespace grantwright::testing {
namespace {

using nlohmann::json;

// The round trip's modes: a step prime to 2 sets and clears each of the twelve bits and
// alternates files and folders. Sanitized processes start slowly, so they take fewer.
#if defined(GRANTWRIGHT_SANITIZED)
constexpr uint32_t kModeStep = 17;
#else
constexpr uint32_t kModeStep = 3;
#endif

json Typed(const char* type, json value) { return json{{"type", type}, {"value", std::move(value)}}; }

// Runs `argv` with `more` appended.
// (Within a test, Run alone names the fixture's own member.)
ProcessResult RunWith(std::vector<std::string> argv, const std::vector<std::string>& more = {},
                      const RunOptions& options = {}) {
  argv.insert(argv.end(), more.begin(), more.end());
  return Run(argv, options);
}

// What `grantwright explain` makes of `config`.
json Explain(const std::string& config) {
  const ProcessResult r = Run({CommandPath(), "explain", config}, {.env = {"TZ=UTC"}});
  EXPECT_EQ(r.status, 0) << r.err;
  return json::parse(r.out);
}

// explain shows each typed value as decoded and, under "record", what the helper applies;
// for an Owner the helper cannot take as text, its line and status instead (a Date has a
// text, which the helper takes as the owner's name).
TEST(Explain, ShowsEachTypeAndTheRecordOrTheHelpersEnding) {
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  const std::string path = "<UnixFilePath datatype=\"String\">" + file + "</UnixFilePath></config>";
  const json unhandled = {{"error", "Unhandled exception: TypeMismatchException"}, {"status", 253}};
  const std::tuple<std::string, json, json> cases[] = {  // the configuration, as explained, the record
      {R"(<config a="ignored">
<Owner datatype="String">root</Owner><UnixFilePath datatype="String">%2Ftmp%2Fnotes%20v2.txt</UnixFilePath>
<owner datatype="String">daemon</owner><Group>staff</Group><Hint>a%20b</Hint>
<Retries datatype="Integer">3.9abc</Retries><Ratio datatype="Double">0.25</Ratio>
<Enabled datatype="Boolean">no</Enabled><Tint datatype="Color">255</Tint><Scale datatype="Single">0.5</Scale>
<Stamp datatype="GMTTimeStampZRN">2018-06-01T09:05:07</Stamp><Ref datatype="SmartFolderItemZRN">%3Cref%2F%3E</Ref>
<Blank datatype="Integer"></Blank><Strange datatype="Blob">x</Strange>
<PermsOwner datatype="Array"><array_10 datatype="Boolean">yes</array_10><array_2 datatype="String">write</array_2>
<array_0 datatype="String">read</array_0><note>dropped</note></PermsOwner>
<Options datatype="Dictionary"><Depth datatype="Integer">2</Depth><Odd datatype="Blob">x</Odd></Options>
</config>)",
       {{"Owner", Typed("String", "daemon")}, {"UnixFilePath", Typed("String", "/tmp/notes v2.txt")},
        {"Group", Typed("String", "staff")},  {"Hint", Typed("String", "a%20b")},
        {"Retries", Typed("Int64", 3)},       {"Ratio", Typed("Double", 0.25)},
        {"Enabled", Typed("Boolean", false)}, {"Tint", Typed("Color", 255)},
        {"Scale", Typed("Single", 0.5)},      {"Stamp", Typed("Date", "2018-06-01T09:05:07+00:00")},
        {"Ref", Typed("SmartFolderItemZRN", {{"path", nullptr}, {"exists", false}})},
        {"Blank", Typed("String", "")},
        {"PermsOwner", Typed("Array", {Typed("String", "read"), Typed("String", "write"), Typed("Boolean", true)})},
        {"Options", Typed("Dictionary", {{"Depth", Typed("Int64", 2)}, {"Odd", Typed("Nil", nullptr)}})}},
       {{"path", "/tmp/notes v2.txt"}, {"owner", "daemon"}, {"group", "staff"}, {"mode", "0600"}, {"acl", nullptr}}},
      {R"(<config><Owner datatype="Array"><array_0 datatype="String">root</array_0></Owner>)" + path,
       {{"Owner", Typed("Array", json::array({Typed("String", "root")}))}, {"UnixFilePath", Typed("String", file)}},
       unhandled},
      {R"(<config><Owner datatype="Dictionary"><Name datatype="String">root</Name></Owner>)" + path,
       {{"Owner", Typed("Dictionary", {{"Name", Typed("String", "root")}})}, {"UnixFilePath", Typed("String", file)}},
       unhandled},
      {R"(<config><Owner datatype="GMTTimeStampZRN">2018-06-01T09:05:07</Owner>)" + path,
       {{"Owner", Typed("Date", "2018-06-01T09:05:07+00:00")}, {"UnixFilePath", Typed("String", file)}},
       {{"path", file}, {"owner", "2018-06-01 09:05:07"}, {"group", ""}, {"mode", "0000"}, {"acl", nullptr}}},
  };
  for (const auto& [xml, configuration, record] : cases) {
    const std::string config = dir.Write("config.xml", xml);
    const json explained = Explain(config);
    EXPECT_EQ(explained["configuration"], configuration) << xml;
    EXPECT_EQ(explained["record"], record) << xml;
    if (!record.contains("error")) continue;
    const ProcessResult helper = RunHelper({"-f", config}, {.env = {"GRANTWRIGHT_LOG=/dev/null"}});
    EXPECT_EQ(helper.out, record["error"].get<std::string>() + "\n");
    EXPECT_EQ(helper.status, record["status"]);
  }
}

// capture replaces its output whole (mode 0600, no temporary file left), and explain reads
// the record back as the helper would.
TEST(Capture, WritesAConfigurationThatExplainReadsBack) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const std::string file = dir.Write("f", "x");
  Setfacl({"-m", "u:daemon:r", file});
  const std::string config = dir.Write("f.xml", "old");
  ASSERT_EQ(RunWith({CommandPath(), "capture", file, "-o", config}).status, 0);
  EXPECT_EQ(RunWith({"/usr/bin/stat", "-c", "%a", config}).out, "600\n");
  EXPECT_EQ(RunWith({"/bin/ls", "-A", dir.path()}).out, "f\nf.xml\n");
  EXPECT_EQ(Explain(config)["record"],
            json({{"path", file}, {"owner", "root"}, {"group", "root"}, {"mode", "0644"},
                  {"acl", "user::rw-\nuser:daemon:r--\ngroup::r--\nmask::r--\nother::r--\n"}}));
}

// Every failure is status 1 and one line on standard error, and leaves the folder as it was:
// capture never writes over what it captures, by any name, nor into a folder or an empty path.
TEST(Grantwright, FailuresChangeNothingAndUsage) {
  TempDir dir;
  const std::string file = dir.Write("f", "the captured file");
  const std::string folder = dir / "d";
  ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
  ASSERT_EQ(::link(file.c_str(), (dir / "hard").c_str()), 0);
  ASSERT_EQ(::symlink(file.c_str(), (dir / "soft").c_str()), 0);
  ASSERT_EQ(::symlink(folder.c_str(), (dir / "to-folder").c_str()), 0);
  const std::string bad = dir.Write("bad.xml", "<unclosed");
  const std::string unwritable = dir / "no-such-folder/out.xml";
  const std::string cannot = "grantwright: cannot write ", itself = ": it is the captured file\n";
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"explain", dir / "missing.xml"}, "Missing config file!\n"},
      {{"explain", dir.path()}, "Failed to read config file!\n"},
      {{"explain", bad}, "Failed to read XML from config file!\n"},
      {{"capture", dir / "missing"}, "grantwright: " + (dir / "missing") + ": No such file or directory\n"},
      {{"capture", dir.path(), "-o", unwritable}, cannot + unwritable + ": No such file or directory\n"},
      {{"capture", file, "-o", file}, cannot + file + itself},
      {{"capture", file, "-o", dir / "d/../f"}, cannot + dir / "d/../f" + itself},
      {{"capture", file, "-o", dir / "hard"}, cannot + dir / "hard" + itself},
      {{"capture", file, "-o", dir / "soft"}, cannot + dir / "soft" + itself},
      {{"capture", dir / "soft", "-o", dir / "soft"}, cannot + dir / "soft" + itself},  // captured through, an input too
      {{"capture", dir / "soft", "-o", file}, cannot + file + itself},
      {{"capture", file, "-o", folder}, cannot + folder + ": it is a folder\n"},
      {{"capture", file, "-o", dir / "to-folder"}, cannot + dir / "to-folder" + ": it is a folder\n"},
      {{"capture", file, "-o", ""}, cannot + "\"\": the output path is empty\n"},
  };
  const std::string listing = RunWith({"/bin/ls", "-liA", dir.path()}).out;
  for (const auto& [args, message] : cases) {
    const ProcessResult r = RunWith({CommandPath()}, args, {.env = {"GRANTWRIGHT_LOG=/dev/null"}});
    EXPECT_EQ(r.status, 1) << message;
    EXPECT_EQ(r.out, "") << message;
    EXPECT_EQ(r.err, message);
    EXPECT_EQ(RunWith({"/bin/cat", file}).out, "the captured file") << message;
    EXPECT_EQ(RunWith({"/bin/ls", "-liA", dir.path()}).out, listing) << message;
  }
  // The debug switch shows the library's log lines.
  EXPECT_EQ(RunWith({CommandPath(), "explain", bad}, {}, {.env = {"GRANTWRIGHT_DEBUG=1"}}).err,
            "The string could not be parsed as XML.\n\nDefaults will be used if applicable.\n\nError Code: 11\n"
            "Failed to read XML from config file!\n");
  EXPECT_EQ(RunWith({CommandPath(), "frobnicate"}).status, 2);
  const ProcessResult help = RunWith({CommandPath(), "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("grantwright-helper -a -f"), std::string::npos);
}

// Running short of memory ends explain with one line and status 1, never with a message
// that blames the configuration: it runs under address space limits (ulimit -v) from the
// least it starts with to more than it needs.
TEST(Explain, RunningOutOfMemoryIsOneLineAtEveryLimit) {
#if defined(GRANTWRIGHT_SANITIZED)
  GTEST_SKIP() << "the sanitizers reserve more address space than the limits tried here";
#endif
  TempDir dir;
  std::string xml = "<config><Owner datatype=\"String\">root</Owner>";
  for (int i = 0; i < 10000; ++i) xml += "<K" + std::to_string(i) + " datatype=\"Integer\">1</K" + std::to_string(i) + ">";
  const std::string config = dir.Write("config.xml", xml + "</config>");
  const size_t least = LeastAddressSpace({CommandPath(), "explain", dir / "missing"}, 1);
  ASSERT_GT(least, 0u);
  int ended = 0, explained = 0;
  for (size_t limit = least; limit < least + (12u << 20); limit += 256 << 10) {
    const ProcessResult r = RunWith({CommandPath(), "explain", config}, {}, {.addressSpace = limit});
    if (r.status == 0) {
      ++explained;
      EXPECT_EQ(json::parse(r.out)["configuration"].size(), 10001u) << limit;
      continue;
    }
    ++ended;
    EXPECT_EQ(r.status, 1) << limit;
    EXPECT_EQ(r.out + r.err, "grantwright: out of memory\n") << limit;
  }
  EXPECT_GT(ended, 0);
  EXPECT_GT(explained, 0);
}

// Files and folders of modes with each bit set and clear, owners and groups with and without
// a name, lists with named entries and default lists, under names with blanks, %, +,
// non-ASCII text, markup, a line end and bytes that are no UTF-8: captured, scrambled,
// restored by the helper (owner branch, then -a where the item has a list: a configuration
// without one has nothing for -a), and compared.
TEST(RoundTrip, ModesOwnersGroupsListsAndNamesComeBack) {
  GRANTWRIGHT_REQUIRE_ROOT();
  TempDir dir;
  const uid_t owners[] = {0, 1, 65534, 4242};  // 4242 and 4343 have no account or group
  const gid_t groups[] = {0, 1, 65534, 4343};
  const std::vector<std::string> lists[] = {{}, {"-m", "u:daemon:r-x"}, {"-m", "g:nogroup:rw-,u:nobody:--x"},
                                            // a default list: folders only
                                            {"-m", "g:daemon:r--", "-d", "-m", "u:nobody:rwx,g:daemon:r-x"}};
  const char* names[] = {"notes v2.txt", "100% + more", "Grüße 日本", "line\nbreak", "&lt;<tag>\"'",
                         "bytes \x80\xFE\xFF\xC3 no UTF-8"};
  std::vector<std::string> items;
  std::vector<std::vector<std::string>> capture, restore, restoreList;
  // Each item's name, numeric owner, group and mode, then its whole list.
  const auto state = [&] {
    return RunWith({"/usr/bin/stat", "-c", "%n %u %g %a"}, items).out +
           RunWith({"/usr/bin/getfacl", "-n", "-p"}, items).out;
  };
  for (uint32_t mode = 0; mode < 4096; mode += kModeStep) {
    const std::string name = names[(mode / kModeStep / 2) % 6] + std::string("-") + std::to_string(mode);
    const std::string item = dir / name;
    const bool folder = mode % 2 == 1;
    ASSERT_TRUE(folder ? ::mkdir(item.c_str(), 0700) == 0 : !dir.Write(name, "x").empty());
    ASSERT_EQ(::chown(item.c_str(), owners[(mode / kModeStep) % 4], groups[(mode / 7) % 4]), 0);
    const std::string config = dir / ("config-" + std::to_string(mode) + ".xml");
    capture.push_back({CommandPath(), "capture", item, "-o", config});
    restore.push_back({HelperPath(), "-f", config});
    std::vector<std::string> list = lists[(mode / 5) % 4];
    if (!list.empty() && (folder || list.size() == 2)) {
      list.push_back(item);
      Setfacl(list);
      restoreList.push_back({HelperPath(), "-a", "-f", config});
    }
    ASSERT_EQ(::chmod(item.c_str(), mode), 0);
    items.push_back(item);
  }

  const std::string before = state();
  for (const ProcessResult& r : RunAll(capture)) ASSERT_EQ(r.status, 0) << r.err;
  ASSERT_EQ(RunWith({"/usr/bin/setfacl", "-b", "-k"}, items).status, 0);
  ASSERT_EQ(RunWith({"/usr/bin/chown", "65534:65534"}, items).status, 0);
  ASSERT_EQ(RunWith({"/usr/bin/chmod", "00602"}, items).status, 0);
  // Success writes nothing: the helper's own tests (tests/tool) look at that.
  for (const auto& step : {restore, restoreList}) {
    for (const ProcessResult& r : RunAll(step)) ASSERT_EQ(r.status, 0) << r.out << r.err;
  }
  EXPECT_EQ(state(), before);
}

}  // namespace
}  // namespace grantwright::testing
