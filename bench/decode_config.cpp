// Decoding a 1 MB typed configuration, against a bare pugixml parse of the same bytes, for
// two shapes of document: one dense with small values of every type, and one holding the
// permission record's keys whose bulk is a long access control list (the one value of a
// record that can grow). The figures that matter are BM_DecodeConfig / BM_BarePugixmlParse
// for each. The others bound them from below. For the dense document: BM_ParseAndVisit
// parses and reads, with pugixml alone, what a decoder must read of every element, and
// BM_BuildValuesOnly makes the same Dictionaries, arrays and values with no XML at all; a
// decoder over the parsed tree can be no faster than the first, nor than the parse plus the
// second. For the other: BM_UrlDecodeAclText percent-decodes the list's text alone.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Date.h"
#include "platform/Dictionary.h"
#include "platform/String.h"
#include "platform/UrlCoding.h"
#include "xml/XMLExtension.h"

namespace {

// Every benchmark here runs on a heap that keeps its pages. Left to itself, glibc hands the
// top of the heap back to the kernel whenever a round frees it, which the bare parse does
// and the decoder (whose frees interleave) does not: the parse then spends half its time in
// page faults for memory it had a moment ago, and the ratio flatters the decoder.
const bool kSteadyHeap = [] {
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  return true;
}();

// About 1 MB: records of every scalar type, URL-encoded paths and small arrays, as a
// parent application writes them.
const std::string& DenseConfig() {
  static const std::string text = [] {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n";
    for (int i = 0; out.size() < 1000000; ++i) {
      const std::string n = std::to_string(i);
      out += "  <Item" + n + " datatype=\"Dictionary\">\n"
             "    <UnixFilePath datatype=\"String\">%2FUsers%2Fshared%2FProjects%2Fitem" + n +
             "%20final%20version.txt</UnixFilePath>\n"
             "    <Owner datatype=\"String\">user" + n + "</Owner>\n"
             "    <Group datatype=\"String\">staff</Group>\n"
             "    <PermsOwner datatype=\"Array\"><array_0 datatype=\"String\">read</array_0>"
             "<array_1 datatype=\"String\">write</array_1><array_2 datatype=\"String\">execute</array_2></PermsOwner>\n"
             "    <PermsGroup datatype=\"Array\"><array_0 datatype=\"String\">read</array_0></PermsGroup>\n"
             "    <Size datatype=\"Integer\">" + std::to_string(i * 37) + "</Size>\n"
             "    <Ratio datatype=\"Double\">0." + n + "</Ratio>\n"
             "    <Locked datatype=\"Boolean\">false</Locked>\n"
             "    <Modified datatype=\"GMTTimeStampZRN\">2018-06-01T09:05:07</Modified>\n"
             "    <Tint datatype=\"Color\">" + n + "</Tint>\n"
             "    <Comment>plain text without a datatype</Comment>\n"
             "  </Item" + n + ">\n";
    }
    return out + "</config>\n";
  }();
  return text;
}

// About 1 MB: a permission record whose access control list names some 40,000 users and
// groups, URL-encoded as its writer stores it, line ends and all.
const std::string& AclConfig() {
  static const std::string text = [] {
    std::string acl = "user::rw-\ngroup::r--\n";
    for (int i = 0; acl.size() < 760000; ++i) {
      const std::string n = std::to_string(i);
      acl += "user:user" + n + ":rw-\ngroup:team" + n + ":r-x\n";
    }
    acl += "mask::rwx\nother::---\n";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n"
           "  <Owner datatype=\"String\">root</Owner>\n"
           "  <Group datatype=\"String\">staff</Group>\n"
           "  <UnixFilePath datatype=\"String\">%2Fsrv%2Fshared%2Fprojects</UnixFilePath>\n"
           "  <RawACLRights datatype=\"String\">" +
           grantwright::EncodingToURL(grantwright::String(acl)).Bytes() +
           "</RawACLRights>\n"
           "  <PermsOwner datatype=\"Array\"><array_0 datatype=\"String\">read</array_0></PermsOwner>\n"
           "</config>\n";
  }();
  return text;
}

using Document = const std::string& (*)();

void BM_BarePugixmlParse(benchmark::State& state, Document document) {
  const std::string& text = document();
  for (auto _ : state) {
    pugi::xml_document doc;
    benchmark::DoNotOptimize(doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK_CAPTURE(BM_BarePugixmlParse, dense, DenseConfig)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BarePugixmlParse, acl, AclConfig)->Unit(benchmark::kMillisecond);

// The parse and a visit of every element that reads what the decoder reads (its name, its
// datatype attribute and its first child's text), with pugixml itself and nothing built:
// the part of a decode no value type can make cheaper.
size_t Visit(const pugi::xml_node& node) {
  size_t sum = 0;
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
    sum += std::char_traits<char>::length(child.name()) +
           std::char_traits<char>::length(child.attribute("datatype").value()) +
           std::char_traits<char>::length(child.first_child().value()) + Visit(child);
  }
  return sum;
}

void BM_ParseAndVisit(benchmark::State& state) {
  const std::string& text = DenseConfig();
  for (auto _ : state) {
    pugi::xml_document doc;
    doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    benchmark::DoNotOptimize(Visit(doc));
  }
}
BENCHMARK(BM_ParseAndVisit)->Unit(benchmark::kMillisecond);

void BM_DecodeConfig(benchmark::State& state, Document document) {
  const grantwright::String text(document());
  for (auto _ : state) {
    benchmark::DoNotOptimize(grantwright::XMLExtension::AsDictionaryFromXMLStringZRN(text));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.LenB()));
}
BENCHMARK_CAPTURE(BM_DecodeConfig, dense, DenseConfig)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_DecodeConfig, acl, AclConfig)->Unit(benchmark::kMillisecond);

// The part of the second document's decode that is neither parse nor check: percent-decoding
// the access control list's text, escapes every few bytes.
void BM_UrlDecodeAclText(benchmark::State& state) {
  const std::string& text = AclConfig();
  const size_t start = text.find('>', text.find("<RawACLRights")) + 1;
  const std::string_view encoded(text.data() + start, text.find('<', start) - start);
  for (auto _ : state) benchmark::DoNotOptimize(grantwright::DecodedURLBytes(encoded));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * encoded.size()));
}
BENCHMARK(BM_UrlDecodeAclText)->Unit(benchmark::kMillisecond);

void BM_BuildValuesOnly(benchmark::State& state) {
  using namespace grantwright;
  using namespace std::string_view_literals;
  // The texts each record's values are made from, ready before timing starts: the loop
  // makes only what a decoder must make, each String from bytes that already exist.
  struct Texts {
    std::string key, path, owner;
  };
  std::vector<Texts> items;
  for (size_t at = DenseConfig().find(" datatype=\"Dictionary\""); at != std::string::npos;
       at = DenseConfig().find(" datatype=\"Dictionary\"", at + 1)) {
    const std::string n = std::to_string(items.size());
    items.push_back({"Item" + n, "/Users/shared/Projects/item" + n + " final version.txt", "user" + n});
  }
  for (auto _ : state) {
    auto root = std::make_shared<Dictionary>();
    root->Reserve(items.size());
    for (size_t i = 0; i < items.size(); ++i) {
      auto d = std::make_shared<Dictionary>();
      d->Reserve(11);
      d->SetValue(String("UnixFilePath"sv), String(items[i].path));
      d->SetValue(String("Owner"sv), String(items[i].owner));
      d->SetValue(String("Group"sv), String("staff"sv));
      d->SetValue(String("PermsOwner"sv), NewArray<Variant>({String("read"sv), String("write"sv), String("execute"sv)}));
      d->SetValue(String("PermsGroup"sv), NewArray<Variant>({String("read"sv)}));
      d->SetValue(String("Size"sv), static_cast<int64_t>(i * 37));
      d->SetValue(String("Ratio"sv), 0.5);
      d->SetValue(String("Locked"sv), false);
      d->SetValue(String("Modified"sv), std::make_shared<Date>(2018, 6, 1, 9, 5, 7, 0.0));
      d->SetValue(String("Tint"sv), Color{static_cast<uint32_t>(i)});
      root->SetValue(String(items[i].key), d);
    }
    benchmark::DoNotOptimize(root);
  }
}
BENCHMARK(BM_BuildValuesOnly)->Unit(benchmark::kMillisecond);

}  // namespace
