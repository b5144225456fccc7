// Application-level services of the reference host. Each writes what it receives to the
// call log (document.h), so that tests read the order of calls across services.
#pragma once
#include <map>

#include "core/iptr.h"
#include "hostapi/iqorappservices.h"

namespace refhost {

class RefComponentManager;

class RefOldMacroSupport : public IQorPlatformOldMacroSupport {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefOldMacroSupport"; }
  void createReport() override;
  void compareFeatures(int32_t viewType, int32_t maxPerView, int32_t places) override;
};

// Answers the units it is set to; 7 (not set) at start.
class RefUnitService : public IUnitService {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefUnitService"; }
  int32_t displayUnits() override;
  void setAnswer(int32_t units) { units_ = units; }

 private:
  int32_t units_ = 7;
};

// A graphics object of one host object, counting its updates and rebuilds.
class RefGfxObject : public IGfxObject {
 public:
  explicit RefGfxObject(int32_t objectId) : id_(objectId) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefGfxObject"; }
  void update(void* arg) override;
  void rebuild() override;
  int32_t updates = 0;
  int32_t rebuilds = 0;

 private:
  int32_t id_;
};

// One graphics object per host object id; null for a null object.
class RefGfxDoc : public IGfxDoc {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefGfxDoc"; }
  IGfxObject* gfxObject(IQorObject* object) override;
  RefGfxObject* find(int32_t objectId);

 private:
  std::map<int32_t, IPtr<RefGfxObject>> objects_;
};

class RefGfxRenderer : public IGfxRenderer {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefGfxRenderer"; }
  void render(uint8_t immediate) override;
  void reserved1() override {}
  void reserved2() override {}
  void reserved3() override {}
  void reserved4() override {}
  void reserved5() override {}
  void reserved6() override {}
  // Recorded as "renderer.beginModalMessage" and "renderer.endModalMessage".
  void beginModalMessage() override;
  void endModalMessage() override;
};

class RefEventService : public IEventService {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefEventService"; }
  void processEvents() override;
};

// "IUpdateGui", queried for "IUpdateGuiV2".
class RefUpdateGui : public IUpdateGui, public IUpdateGuiV2 {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefUpdateGui"; }
  void reserved0() override {}
  void update(int32_t what) override;
};

// Answers "Correspondence"; setUp logs the classes of what it gets and the name of the
// correspondence sub-object.
class RefCorrespondence : public IQorCorrespondence {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefCorrespondence"; }
  void setUp(IQorUnknown* testData, IQorMesh* referenceMesh,
             IQorSetCorrespondence* correspondence) override;
};

RefUnitService& unitService();
RefGfxDoc& gfxDoc();
// Registers "IQorPlatformOldMacroSupport", "IUnitService", "IGfxDoc", "IGfxRenderer",
// "IEventService", "IUpdateGui" and "IQorCorrespondence".
void registerAppServices(RefComponentManager& manager);

}  // namespace refhost
