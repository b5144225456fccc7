// QorPersistentRef: the part of a stored object that gives it a number in the file, so that
// other stored objects can point at it. A data object writes it as a small object chunk of
// its own holding the number; reading it registers the object under that number, which
// resolves every reference waiting for it.
#pragma once
#include <cstdint>

#include "hostapi/iqorpersistentrefmap.h"
#include "persistence/iqorwriteable.h"

class QorPersistentRef : public virtual IQorPersistentRef, public virtual IQorWriteable {
 public:
  QorPersistentRef() = default;
  // Takes the source's isWriteable.
  QorPersistentRef(const QorPersistentRef& other);
  QorPersistentRef& operator=(const QorPersistentRef&) = delete;

  // Answers "QorPersistentRef", "IQorPersistentRef", "IQorWriteable" and "IQorUnknown".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "QorPersistentRef"; }

  // IQorPersistentRef: no bare-stream form here; both answer false.
  bool read(BinInput& in) override;
  bool write(BinOutput& out) override;

  // IQorWriteable.
  // The all-zero id.
  QorID classId() override;
  // An object chunk of version 0 holding the object's number as a bare unsigned 32-bit
  // value (0 without the numbering service), then marks the number written.
  bool write(IQorDataModelWriter* writer) override;
  // Reads the number of a version-0 chunk and registers this object under it. A missing
  // chunk answers true; another version answers false and reads nothing.
  bool read(IQorDataModelReader* reader) override;
  void setWriteable(bool writeable) override { writeable_ = writeable; }
  bool isWriteable() override { return writeable_; }

  // The reference part's own query answers, for classes that derive from it.
  bool queryPersistentRef(const char* name, void** out);

 private:
  bool writeable_ = true;
};

namespace qor {
// The numbering service and the write queue of the current file, or null without a host.
IQorPersistentRefMap* persistentRefMap();
}  // namespace qor
