// Decoding a 1 MB typed configuration, against a bare pugixml parse of the same bytes.
// The figure that matters is BM_DecodeConfig / BM_BarePugixmlParse.

#include <benchmark/benchmark.h>

#include <pugixml.hpp>
#include <string>

#include "platform/String.h"
#include "xml/XMLExtension.h"

namespace {

// About 1 MB: records of every scalar type, URL-encoded paths and small arrays, as a
// parent application writes them.
const std::string& Config() {
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

void BM_BarePugixmlParse(benchmark::State& state) {
  const std::string& text = Config();
  for (auto _ : state) {
    pugi::xml_document doc;
    benchmark::DoNotOptimize(doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_BarePugixmlParse)->Unit(benchmark::kMillisecond);

void BM_DecodeConfig(benchmark::State& state) {
  const grantwright::String text(Config());
  for (auto _ : state) {
    benchmark::DoNotOptimize(grantwright::XMLExtension::AsDictionaryFromXMLStringZRN(text));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.LenB()));
}
BENCHMARK(BM_DecodeConfig)->Unit(benchmark::kMillisecond);

}  // namespace
