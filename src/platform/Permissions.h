#pragma once
// Permissions: the twelve POSIX mode bits of a file, each readable and settable on its own:
// read, write and execute for owner, group and others, and the set-user-id, set-group-id
// and sticky bits. Bits outside these twelve (the file type) are never held.

#include <cstdint>
#include <memory>

#include "platform/Object.h"

namespace grantwright {

class Permissions : public Object {
 public:
  // The bits of `mode` that are among the twelve; 0 gives all clear.
  explicit Permissions(uint32_t mode = 0) : mode_(mode & kAllBits) {}
  const char* ClassName() const override { return "Permissions"; }

  // The twelve bits as a mode number (0 to 07777).
  uint32_t Mode() const { return mode_; }

  bool OwnerRead() const { return Has(kOwnerRead); }
  bool OwnerWrite() const { return Has(kOwnerWrite); }
  bool OwnerExecute() const { return Has(kOwnerExecute); }
  bool GroupRead() const { return Has(kGroupRead); }
  bool GroupWrite() const { return Has(kGroupWrite); }
  bool GroupExecute() const { return Has(kGroupExecute); }
  bool OthersRead() const { return Has(kOthersRead); }
  bool OthersWrite() const { return Has(kOthersWrite); }
  bool OthersExecute() const { return Has(kOthersExecute); }
  bool UidBit() const { return Has(kUid); }
  bool GidBit() const { return Has(kGid); }
  bool StickyBit() const { return Has(kSticky); }

  void SetOwnerRead(bool on) { Put(kOwnerRead, on); }
  void SetOwnerWrite(bool on) { Put(kOwnerWrite, on); }
  void SetOwnerExecute(bool on) { Put(kOwnerExecute, on); }
  void SetGroupRead(bool on) { Put(kGroupRead, on); }
  void SetGroupWrite(bool on) { Put(kGroupWrite, on); }
  void SetGroupExecute(bool on) { Put(kGroupExecute, on); }
  void SetOthersRead(bool on) { Put(kOthersRead, on); }
  void SetOthersWrite(bool on) { Put(kOthersWrite, on); }
  void SetOthersExecute(bool on) { Put(kOthersExecute, on); }
  void SetUidBit(bool on) { Put(kUid, on); }
  void SetGidBit(bool on) { Put(kGid, on); }
  void SetStickyBit(bool on) { Put(kSticky, on); }

 private:
  // The POSIX values, spelled out so this header needs no system header.
  static constexpr uint32_t kUid = 04000, kGid = 02000, kSticky = 01000;
  static constexpr uint32_t kOwnerRead = 0400, kOwnerWrite = 0200, kOwnerExecute = 0100;
  static constexpr uint32_t kGroupRead = 040, kGroupWrite = 020, kGroupExecute = 010;
  static constexpr uint32_t kOthersRead = 04, kOthersWrite = 02, kOthersExecute = 01;
  static constexpr uint32_t kAllBits = 07777;

  bool Has(uint32_t bit) const { return (mode_ & bit) != 0; }
  void Put(uint32_t bit, bool on) { mode_ = on ? (mode_ | bit) : (mode_ & ~bit); }

  uint32_t mode_;
};

using PermissionsRef = std::shared_ptr<Permissions>;

}  // namespace grantwright
