// Host services that only the application facade uses. Slot order as declared.
#pragma once
#include <cstdint>

#include "base/qorstring.h"
#include "core/qorobject.h"

class IQorObject;
class IQorMesh;

class IQorLodexFileSupport : public virtual IQorUnknown {
 public:
  virtual uint8_t openFile(const QorString& filename) = 0;    // 0
  virtual uint8_t saveFile() = 0;                             // 1
  virtual uint8_t importFile(const QorString& filename) = 0;  // 2
  virtual uint8_t newFile() = 0;                              // 3
  virtual uint8_t saveFileAs(const QorString& filename) = 0;  // 4
};

class IQorPlatformOldMacroSupport : public virtual IQorUnknown {
 public:
  virtual void createReport() = 0;                                                         // 0
  virtual void compareFeatures(int32_t viewType, int32_t maxPerView, int32_t places) = 0;  // 1
};

class IUnitService : public virtual IQorUnknown {
 public:
  // 0: the display units; 7 means not set.
  virtual int32_t displayUnits() = 0;
};

// A graphics object of the host's display.
class IGfxObject : public virtual IQorUnknown {
 public:
  virtual void update(void* arg) = 0;  // 0
  virtual void rebuild() = 0;          // 1
};

class IGfxDoc : public virtual IQorUnknown {
 public:
  virtual IGfxObject* gfxObject(IQorObject* object) = 0;  // 0
};

class IGfxRenderer : public virtual IQorUnknown {
 public:
  virtual void render(uint8_t immediate) = 0;  // 0
  virtual void reserved1() = 0;                // 1 to 6: the host's, not called here
  virtual void reserved2() = 0;
  virtual void reserved3() = 0;
  virtual void reserved4() = 0;
  virtual void reserved5() = 0;
  virtual void reserved6() = 0;
  // Bracket a modal message to the user that interrupts drawing.
  virtual void beginModalMessage() = 0;  // 7
  virtual void endModalMessage() = 0;    // 8
};

class IEventService : public virtual IQorUnknown {
 public:
  virtual void processEvents() = 0;  // 0
};

class IUpdateGui : public virtual IQorUnknown {};

class IUpdateGuiV2 : public virtual IQorUnknown {
 public:
  virtual void reserved0() = 0;           // 0
  virtual void update(int32_t what) = 0;  // 1
};

// A sub-object of a host object that holds a correspondence, found by name.
class IQorSetCorrespondence : public virtual IQorUnknown {};

class IQorCorrespondence : public virtual IQorUnknown {
 public:
  virtual void setUp(IQorUnknown* testData, IQorMesh* referenceMesh,
                     IQorSetCorrespondence* correspondence) = 0;  // 0
};
