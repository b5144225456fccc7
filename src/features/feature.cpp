#include "features/feature.h"

#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <map>
#include <string>
#include <utility>

#include "core/listing.h"
#include "core/translate.h"
#include "datamodel/property.h"
#include "features/parametermirror.h"
#include "hostapi/iqorappproxymanager.h"
#include "hostapi/iqorcurves.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqorlog3.h"
#include "hostapi/iqorpersistable.h"
#include "hostapi/iqorswept.h"
#include "persistence/iqordatamodel.h"
#include "persistence/qorfile.h"

namespace features {

// What a shell keeps for the text form of its parameters: itself, its host and the host's
// outputter, fetched by name. Made anew for every host.
struct ParameterOutput {
  DataObject* shell;
  ::IQorFeature* host;
  void* outputter;  // the host's service view, borrowed; null without the service
};

namespace {

struct ShellClass {
  const char* interfaceName;
  const char* typeString;
  QorID classId;
};

constexpr size_t kShellCount = 20;

// Every shell class by host interface name: script type name and class id. Made on first
// use: shells register from static initializers of other files.
const std::array<ShellClass, kShellCount>& shellClasses() {
  static const std::array<ShellClass, kShellCount> classes = {{
      {"IQorArc",
       "qorapi.features.ArcCurve",
       {0x3D24477C, 0xD040, 0x4DBE, {0xB7, 0x8A, 0x61, 0x66, 0xB1, 0x33, 0x94, 0x01}}},
      {"IQorLine",
       "qorapi.features.LineFeature",
       {0xD9D86BCC, 0x6402, 0x45BE, {0x95, 0x94, 0x4C, 0xD9, 0x8F, 0x2D, 0xEE, 0xE5}}},
      {"IQorPlane",
       "qorapi.features.PlaneFeature",
       {0x7621242B, 0x6460, 0x46B1, {0x8D, 0x9D, 0x82, 0x4E, 0x34, 0xE7, 0x32, 0x69}}},
      {"IQorCylinder",
       "qorapi.features.CylinderFeature",
       {0xF62435EF, 0x8C93, 0x47A7, {0xAE, 0x5F, 0xCD, 0xA7, 0xDD, 0xE9, 0x60, 0xC9}}},
      {"IQorCone",
       "qorapi.features.ConeFeature",
       {0x31DA9241, 0xC027, 0x4C26, {0x81, 0xEE, 0x76, 0xE8, 0xC6, 0x58, 0xC1, 0x30}}},
      {"IQorSphere",
       "qorapi.features.SphereFeature",
       {0x87474C6F, 0xB044, 0x48DA, {0x9F, 0x87, 0x94, 0x40, 0x95, 0xB1, 0x20, 0x49}}},
      {"IQorTorus",
       "qorapi.features.TorusFeature",
       {0xA3B24FFF, 0x919D, 0x426A, {0xAB, 0x24, 0x42, 0x7B, 0xA4, 0xDD, 0x5C, 0xAD}}},
      {"IQorNurbSurface",
       "qorapi.surfacing.NurbSurface",
       {0xB34591E2, 0xC9C9, 0x45E6, {0x82, 0x26, 0x82, 0x03, 0xA7, 0x37, 0x74, 0x82}}},
      {"IQorTargetPoint",
       "qorapi.features.TargetPointFeature",
       {0x2072836D, 0x1510, 0x49F2, {0xBD, 0xD9, 0x72, 0xDC, 0x3C, 0xFF, 0x5A, 0x94}}},
      {"IQorTargetLine",
       "qorapi.features.TargetLineFeature",
       {0x593EF13F, 0x7A9E, 0x4A0B, {0x85, 0x73, 0x47, 0xF4, 0x6D, 0x11, 0xF1, 0x29}}},
      {"IQorPoint",
       "qorapi.features.PointFeature",
       {0x59EA2D4D, 0xCBCE, 0x47FC, {0x8B, 0xED, 0x56, 0x7F, 0x6E, 0xE8, 0x8F, 0x1B}}},
      {"IQorOvalSlot",
       "qorapi.features.OvalSlotFeature",
       {0xD22387B4, 0x2E86, 0x4A4D, {0x9E, 0xD0, 0x38, 0x96, 0xB2, 0x3E, 0xD7, 0xBF}}},
      {"IQorRectangularSlot",
       "qorapi.features.RectangularSlotFeature",
       {0x1395C91C, 0x4131, 0x4391, {0x93, 0x5B, 0x87, 0xBE, 0x5E, 0xF5, 0x19, 0x3F}}},
      {"IQorRoundedSlot",
       "qorapi.features.RoundedSlotFeature",
       {0x040EBA85, 0x2E86, 0x4968, {0xAA, 0xBF, 0x19, 0xF3, 0xD6, 0x80, 0xBB, 0xDF}}},
      {"IQorParallelPlanes",
       "qorapi.features.ParallelPlanesFeature",
       {0xA7158BF0, 0x05C0, 0x47B4, {0xAD, 0x0E, 0xFD, 0xC0, 0x3E, 0xE5, 0x5F, 0x73}}},
      {"IQorCoordinateSystem",
       "qorapi.features.CoordinateSystem",
       {0x13533596, 0x7E20, 0x49EF, {0xB9, 0x39, 0x10, 0x0C, 0x51, 0xE3, 0x0D, 0x7F}}},
      {"IQorExtruded",
       "qorapi.surfacing.ExtrudedSurface",
       {0x7DA7D7D2, 0x7859, 0x4D0E, {0xBD, 0x25, 0x71, 0x39, 0x87, 0x7C, 0x6F, 0x83}}},
      {"IQorDrafted",
       "qorapi.surfacing.DraftedSurface",
       {0xF97CDD93, 0x987A, 0x48E1, {0xAB, 0x31, 0xBB, 0x32, 0xB1, 0x13, 0x86, 0x77}}},
      {"IQorRotational",
       "qorapi.surfacing.RotationalSurface",
       {0xD6EF3959, 0x66CA, 0x4A5E, {0x8E, 0x4C, 0xE0, 0x35, 0xFF, 0x8B, 0xF3, 0x77}}},
      {"IQorSweep",
       "qorapi.surfacing.SweepSurface",
       {0xF8FA70AF, 0x92D8, 0x413D, {0xBC, 0x9D, 0xE6, 0x9C, 0x6C, 0xDB, 0xBF, 0x31}}},
  }};
  return classes;
}

const ShellClass* shellClass(const char* interfaceName) {
  if (!interfaceName) return nullptr;
  for (const ShellClass& c : shellClasses())
    if (qorNameIs(c.interfaceName, interfaceName)) return &c;
  return nullptr;
}

// The shell makers registered so far, by host interface name.
std::map<std::string, Feature* (*)()>& makers() {
  static auto* m = new std::map<std::string, Feature* (*)()>();  // lives to process end
  return *m;
}

// The order in which findProxy asks a host for its interfaces.
const char* const kFindOrder[] = {"IQorPlane",
                                  "IQorLine",
                                  "IQorCylinder",
                                  "IQorPoint",
                                  "IQorRectangularSlot",
                                  "IQorOvalSlot",
                                  "IQorRoundedSlot",
                                  "IQorTargetLine",
                                  "IQorTargetPoint",
                                  "IQorCone",
                                  "IQorSphere",
                                  "IQorTorus",
                                  "IQorArc",
                                  "IQorParallelPlanes",
                                  "IQorCoordinateSystem",
                                  "IQorNurbCurve",
                                  "IQorExtruded",
                                  "IQorDrafted",
                                  "IQorRotational",
                                  "IQorSweep"};

// The order in which createProxy does.
const char* const kCreateOrder[] = {"IQorArc",
                                    "IQorPlane",
                                    "IQorCylinder",
                                    "IQorCone",
                                    "IQorSphere",
                                    "IQorTorus",
                                    "IQorNurbSurface",
                                    "IQorTargetPoint",
                                    "IQorTargetLine",
                                    "IQorPoint",
                                    "IQorLine",
                                    "IQorOvalSlot",
                                    "IQorRectangularSlot",
                                    "IQorRoundedSlot",
                                    "IQorParallelPlanes",
                                    "IQorCoordinateSystem",
                                    "IQorExtruded",
                                    "IQorDrafted",
                                    "IQorRotational",
                                    "IQorSweep"};

// The proxy manager's guarded section, held for a scope.
class ManagerLock {
 public:
  ManagerLock() : manager_("IQorAppProxyManager") {
    if (manager_) manager_->lock();
  }
  ~ManagerLock() {
    if (manager_) manager_->unlock();
  }
  ManagerLock(const ManagerLock&) = delete;
  ManagerLock& operator=(const ManagerLock&) = delete;
  IQorAppProxyManager* manager() const { return manager_.get(); }

 private:
  SPtr<IQorAppProxyManager> manager_;
};

IQorProxyRegistry* registryOf(IQorAppProxyManager* manager, const char* interfaceName) {
  return manager && interfaceName ? manager->registry(QorCString(kBorrow, interfaceName)) : nullptr;
}

// The host's outputter of parameter texts, as the view its service gives; null without it.
void* outputterView() {
  void* out = nullptr;
  getService("IParameterStringOutputter", &out);
  return out;
}

// The service's view of `interfaceName` as the object's root.
template <class T>
IQorUnknown* rootOf(void* view) {
  return static_cast<T*>(view);
}

// A new host object from the locator under a host interface name, as ::IQorFeature; null
// when the service is missing. A service answers the view of its name.
::IQorFeature* newHost(const char* interfaceName) {
  struct View {
    const char* name;
    IQorUnknown* (*root)(void*);
  };
  static constexpr View kViews[] = {
      {"IQorArc", &rootOf<::IQorArc>},
      {"IQorLine", &rootOf<::IQorLine>},
      {"IQorPlane", &rootOf<IQorPlane>},
      {"IQorCylinder", &rootOf<IQorCylinder>},
      {"IQorCone", &rootOf<IQorCone>},
      {"IQorSphere", &rootOf<IQorSphere>},
      {"IQorTorus", &rootOf<IQorTorus>},
      {"IQorFeature", &rootOf<::IQorFeature>},
      {"IQorNurbSurface", &rootOf<IQorNurbSurface>},
      {"IQorExtruded", &rootOf<IQorExtruded>},
      {"IQorDrafted", &rootOf<IQorDrafted>},
      {"IQorRotational", &rootOf<IQorRotational>},
      {"IQorSweep", &rootOf<IQorSweep>},
  };
  void* out = nullptr;
  getService(interfaceName, &out);
  if (!out) return nullptr;
  IQorUnknown* root = nullptr;
  for (const View& v : kViews)
    if (qorNameIs(v.name, interfaceName)) root = v.root(out);
  if (!root) return nullptr;  // a kind this build knows no view of
  return qorQuery<::IQorFeature>(root, "IQorFeature");
}

// A new string value for the name a shell writes into its host. Not one value shared by
// all shells: a host may keep the object it is given in its table, and then every table
// would read the last name written.
IPtr<IQorStringValue> newNameValue() {
  void* out = nullptr;
  getService("IQorStringValue", &out);
  return IPtr<IQorStringValue>(static_cast<IQorStringValue*>(out));
}

// The string parameter "Name" of a host's table, empty when missing.
QorString hostName(::IQorFeature* host) {
  IQorParameterTable* table = host ? host->parameterTable() : nullptr;
  IQorParameter* p = table ? table->parameter(QorString(u"Name")) : nullptr;
  auto* value = qorQuery<IQorStringValue>(p, "IQorStringValue");
  return value ? value->value() : QorString();
}

double dot(const QorVector& a, const QorVector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

}  // namespace

// ---- checks ----

bool isNormalized(const QorVector& v, double tol) {
  double length = std::sqrt(dot(v, v));
  return 1.0 - tol <= length && length <= 1.0 + tol;
}

bool isPerpendicular(const QorVector& a, const QorVector& b, double tol) {
  double d = dot(a, b);
  return d * d <= dot(a, a) * tol * tol * dot(b, b);
}

bool isParallel(const QorVector& a, const QorVector& b, double tol) {
  double d = dot(a, b);
  return d * d >= dot(a, a) * (1.0 - tol * tol) * dot(b, b);
}

void fail(const char* label, const char* text) {
  qor::classError(label, text);
}

// ---- Feature ----

Feature::Feature() = default;

Feature::~Feature() {
  stopListening();
  delete parameterOutput_;
  delete parameterMirror_;
}

void Feature::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("Feature", out);
    walkAddInterface("features::IQorFeature", out);
    walkAddInterface("IQorListener", out);
    DataObject::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "Feature"))
    *out = this;
  else if (qorNameIs(name, "features::IQorFeature"))
    *out = static_cast<IQorFeature*>(this);
  else if (qorNameIs(name, "IQorListener"))
    *out = static_cast<IQorListener*>(this);
  else
    DataObject::queryInterface(name, out, reserved);
}

void Feature::bindHost(::IQorFeature* host) {
  updateSuspendCount_ = 0;
  if (host != hostFeature_.get()) {
    const bool listening = static_cast<bool>(listenedTo_);
    stopListening();
    IPtr<::IQorFeature> old = hostFeature_;
    hostFeature_ = host;
    // A shell registered for its old host stands for the new one now.
    if (old && interfaceName()) {
      SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
      if (IQorProxyRegistry* r = registryOf(manager.get(), interfaceName())) {
        if (r->find(old.get()) == static_cast<IQorUnknown*>(static_cast<IQorFeature*>(this))) {
          r->remove(old.get());
          if (host) r->add(static_cast<IQorFeature*>(this), host);
        }
      }
    }
    // The shell keeps hearing its host's table across a change of host.
    if (listening) listenToTable();
  }
  delete parameterOutput_;
  parameterOutput_ = new ParameterOutput{this, host, outputterView()};
}

void Feature::stopListening() {
  if (!listenedTo_) return;
  listenedTo_->unsubscribe(this);
  listenedTo_.reset();
  // A host that replaced its table carried its listeners over to the new one.
  IQorParameterTable* table = hostFeature_ ? hostFeature_->parameterTable() : nullptr;
  if (auto* now = qorQuery<IQorSubject>(table, "IQorSubject")) now->unsubscribe(this);
}

void Feature::listenToTable() {
  IQorParameterTable* table = hostFeature_ ? hostFeature_->parameterTable() : nullptr;
  auto* subject = qorQuery<IQorSubject>(table, "IQorSubject");
  if (!subject || subject == listenedTo_.get()) return;
  if (listenedTo_) listenedTo_->unsubscribe(this);
  listenedTo_ = subject;
  subject->subscribe(this);
}

void Feature::connect(::IQorFeature* host) {
  bindHost(host);
  delete parameterMirror_;
  parameterMirror_ = new ParameterMirror(host, this);
  addBoundingBox();
}

void Feature::addBoundingBox() {
  using Get = QorRetMsgRtr_const<Feature, QorBounds>;
  detail::addHeld(this, new RoutedPropertyTemplate<QorBounds, QorBoundsProperty, Feature>(
                            QorString(u"boundingBox"), true,
                            new Get(this, &Feature::boundingBoxValue), nullptr));
}

void Feature::reattach(::IQorFeature* host) {
  bindHost(host);
  addBoundingBox();
  DataObject::setName(hostName(host));
}

void Feature::mirrorParameters() {
  delete parameterOutput_;
  parameterOutput_ = nullptr;
  if (!hostFeature_) return;
  parameterOutput_ = new ParameterOutput{this, hostFeature_.get(), outputterView()};
  listenToTable();
  if (parameterMirror_) {
    parameterMirror_->initialize(this, hostFeature_->className());
    parameterMirror_->build();
  }
}

QorBounds Feature::boundingBoxValue() const {
  QorBounds box;  // the empty marker
  if (hostFeature_) hostFeature_->boundingBox(box);
  return box;
}

void Feature::fireUpdated(IQorDataEventArgs* args) {
  fireEvent(QorCString(kBorrow, "updated"), args);
}

void Feature::notify(const char* message, IQorSubject* subject, void* argument) {
  (void)subject;
  if (!message) return;
  if (qorNameIs(message, "startUpdate")) {
    if (--updateSuspendCount_ <= 0) fireUpdated(nullptr);
  } else if (qorNameIs(message, "endUpdate")) {
    ++updateSuspendCount_;
  } else if (qorNameIs(message, "setParameter")) {
    const auto* name = static_cast<const QorString*>(argument);
    if (name && *name == QorString(u"Name")) {
      DataObject::setName(hostName(hostFeature_.get()));
      return;
    }
    if (updateSuspendCount_ > 0) return;
    if (!name) {
      fireUpdated(nullptr);
      return;
    }
    qor::EventArgs args;
    if (!args) return;
    if (IQorPropertyMap* map = args.map()) {
      IPtr<IQorProperty> p(new StringProperty(QorString(u"setParameter"), *name, false, true));
      map->addProperty(p.get());
    }
    fireUpdated(args.get());
  } else if (qorNameIs(message, "updated")) {
    if (updateSuspendCount_ <= 0) fireUpdated(nullptr);
  }
}

void Feature::setName(const QorString& name) {
  if (hostFeature_) {
    if (IPtr<IQorStringValue> value = newNameValue()) {
      value->setValue(name);
      hostFeature_->setParameter(QorString(u"Name"),
                                 qorQuery<IQorParameter>(value.get(), "IQorParameter"));
    }
  }
  DataObject::setName(name);
}

IQorUndoInfo* Feature::createUndoInfo() {
  return new FeatureUndoInfo(this);
}

void Feature::transform(const QorMatrix& matrix) {
  if (hostFeature_) hostFeature_->transform(matrix);
  notify("updated", nullptr, nullptr);
}

void Feature::coordinate(QorMatrix& out) {
  out = QorMatrix();
}

QorID Feature::classId() {
  if (const ShellClass* c = shellClass(interfaceName())) return c->classId;
  return DataObject::classId();
}

bool Feature::write(IQorDataModelWriter* writer) {
  writer->beginObject(this, 2);
  auto* file = qorQuery<QorFileWrite>(writer, "QorFileWrite");
  auto* persistable = qorQuery<IQorPersistable>(hostFeature_.get(), "IQorPersistable");
  if (file && persistable) persistable->write(file);
  writer->endObject();
  return DataObject::write(writer);
}

bool Feature::read(IQorDataModelReader* reader) {
  int32_t version = 0;
  reader->beginObject(this, &version);
  createHost();
  auto* file = qorQuery<QorFileRead>(reader, "QorFileRead");
  auto* persistable = qorQuery<IQorPersistable>(hostFeature_.get(), "IQorPersistable");
  if (file && persistable) persistable->read(file);
  reader->endObject();
  if (version >= 2) return DataObject::read(reader);
  return reader->good();
}

void Feature::createHostAs(const char* interfaceName) {
  ManagerLock lock;
  ::IQorFeature* host = newHost(interfaceName);
  connect(host);
  if (IQorProxyRegistry* r = registryOf(lock.manager(), interfaceName))
    if (host) r->add(static_cast<IQorFeature*>(this), host);
}

void Feature::logLifetime(const char* state) {
  SPtr<IQorLog3> log("IQorLog3");
  if (!log) return;
  QorString text;
  tr(text, "[%1] [id = %2] ", QorString(className()),
     QorString(static_cast<long long>(getObjectId())));
  text += QorString(state);
  log->logInfo(text);
}

void Feature::retire(const char* interfaceName, IQorUnknown* typedHost) {
  SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  // Only its own entry: a shell made around a host another shell stands for (a converted
  // curve) leaves that shell's entry alone.
  if (IQorProxyRegistry* r = registryOf(manager.get(), interfaceName))
    if (typedHost &&
        r->find(typedHost) == static_cast<IQorUnknown*>(static_cast<IQorFeature*>(this)))
      r->remove(typedHost);
  logLifetime("Destroyed");
}

// ---- pairing ----

IQorFeature* findProxy(::IQorFeature* host) {
  SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  if (!host || !manager) return nullptr;
  for (const char* name : kFindOrder) {
    if (!qorQuery<void>(host, name)) continue;
    IQorProxyRegistry* registry = registryOf(manager.get(), name);
    IQorUnknown* shell = registry ? registry->find(host) : nullptr;
    if (shell) return qorQuery<IQorFeature>(shell, "features::IQorFeature");
  }
  return nullptr;
}

IQorFeature* createProxy(::IQorFeature* host) {
  if (!host) return nullptr;
  for (const char* name : kCreateOrder) {
    if (!qorQuery<void>(host, name)) continue;
    auto it = makers().find(name);
    if (it == makers().end() || !it->second) continue;
    Feature* shell = it->second();
    if (!shell) continue;
    shell->connect(host);
    shell->mirrorParameters();
    SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
    if (IQorProxyRegistry* r = registryOf(manager.get(), name))
      r->add(static_cast<IQorFeature*>(shell), host);
    return shell;
  }
  return nullptr;
}

bool registerShell(const char* interfaceName, const QorID& classId, Feature* (*make)()) {
  const ShellClass* c = shellClass(interfaceName);
  if (!c || !(c->classId == classId)) return false;
  makers()[c->interfaceName] = make;
  return true;
}

Feature* makeShell(const QorID& classId) {
  for (const ShellClass& c : shellClasses()) {
    if (!(c.classId == classId)) continue;
    auto it = makers().find(c.interfaceName);
    return it != makers().end() && it->second ? it->second() : nullptr;
  }
  return nullptr;
}

int32_t shellClassCount() {
  return static_cast<int32_t>(kShellCount);
}

QorID shellClassId(int32_t index) {
  return index >= 0 && index < shellClassCount() ? shellClasses()[index].classId : QorID();
}

const char* typeStringOf(const char* interfaceName) {
  const ShellClass* c = shellClass(interfaceName);
  return c ? c->typeString : nullptr;
}

QorID classIdOf(const char* interfaceName) {
  const ShellClass* c = shellClass(interfaceName);
  return c ? c->classId : QorID();
}

// ---- undo ----

void UndoInfo::queryInterface(const char* name, void** out, uintptr_t reserved) {
  (void)reserved;
  if (!out) return;
  if (!name) {
    walkEnterClass(className(), out);
    walkAddInterface("IQorUndoInfo", out);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorUndoInfo"))
    *out = static_cast<IQorUndoInfo*>(this);
}

namespace {
// A counted clone of the feature's host, taken under the proxy manager's lock.
::IQorFeature* cloneHost(Feature* feature) {
  ManagerLock lock;
  ::IQorFeature* host = feature->host();
  ::IQorFeature* copy = host ? host->clone() : nullptr;
  if (copy) copy->addRef();
  return copy;
}

void releaseHost(::IQorFeature* host) {
  if (!host) return;
  ManagerLock lock;
  host->release();
}

QorString nameOf(Feature* feature) {
  QorString name;
  feature->getName(name);
  return name;
}
}  // namespace

FeatureUndoInfo::FeatureUndoInfo(Feature* feature) : feature_(feature) {
  beforeHost_ = cloneHost(feature);
  beforeName_ = nameOf(feature);
}

FeatureUndoInfo::~FeatureUndoInfo() {
  releaseHost(beforeHost_);
  releaseHost(afterHost_);
}

void FeatureUndoInfo::captureAfter() {
  ::IQorFeature* copy = cloneHost(feature_);
  releaseHost(afterHost_);
  afterHost_ = copy;
  afterName_ = nameOf(feature_);
}

void FeatureUndoInfo::undo() {
  feature_->connect(beforeHost_);
  feature_->setName(beforeName_);
  feature_->notify("updated", nullptr, nullptr);
}

void FeatureUndoInfo::redo() {
  feature_->connect(afterHost_);
  feature_->setName(afterName_);
  feature_->notify("updated", nullptr, nullptr);
}

int64_t FeatureUndoInfo::undoSize() {
  return (beforeHost_ ? 80 : 0) + (afterHost_ ? 80 : 0);
}

// ---- editors ----

void FeatureEditor::notify(const char* message, IQorSubject* subject, void* argument) {
  if (message && qorNameIs(message, "startUpdate")) {
    updating_ = 1;
    handle(message, subject, argument);
    return;
  }
  if (message && qorNameIs(message, "endUpdate")) {
    updating_ = 0;
    handle(message, subject, argument);
    return;
  }
  if (!enabled_ || !updating_) return;
  // Off while handle runs, so a change it causes is not handled again; back on however it
  // ends.
  struct Reenable {
    uint8_t& flag;
    ~Reenable() { flag = 1; }
  } guard{enabled_};
  enabled_ = 0;
  handle(message, subject, argument);
}

}  // namespace features
