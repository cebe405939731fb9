// Memory that runs out inside the XML layer: pugixml reports it as a parse status or a
// node it did not make, and either must end as std::bad_alloc, never as text that is no
// XML or a document with a part missing. pugixml's allocator is the seam: it fails the
// n-th allocation, for every n until the work needs no more.

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <cstdlib>
#include <functional>
#include <new>

#include "support/TestSupport.h"
#include "xml/XMLExtension.h"

namespace grantwright::testing {
namespace {

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
  const auto decode = [&] { return Describe(XMLExtension::AsDictionaryFromXMLStringZRN(String(xml))); };
  const std::string decoded = decode();
  ASSERT_NE(decoded.find("K1999=i1999"), std::string::npos);
  EachAllocationFails(decode, decoded);

  const DictionaryRef dict = XMLExtension::AsDictionaryFromXMLStringZRN(String(xml));
  const auto write = [&] { return XMLExtension::AsXMLStringFromDictionaryZRN(dict, "config").Bytes(); };
  EachAllocationFails(write, write());
}

}  // namespace
}  // namespace grantwright::testing
