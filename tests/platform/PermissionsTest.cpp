#include "platform/Permissions.h"

#include <gtest/gtest.h>

namespace grantwright {
namespace {

TEST(Permissions, EachPropertyIsItsOwnBit) {
  const struct {
    bool (Permissions::*get)() const;
    void (Permissions::*set)(bool);
    uint32_t bit;
  } bits[] = {
      {&Permissions::OwnerRead, &Permissions::SetOwnerRead, 0400},
      {&Permissions::OwnerWrite, &Permissions::SetOwnerWrite, 0200},
      {&Permissions::OwnerExecute, &Permissions::SetOwnerExecute, 0100},
      {&Permissions::GroupRead, &Permissions::SetGroupRead, 040},
      {&Permissions::GroupWrite, &Permissions::SetGroupWrite, 020},
      {&Permissions::GroupExecute, &Permissions::SetGroupExecute, 010},
      {&Permissions::OthersRead, &Permissions::SetOthersRead, 04},
      {&Permissions::OthersWrite, &Permissions::SetOthersWrite, 02},
      {&Permissions::OthersExecute, &Permissions::SetOthersExecute, 01},
      {&Permissions::UidBit, &Permissions::SetUidBit, 04000},
      {&Permissions::GidBit, &Permissions::SetGidBit, 02000},
      {&Permissions::StickyBit, &Permissions::SetStickyBit, 01000},
  };
  EXPECT_EQ(Permissions(0170755).Mode(), 0755u);  // the file type is no permission
  for (const auto& b : bits) {
    SCOPED_TRACE(b.bit);
    Permissions p(0);
    (p.*b.set)(true);
    EXPECT_EQ(p.Mode(), b.bit);
    EXPECT_TRUE((p.*b.get)());
    Permissions all(07777);
    EXPECT_TRUE((all.*b.get)());
    (all.*b.set)(false);
    EXPECT_EQ(all.Mode(), 07777u & ~b.bit);
    EXPECT_FALSE((all.*b.get)());
  }
}

}  // namespace
}  // namespace grantwright
