#include "refhost/appservices.h"

#include "hostapi/iqordoc.h"
#include "hostapi/iqormodeldata.h"
#include "refhost/componentmanager.h"
#include "refhost/document.h"

namespace refhost {

namespace {
template <class Iface, class Self>
void answerOne(Self* self, const char* iface, const char* name, void** out) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, iface) || qorNameIs(name, self->className()))
    *out = static_cast<Iface*>(self);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(self);
}

void record(const std::string& line) {
  callLog().add(line);
}
}  // namespace

void RefOldMacroSupport::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorPlatformOldMacroSupport>(this, "IQorPlatformOldMacroSupport", name, out);
}

void RefOldMacroSupport::createReport() {
  record("macro.createReport");
}

void RefOldMacroSupport::compareFeatures(int32_t viewType, int32_t maxPerView, int32_t places) {
  record("macro.compareFeatures " + std::to_string(viewType) + " " + std::to_string(maxPerView) +
         " " + std::to_string(places));
}

void RefUnitService::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IUnitService>(this, "IUnitService", name, out);
}

int32_t RefUnitService::displayUnits() {
  record("units.displayUnits " + std::to_string(units_));
  return units_;
}

void RefGfxObject::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IGfxObject>(this, "IGfxObject", name, out);
}

void RefGfxObject::update(void* arg) {
  ++updates;
  record("gfx" + std::to_string(id_) + ".update" + (arg ? " arg" : " null"));
}

void RefGfxObject::rebuild() {
  ++rebuilds;
  record("gfx" + std::to_string(id_) + ".rebuild");
}

void RefGfxDoc::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IGfxDoc>(this, "IGfxDoc", name, out);
}

IGfxObject* RefGfxDoc::gfxObject(IQorObject* object) {
  if (!object) return nullptr;
  int32_t id = object->id();
  IPtr<RefGfxObject>& g = objects_[id];
  if (!g) g = new RefGfxObject(id);
  return g.get();
}

RefGfxObject* RefGfxDoc::find(int32_t objectId) {
  auto it = objects_.find(objectId);
  return it == objects_.end() ? nullptr : it->second.get();
}

void RefGfxRenderer::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IGfxRenderer>(this, "IGfxRenderer", name, out);
}

void RefGfxRenderer::render(uint8_t immediate) {
  record("renderer.render " + std::to_string(immediate));
}

void RefGfxRenderer::beginModalMessage() {
  record("renderer.beginModalMessage");
}

void RefGfxRenderer::endModalMessage() {
  record("renderer.endModalMessage");
}

void RefEventService::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IEventService>(this, "IEventService", name, out);
}

void RefEventService::processEvents() {
  record("events.processEvents");
}

void RefUpdateGui::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IUpdateGui>(this, "IUpdateGui", name, out);
  if (out && name && qorNameIs(name, "IUpdateGuiV2")) *out = static_cast<IUpdateGuiV2*>(this);
}

void RefUpdateGui::update(int32_t what) {
  record("gui.update " + std::to_string(what));
}

void RefCorrespondence::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorCorrespondence>(this, "IQorCorrespondence", name, out);
  if (out && name && qorNameIs(name, "Correspondence"))
    *out = static_cast<IQorCorrespondence*>(this);
}

void RefCorrespondence::setUp(IQorUnknown* testData, IQorMesh* referenceMesh,
                              IQorSetCorrespondence* correspondence) {
  auto* sub = dynamic_cast<RefSubObject*>(correspondence);
  record(std::string("correspondence.setUp ") + (testData ? testData->className() : "null") + " " +
         (referenceMesh ? referenceMesh->className() : "null") + " " +
         (sub ? sub->nameUtf8() : std::string(correspondence ? "?" : "null")));
}

RefUnitService& unitService() {
  return immortal<RefUnitService>();
}

RefGfxDoc& gfxDoc() {
  return immortal<RefGfxDoc>();
}

void registerAppServices(RefComponentManager& m) {
  m.registerService("IQorPlatformOldMacroSupport",
                    static_cast<IQorPlatformOldMacroSupport*>(new RefOldMacroSupport()));
  m.registerService("IUnitService", static_cast<IUnitService*>(&unitService()));
  m.registerService("IGfxDoc", static_cast<IGfxDoc*>(&gfxDoc()));
  m.registerService("IGfxRenderer", static_cast<IGfxRenderer*>(new RefGfxRenderer()));
  m.registerService("IEventService", static_cast<IEventService*>(new RefEventService()));
  m.registerService("IUpdateGui", static_cast<IUpdateGui*>(new RefUpdateGui()));
  m.registerService("IQorCorrespondence",
                    static_cast<IQorCorrespondence*>(new RefCorrespondence()));
}

}  // namespace refhost
