// Decoding a 1 MB typed configuration, against libplist reading the same values written as
// an XML property list: a reader of a typed XML format that other programs use. Two shapes
// of document: one dense with small values of every type, and one holding the permission
// record's keys whose bulk is a long access control list (the one value of a record that
// can grow). The figure is BM_DecodeConfig / BM_LibplistFromXml for each. A real
// configuration is a few hundred bytes; these show how the decoder scales.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <plist/plist.h>

#include <string>

#include "platform/String.h"
#include "platform/UrlCoding.h"
#include "xml/XMLExtension.h"

namespace {

// Every benchmark here runs on a heap that keeps its pages. Left to itself, glibc hands the
// top of the heap back to the kernel whenever a round frees it, and a reader whose frees
// come all at the end then spends much of its time in page faults for memory it had a
// moment ago: the figure would compare heap trimming, not reading.
const bool kSteadyHeap = [] {
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  return true;
}();

// One document in both forms.
struct Document {
  std::string typed;
  std::string plist;
};

constexpr const char* kPlistHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
constexpr const char* kPlistTail = "</dict>\n</plist>\n";

// About 1 MB as a typed configuration: records of every scalar type, URL-encoded paths and
// small arrays, as a parent application writes them.
const Document& Dense() {
  static const Document document = [] {
    Document d{"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n", kPlistHead};
    for (int i = 0; d.typed.size() < 1000000; ++i) {
      const std::string n = std::to_string(i);
      const std::string size = std::to_string(i * 37);
      d.typed += "  <Item" + n + " datatype=\"Dictionary\">\n"
                 "    <UnixFilePath datatype=\"String\">%2FUsers%2Fshared%2FProjects%2Fitem" + n +
                 "%20final%20version.txt</UnixFilePath>\n"
                 "    <Owner datatype=\"String\">user" + n + "</Owner>\n"
                 "    <Group datatype=\"String\">staff</Group>\n"
                 "    <PermsOwner datatype=\"Array\"><array_0 datatype=\"String\">read</array_0>"
                 "<array_1 datatype=\"String\">write</array_1><array_2 datatype=\"String\">execute</array_2></PermsOwner>\n"
                 "    <PermsGroup datatype=\"Array\"><array_0 datatype=\"String\">read</array_0></PermsGroup>\n"
                 "    <Size datatype=\"Integer\">" + size + "</Size>\n"
                 "    <Ratio datatype=\"Double\">0." + n + "</Ratio>\n"
                 "    <Locked datatype=\"Boolean\">false</Locked>\n"
                 "    <Modified datatype=\"GMTTimeStampZRN\">2018-06-01T09:05:07</Modified>\n"
                 "    <Tint datatype=\"Color\">" + n + "</Tint>\n"
                 "    <Comment>plain text without a datatype</Comment>\n"
                 "  </Item" + n + ">\n";
      d.plist += "<key>Item" + n + "</key>\n<dict>\n"
                 "  <key>UnixFilePath</key><string>/Users/shared/Projects/item" + n + " final version.txt</string>\n"
                 "  <key>Owner</key><string>user" + n + "</string>\n"
                 "  <key>Group</key><string>staff</string>\n"
                 "  <key>PermsOwner</key><array><string>read</string><string>write</string><string>execute</string></array>\n"
                 "  <key>PermsGroup</key><array><string>read</string></array>\n"
                 "  <key>Size</key><integer>" + size + "</integer>\n"
                 "  <key>Ratio</key><real>0." + n + "</real>\n"
                 "  <key>Locked</key><false/>\n"
                 "  <key>Modified</key><date>2018-06-01T09:05:07Z</date>\n"
                 "  <key>Tint</key><integer>" + n + "</integer>\n"
                 "  <key>Comment</key><string>plain text without a datatype</string>\n"
                 "</dict>\n";
    }
    d.typed += "</config>\n";
    d.plist += kPlistTail;
    return d;
  }();
  return document;
}

// About 1 MB as a typed configuration: a permission record whose access control list names
// some 40,000 users and groups, URL-encoded as its writer stores it, line ends and all.
const Document& Acl() {
  static const Document document = [] {
    std::string acl = "user::rw-\ngroup::r--\n";
    for (int i = 0; acl.size() < 760000; ++i) {
      const std::string n = std::to_string(i);
      acl += "user:user" + n + ":rw-\ngroup:team" + n + ":r-x\n";
    }
    acl += "mask::rwx\nother::---\n";
    Document d;
    d.typed = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n"
              "  <Owner datatype=\"String\">root</Owner>\n"
              "  <Group datatype=\"String\">staff</Group>\n"
              "  <UnixFilePath datatype=\"String\">%2Fsrv%2Fshared%2Fprojects</UnixFilePath>\n"
              "  <RawACLRights datatype=\"String\">" +
              grantwright::EncodingToURL(grantwright::String(acl)).Bytes() +
              "</RawACLRights>\n"
              "  <PermsOwner datatype=\"Array\"><array_0 datatype=\"String\">read</array_0></PermsOwner>\n"
              "</config>\n";
    d.plist = std::string(kPlistHead) +
              "<key>Owner</key><string>root</string>\n"
              "<key>Group</key><string>staff</string>\n"
              "<key>UnixFilePath</key><string>/srv/shared/projects</string>\n"
              "<key>RawACLRights</key><string>" + acl + "</string>\n"
              "<key>PermsOwner</key><array><string>read</string></array>\n" + kPlistTail;
    return d;
  }();
  return document;
}

using Shape = const Document& (*)();

void BM_DecodeConfig(benchmark::State& state, Shape shape) {
  const grantwright::String text(shape().typed);
  for (auto _ : state) {
    benchmark::DoNotOptimize(grantwright::XMLExtension::AsDictionaryFromXMLStringZRN(text));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.LenB()));
}
BENCHMARK_CAPTURE(BM_DecodeConfig, dense, Dense)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_DecodeConfig, acl, Acl)->Unit(benchmark::kMillisecond);

void BM_LibplistFromXml(benchmark::State& state, Shape shape) {
  const std::string& text = shape().plist;
  for (auto _ : state) {
    plist_t plist = nullptr;
    plist_from_xml(text.data(), static_cast<uint32_t>(text.size()), &plist);
    if (plist == nullptr) {
      state.SkipWithError("libplist did not read the document");
      break;
    }
    plist_free(plist);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK_CAPTURE(BM_LibplistFromXml, dense, Dense)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LibplistFromXml, acl, Acl)->Unit(benchmark::kMillisecond);

}  // namespace
