#include "refhost/document.h"

#include <algorithm>
#include <cstdio>

#include "document/imodel.h"
#include "hostapi/icurveset.h"
#include "refhost/componentmanager.h"
#include "refhost/datamodels.h"
#include "refhost/docfile.h"
#include "refhost/featurehosts.h"
#include "refhost/proxies.h"
#include "refhost/strsupport.h"

namespace refhost {

// ---- call log ----

void CallLog::add(std::string line) {
  std::lock_guard<std::mutex> g(lock_);
  if (lines_.size() == kKeep) lines_.pop_front();
  lines_.push_back(std::move(line));
}

std::vector<std::string> CallLog::lines() {
  std::lock_guard<std::mutex> g(lock_);
  return {lines_.begin(), lines_.end()};
}

void CallLog::clear() {
  std::lock_guard<std::mutex> g(lock_);
  lines_.clear();
}

CallLog& callLog() {
  static auto* l = new CallLog();
  return *l;
}

std::string logText(const QorString& text) {
  return wideToUtf8(text.text());
}

namespace {

std::string num(int64_t v) {
  return std::to_string(v);
}

void logLine(const std::string& line) {
  callLog().add(line);
}

// Answers its own name, one interface and the root.
template <class Iface, class Self>
void answerOne(Self* self, const char* own, const char* iface, const char* name, void** out) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, own))
    *out = self;
  else if (qorNameIs(name, iface))
    *out = static_cast<Iface*>(self);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(self);
}

class RefPhase : public IQorPhase {
 public:
  explicit RefPhase(const std::string& name) : name_(name.c_str()) {}
  void queryInterface(const char* name, void** out, uintptr_t) override {
    answerOne<IQorPhase>(this, "RefPhase", "IQorPhase", name, out);
  }
  const char* className() override { return "RefPhase"; }
  const QorCString& name() override { return name_; }

 private:
  QorCString name_;
};

// One phase object per name, for the process.
RefPhase* phaseNamed(const std::string& name) {
  static auto* phases = new std::map<std::string, IPtr<RefPhase>>();
  IPtr<RefPhase>& p = (*phases)[name];
  if (!p) p = new RefPhase(name);
  return p.get();
}

class RefSubObjectIter : public IQorSubObjectIter {
 public:
  explicit RefSubObjectIter(std::vector<IPtr<RefSubObject>> subs) : subs_(std::move(subs)) {}
  void queryInterface(const char* name, void** out, uintptr_t) override {
    answerOne<IQorSubObjectIter>(this, "RefSubObjectIter", "IQorSubObjectIter", name, out);
  }
  const char* className() override { return "RefSubObjectIter"; }
  void first() override { at_ = 0; }
  uint8_t atEnd() override { return at_ >= subs_.size() ? 1 : 0; }
  void next() override {
    if (at_ < subs_.size()) ++at_;
  }
  IQorUnknown* current() override {
    return at_ < subs_.size() ? static_cast<IQorSubObject*>(subs_[at_].get()) : nullptr;
  }

 private:
  std::vector<IPtr<RefSubObject>> subs_;
  size_t at_ = 0;
};

const char* managerName(RefSubObject::Kind k) {
  switch (k) {
    case RefSubObject::Kind::Feature:
      return "features";
    case RefSubObject::Kind::CSys:
      return "csys";
    case RefSubObject::Kind::Selection:
      return "selections";
    default:
      return "correspondences";
  }
}

bool hasModels(const std::string& phase) {
  return phase != "World" && phase != "Section";
}

}  // namespace

QorBounds geometryBounds(const Geometry& g, const QorMatrix& m) {
  QorBounds b;
  const Positions& p = g.positions;
  for (size_t i = 0; i + 2 < p.size(); i += 3) {
    double out[3];
    m.transformPoint(&p[i], out);
    b.extend(QorVector{out[0], out[1], out[2]});
  }
  return b;
}

// ---- models and sub-objects ----

void RefModel::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorModel>(this, "RefModel", "IQorModel", name, out);
  if (curves_ && out && name && !*out && qorNameIs(name, "IQorModelSelection"))
    *out = static_cast<IQorModelSelection*>(this);
}

void RefModel::setBits(const BitVector& bits) {
  selected_.assign(bits);
  // Bit i is the curve at host index i: bits that name no curve of the set are dropped.
  auto* holder = qorQuery<IQorCurveSet>(data_.get(), "IQorCurveSet");
  if (auto* set = holder ? qorQuery<ICurveSet>(holder->curves(), "ICurveSet") : nullptr)
    for (int32_t i = selected_.nextSet(-1); i >= 0; i = selected_.nextSet(i))
      if (i > set->maxIndex() || !set->curve(i)) selected_.clear(i);
  logLine("curvemodel.setBits " + num(selected_.count()));
}

RefSubObject::RefSubObject(Kind kind, IQorUnknown* hostFeature, int32_t id)
    : kind_(kind), feature_(hostFeature), id_(id) {}

void RefSubObject::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefSubObject"))
    *out = this;
  else if (qorNameIs(name, "IQorSubObject"))
    *out = static_cast<IQorSubObject*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (kind_ == Kind::Feature && qorNameIs(name, "IQorFeatureSubObject"))
    *out = static_cast<IQorFeatureSubObject*>(this);
  else if (kind_ == Kind::CSys && qorNameIs(name, "IQorCSysSubObject"))
    *out = static_cast<IQorCSysSubObject*>(this);
  else if (kind_ == Kind::CSys && qorNameIs(name, "IQorCSysObject"))
    *out = static_cast<IQorCSysObject*>(this);
  else if (kind_ == Kind::Correspondence && qorNameIs(name, "IQorSetCorrespondence"))
    *out = static_cast<IQorSetCorrespondence*>(this);
  else if (kind_ == Kind::Selection && qorNameIs(name, "IQorSelectionSubObject"))
    *out = static_cast<IQorSelectionSubObject*>(this);
}

void RefSubObject::setName(const QorString& name) {
  name_ = logText(name);
  logLine("sub" + num(id_) + ".setName " + name_);
}

void RefSubObject::setVisible(uint8_t visible) {
  visible_ = visible;
  logLine("sub" + num(id_) + ".setVisible " + num(visible));
}

void RefSubObject::refresh() {
  ++refreshes_;
  logLine("sub" + num(id_) + ".refresh");
}

RefSubObjectMgr::RefSubObjectMgr(RefSubObject::Kind kind, RefObject* owner)
    : kind_(kind), owner_(owner), objectId_(owner->id()) {}

void RefSubObjectMgr::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefSubObjectMgr"))
    *out = this;
  else if (qorNameIs(name, "IQorSubObjectMgr"))
    *out = static_cast<IQorSubObjectMgr*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (kind_ == RefSubObject::Kind::Feature && qorNameIs(name, "IQorFeatureSubObjectMgr"))
    *out = static_cast<IQorFeatureSubObjectMgr*>(this);
  else if (kind_ == RefSubObject::Kind::CSys && qorNameIs(name, "IQorCSysSubObjectMgr"))
    *out = static_cast<IQorCSysSubObjectMgr*>(this);
  else if (kind_ == RefSubObject::Kind::Selection && qorNameIs(name, "IQorSelectionSubObjectMgr"))
    *out = static_cast<IQorSelectionSubObjectMgr*>(this);
}

void RefSubObjectMgr::addSubObject(IQorUnknown* sub) {
  auto* s = dynamic_cast<RefSubObject*>(sub);
  logLine(std::string(managerName(kind_)) + num(objectId_) + ".addSubObject " +
          (s ? num(s->id()) : "null"));
  if (!s) return;
  for (auto& p : subs_)
    if (p.get() == s) return;
  subs_.emplace_back(s);
}

void RefSubObjectMgr::removeSubObject(IQorUnknown* sub) {
  auto* s = dynamic_cast<RefSubObject*>(sub);
  logLine(std::string(managerName(kind_)) + num(objectId_) + ".removeSubObject " +
          (s ? num(s->id()) : "null"));
  std::erase_if(subs_, [s](const IPtr<RefSubObject>& p) { return p.get() == s; });
}

void RefSubObjectMgr::setSubObjectSelected(int32_t id, uint8_t selected) {
  logLine(std::string(managerName(kind_)) + num(objectId_) + ".setSubObjectSelected " + num(id) +
          " " + num(selected));
  for (auto& p : subs_)
    if (p->id() == id) p->setSelected(selected != 0);
}

IQorSubObjectIter* RefSubObjectMgr::subObjectIterator() {
  logLine(std::string(managerName(kind_)) + num(objectId_) + ".subObjectIterator");
  return new RefSubObjectIter(subs_);
}

IQorUnknown* RefSubObjectMgr::newSubObject(IQorUnknown* hostFeature) {
  logLine(std::string(managerName(kind_)) + num(objectId_) + ".newSubObject " +
          (hostFeature ? hostFeature->className() : "null"));
  return static_cast<IQorSubObject*>(
      new RefSubObject(RefSubObject::Kind::Feature, hostFeature, nextId_++));
}

IQorUnknown* RefSubObjectMgr::newCSysSubObject(IQorUnknown* csysData) {
  logLine(std::string(managerName(kind_)) + num(objectId_) + ".newCSysSubObject " +
          (csysData ? csysData->className() : "null"));
  return static_cast<IQorSubObject*>(
      new RefSubObject(RefSubObject::Kind::CSys, csysData, nextId_++));
}

IQorUnknown* RefSubObjectMgr::owner() {
  if (!owner_) return nullptr;
  IQorObject* object = owner_;
  return object;
}

IQorUnknown* RefSubObjectMgr::findByName(const QorString& name) {
  const std::string n = logText(name);
  logLine(std::string(managerName(kind_)) + num(objectId_) + ".findByName " + n);
  RefSubObject* s = named(n);
  return s ? static_cast<IQorSubObject*>(s) : nullptr;
}

void RefSubObjectMgr::addSelection(IQorUnknown* selection, const BitVector& bits) {
  auto* data = qorQuery<DataObject>(selection, "DataObject");
  const std::string name = data ? logText(data->nameValue()) : std::string();
  logLine(std::string(managerName(kind_)) + num(objectId_) + ".addSelection " + name + " " +
          num(bits.count()));
  addSelection(name, bits);
}

RefSubObject* RefSubObjectMgr::addSelection(const std::string& name, const BitVector& bits) {
  IPtr<RefSubObject> s(new RefSubObject(RefSubObject::Kind::Selection, nullptr, nextId_++));
  s->setName(utf8ToWide(name.c_str()));
  s->memberBits().assign(bits);
  subs_.push_back(s);
  return s.get();
}

RefSubObject* RefSubObjectMgr::named(const std::string& name) {
  for (auto& p : subs_)
    if (p->nameUtf8() == name) return p.get();
  return nullptr;
}

// ---- objects ----

RefObject::RefObject(RefDoc* doc, int32_t id, std::string phase, const QorString& name)
    : doc_(doc), id_(id), phase_(std::move(phase)), name_(name) {
  if (hasModels(phase_)) {
    features_ = new RefSubObjectMgr(RefSubObject::Kind::Feature, this);
    csys_ = new RefSubObjectMgr(RefSubObject::Kind::CSys, this);
    selections_ = new RefSubObjectMgr(RefSubObject::Kind::Selection, this);
  }
}

RefObject::~RefObject() {
  detach();
  for (RefSubObjectMgr* m : {features_.get(), csys_.get(), selections_.get()})
    if (m) m->orphan();
}

void RefObject::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefObject"))
    *out = this;
  else if (qorNameIs(name, "IQorObject"))
    *out = static_cast<IQorObject*>(this);
  else if (qorNameIs(name, "IQorSubject"))
    *out = static_cast<IQorSubject*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

std::string RefObject::tag() const {
  return "obj" + num(id_) + ".";
}

uint8_t RefObject::isGroup() {
  logLine(tag() + "isGroup");
  return isGroup_ ? 1 : 0;
}

IQorObject* RefObject::parent() {
  logLine(tag() + "parent");
  return parent_;
}

uint8_t RefObject::addToGroup(IQorObject* group) {
  RefObject* g = doc_ ? doc_->find(group) : nullptr;
  logLine(tag() + "addToGroup " + (g ? num(g->id_) : "null"));
  if (!g || !g->isGroup_ || isGroup_ || g == this) return 0;
  joinGroup(g);
  return 1;
}

void RefObject::removeFromGroup() {
  logLine(tag() + "removeFromGroup");
  leaveGroup();
}

void RefObject::joinGroup(RefObject* group) {
  if (parent_ == group) return;
  leaveGroup();
  parent_ = group;
  group->members_.push_back(this);
}

void RefObject::leaveGroup() {
  if (!parent_) return;
  std::erase(parent_->members_, this);
  parent_ = nullptr;
}

uint8_t RefObject::isInGroup() {
  logLine(tag() + "isInGroup");
  return parent_ ? 1 : 0;
}

void RefObject::setName(const QorString& name) {
  logLine(tag() + "setName " + logText(name));
  name_ = name;
  RefProxyTable* t = proxyManager().table("IQorObject");
  IPtr<IQorUnknown> model(t ? t->bound(this) : nullptr);
  if (auto* listener = qorQuery<IQorListener>(model.get(), "IQorListener"))
    listener->notify("NameChanged", this, nullptr);
  const std::vector<IQorListener*> listeners = listeners_;  // a listener may unsubscribe
  for (IQorListener* l : listeners) l->notify("NameChanged", this, nullptr);
}

void RefObject::subscribe(IQorListener* listener) {
  if (listener && std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end())
    listeners_.push_back(listener);
}

void RefObject::unsubscribe(IQorListener* listener) {
  std::erase(listeners_, listener);
}

void RefObject::setPrimVisible(const QorCString& prim, uint8_t visible, int32_t redraw) {
  std::string p = prim.c_str() ? prim.c_str() : "";
  logLine(tag() + "setPrimVisible " + p + " " + num(visible) + " " + num(redraw));
  prims_[p] = visible != 0;
}

uint8_t RefObject::primVisible(const QorCString& prim) {
  std::string p = prim.c_str() ? prim.c_str() : "";
  logLine(tag() + "primVisible " + p);
  auto it = prims_.find(p);
  return it != prims_.end() && it->second ? 1 : 0;
}

IQorPhase* RefObject::phase() {
  logLine(tag() + "phase");
  return phase_.empty() ? nullptr : phaseNamed(phase_);
}

uint8_t RefObject::isOfType(const QorCString& name) {
  std::string n = name.c_str() ? name.c_str() : "";
  logLine(tag() + "isOfType " + n);
  return !phase_.empty() && phase_ == n ? 1 : 0;
}

void RefObject::bounds(QorBounds* out, int32_t flags) {
  logLine(tag() + "bounds " + num(flags));
  if (!out) return;
  QorBounds b;
  if (isGroup_) {
    for (RefObject* m : members_) {
      QorBounds mb;
      m->bounds(&mb, flags);
      b.unite(mb);
    }
  } else if (geometry_) {
    b = geometryBounds(*geometry_, matrix_);
  }
  *out = b;
}

IQorModel* RefObject::model(const QorCString& name) {
  std::string n = name.c_str() ? name.c_str() : "";
  logLine(tag() + "model " + n);
  auto it = models_.find(n);
  return it == models_.end() ? nullptr : it->second.get();
}

uint8_t RefObject::visible() {
  logLine(tag() + "visible");
  return visible_ ? 1 : 0;
}

void RefObject::setVisible(uint8_t visible) {
  logLine(tag() + "setVisible " + num(visible));
  visible_ = visible != 0;
}

IQorUnknown* RefObject::subObjectByName(const QorCString& name, int32_t flags) {
  std::string n = name.c_str() ? name.c_str() : "";
  logLine(tag() + "subObjectByName " + n + " " + num(flags));
  auto it = named_.find(n);
  if (it != named_.end()) return static_cast<IQorSubObject*>(it->second.get());
  for (RefSubObjectMgr* m : {features_.get(), csys_.get(), selections_.get()})
    if (RefSubObject* s = m ? m->named(n) : nullptr) return static_cast<IQorSubObject*>(s);
  return nullptr;
}

IQorObjectIter* RefObject::groupMembers() {
  logLine(tag() + "groupMembers");
  std::vector<IPtr<RefObject>> list(members_.begin(), members_.end());
  return new RefObjectIter(std::move(list));
}

void RefObject::transform(const QorMatrix& matrix, int32_t flags) {
  std::string line = tag() + "transform";
  for (int i = 0; i < 16; ++i) {
    char buf[32];
    std::snprintf(buf, sizeof buf, " %.17g", matrix[i]);
    line += buf;
  }
  logLine(line + " " + num(flags));
  matrix_ = QorMatrix::multiply(matrix, matrix_);
  for (RefObject* m : members_) m->matrix_ = QorMatrix::multiply(matrix, m->matrix_);
}

IQorUnknown* RefObject::subObjectManager(const GUID* id) {
  RefSubObjectMgr* m = nullptr;
  const char* which = "none";
  if (id && *id == qor::kFeaturesManagerId)
    m = features_.get(), which = "features";
  else if (id && *id == qor::kCoordinateSystemsManagerId)
    m = csys_.get(), which = "csys";
  else if (id && *id == qor::kSelectionsManagerId)
    m = selections_.get(), which = "selections";
  logLine(tag() + "subObjectManager " + which);
  return m ? static_cast<IQorSubObjectMgr*>(m) : nullptr;
}

RefSubObjectMgr* RefObject::manager(RefSubObject::Kind kind) {
  switch (kind) {
    case RefSubObject::Kind::Feature:
      return features_.get();
    case RefSubObject::Kind::CSys:
      return csys_.get();
    case RefSubObject::Kind::Selection:
      return selections_.get();
    default:
      return nullptr;
  }
}

void RefObject::setData(IQorUnknown* data, std::shared_ptr<const Geometry> geometry) {
  data_ = data;
  geometry_ = std::move(geometry);
  models_.clear();
  if (!data) return;
  IPtr<RefModel> model(new RefModel(data));
  if (phase_ == "Polygon" || phase_ == "CAD") {
    models_["GenModel"] = model;
    models_["SurfModel"] = model;
  } else if (phase_ == "Point") {
    models_["PointModel"] = model;
  } else if (phase_ == "Scan") {
    models_["ScanModel"] = model;
  } else if (phase_ == "Curve") {
    models_["CurveModel"] = new RefModel(data, true);
  }
}

RefSubObject* RefObject::addCorrespondence(const std::string& name) {
  IPtr<RefSubObject>& s = named_[name];
  s = new RefSubObject(RefSubObject::Kind::Correspondence, nullptr,
                       static_cast<int32_t>(named_.size()));
  s->setName(utf8ToWide(name.c_str()));
  return s.get();
}

void RefObject::detach() {
  RefProxyTable* t = proxyManager().table("IQorObject");
  IPtr<IQorUnknown> model(t ? t->bound(this) : nullptr);
  if (!model) return;
  if (auto* m = qorQuery<IModel>(model.get(), "IModel")) m->setHostObject(nullptr);
  t->unbind(this);
}

void RefObjectIter::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorObjectIter>(this, "RefObjectIter", "IQorObjectIter", name, out);
}

// ---- document ----

RefDoc::RefDoc() {
  clear();
}

void RefDoc::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorDoc>(this, "RefDoc", "IQorDoc", name, out);
}

RefObject* RefDoc::find(IQorObject* object) const {
  auto* r = dynamic_cast<RefObject*>(object);
  return r && r->doc() == this ? r : nullptr;
}

void RefDoc::setNamedReference(const char* ref, IQorObject* object) {
  RefObject* r = find(object);
  std::string key = ref ? ref : "";
  logLine("doc.setNamedReference " + key + " " + (r ? num(r->id()) : "null"));
  if (r)
    refs_[key] = r;
  else
    refs_.erase(key);
}

IQorObject* RefDoc::namedReference(const char* ref) {
  std::string key = ref ? ref : "";
  logLine("doc.namedReference " + key);
  auto it = refs_.find(key);
  return it == refs_.end() ? nullptr : it->second;
}

void RefDoc::clearNamedReference(const char* ref) {
  std::string key = ref ? ref : "";
  logLine("doc.clearNamedReference " + key);
  refs_.erase(key);
}

uint8_t RefDoc::isNamedReference(const char* ref, IQorObject* object) {
  std::string key = ref ? ref : "";
  RefObject* r = find(object);
  logLine("doc.isNamedReference " + key + " " + (r ? num(r->id()) : "null"));
  auto it = refs_.find(key);
  return r && it != refs_.end() && it->second == r ? 1 : 0;
}

RefObject* RefDoc::append(const std::string& phase, const QorString& name) {
  IPtr<RefObject> o(new RefObject(this, nextId_++, phase, name));
  objects_.push_back(o);
  return o.get();
}

IQorObject* RefDoc::newObject(int32_t kind, int32_t parent) {
  logLine("doc.newObject " + num(kind) + " " + num(parent));
  RefObject* g = append("", QorString(u"Group"));
  g->makeGroup();
  return g;
}

void RefDoc::setActiveObject(IQorObject* object) {
  RefObject* r = find(object);
  logLine("doc.setActiveObject " + (r ? num(r->id()) : std::string("null")));
  active_.clear();
  if (r) active_.push_back(r);
}

void RefDoc::addActiveObject(IQorObject* object) {
  RefObject* r = find(object);
  logLine("doc.addActiveObject " + (r ? num(r->id()) : std::string("null")));
  if (r && std::find(active_.begin(), active_.end(), r) == active_.end()) active_.push_back(r);
}

IQorObject* RefDoc::activeObject(int32_t a, int32_t b) {
  logLine("doc.activeObject " + num(a) + " " + num(b));
  return active_.empty() ? world_.get() : active_.back();
}

IQorObject* RefDoc::objectById(int32_t id) {
  logLine("doc.objectById " + num(id));
  for (auto& o : objects_)
    if (o->id() == id) return o.get();
  return nullptr;
}

IQorObject* RefDoc::objectByName(const QorString& name) {
  logLine("doc.objectByName " + logText(name));
  for (auto& o : objects_)
    if (o->name() == name) return o.get();
  return nullptr;
}

void RefDoc::activeObjects(int32_t kind, int32_t flags, IterStack<IQorObject*>* out) {
  logLine("doc.activeObjects " + num(kind) + " " + num(flags));
  if (!out) return;
  if (active_.empty() && kind == 0) out->push(world_.get());
  for (RefObject* r : active_)
    if (kind == 0 || r != world_.get()) out->push(r);
}

IQorObjectIter* RefDoc::objectIterator(int32_t kind, int32_t flags, uint8_t flagA, uint8_t flagB) {
  logLine("doc.objectIterator " + num(kind) + " " + num(flags) + " " + num(flagA) + " " +
          num(flagB));
  std::vector<IPtr<RefObject>> list;
  for (auto& o : objects_) {
    if (o.get() == world_.get()) continue;
    if (flagA && !flagB && o->parentObject()) continue;
    list.push_back(o);
  }
  return new RefObjectIter(std::move(list));
}

void RefDoc::remove(RefObject* object, bool unbindData, bool withMembers) {
  if (!object || object->doc() != this || object == world_.get()) return;
  IPtr<RefObject> keep(object);
  std::vector<RefObject*> members = object->members();
  for (RefObject* m : members) {
    if (withMembers)
      remove(m, unbindData, true);
    else
      m->leaveGroup();
  }
  object->leaveGroup();
  object->detach();
  if (unbindData && object->data()) {
    IQorUnknown* key = nullptr;
    if (RefProxyTable* t = tableForData(object->data(), &key)) t->unbind(key);
  }
  std::erase(active_, object);
  std::erase_if(refs_, [object](const auto& e) { return e.second == object; });
  std::erase_if(objects_, [object](const IPtr<RefObject>& p) { return p.get() == object; });
  object->orphan();
}

void RefDoc::dropAll() {
  std::vector<IPtr<RefObject>> old = std::move(objects_);
  objects_.clear();
  active_.clear();
  refs_.clear();
  world_.reset();
  for (auto& o : old) {
    o->detach();
    // The data's script object goes with its object: nothing else of a dropped document
    // may keep it.
    IQorUnknown* key = nullptr;
    if (o->data())
      if (RefProxyTable* t = tableForData(o->data(), &key)) t->unbind(key);
    o->leaveGroup();
    o->orphan();
  }
}

// Makes the script data object of host data that came without one, named as its model.
void RefDoc::nameScriptData(IQorUnknown* data, const QorString& name) {
  auto* script = qorQuery<DataObject>(scriptObjectForData(data), "DataObject");
  if (script && script->nameValue().length() == 0) script->setName(name);
}

void RefDoc::clear() {
  logLine("doc.clear");
  dropAll();
  nextId_ = 1;
  world_ = append("World", QorString(u"World"));
}

IQorObject* RefDoc::addModelObject(const std::u16string& name,
                                   std::shared_ptr<const Geometry> geometry, bool active,
                                   bool cad) {
  if (!geometry) return nullptr;
  const char* phase = geometry->kind == Geometry::Kind::Mesh   ? (cad ? "CAD" : "Polygon")
                      : geometry->kind == Geometry::Kind::Scan ? "Scan"
                                                               : "Point";
  QorString n(name.c_str(), static_cast<int32_t>(name.size()));
  logLine(std::string("doc.addModelObject ") + phase + " " + logText(n));
  RefObject* o = append(phase, n);
  IPtr<IQorUnknown> data(makeHostData(phase, geometry));
  o->setData(data.get(), geometry);
  nameScriptData(data.get(), n);
  if (active) addActiveObject(o);
  return o;
}

IQorObject* RefDoc::addCurveObject(const std::u16string& name, IQorUnknown* set, bool active) {
  QorString n(name.c_str(), static_cast<int32_t>(name.size()));
  logLine("doc.addCurveObject " + logText(n));
  IPtr<IQorUnknown> data(makeHostData("Curve", nullptr));
  if (auto* holder = qorQuery<IQorCurveSet>(data.get(), "IQorCurveSet")) holder->setCurves(set);
  RefObject* o = append("Curve", n);
  o->setData(data.get(), nullptr);
  nameScriptData(data.get(), n);
  if (active) addActiveObject(o);
  return o;
}

DocumentSnapshot RefDoc::snapshot() const {
  DocumentSnapshot s;
  s.nextId = nextId_;
  for (auto& o : objects_) {
    ObjectRecord r;
    r.id = o->id();
    r.name.assign(o->name_.text(), static_cast<size_t>(o->name_.length()));
    r.phase = o->phaseName();
    r.isGroup = o->group();
    r.parentId = o->parentObject() ? o->parentObject()->id() : 0;
    r.visible = o->visible_;
    r.active = std::find(active_.begin(), active_.end(), o.get()) != active_.end();
    r.prims = o->prims();
    std::copy(o->matrix_.data(), o->matrix_.data() + 16, r.matrix);
    r.geometry = o->geometry();
    if (o->features_)
      for (const IPtr<RefSubObject>& sub : o->features_->subObjects())
        if (auto* p = qorQuery<IQorPersistable>(sub->feature(), "IQorPersistable"))
          r.features.push_back({sub->nameUtf8(), sub->visible() != 0, featureRecord(*p)});
    if (auto* holder = qorQuery<IQorCurveSet>(o->data(), "IQorCurveSet"))
      if (auto* p = qorQuery<IQorPersistable>(holder->curves(), "IQorPersistable"))
        r.curveSet = featureRecord(*p);
    s.objects.push_back(std::move(r));
  }
  for (auto& [name, object] : refs_) s.namedReferences.emplace_back(name, object->id());
  return s;
}

void RefDoc::restore(const DocumentSnapshot& record) {
  logLine("doc.restore " + num(static_cast<int64_t>(record.objects.size())));
  dropAll();
  int32_t maxId = 0;
  std::map<int32_t, RefObject*> byId;
  for (const ObjectRecord& r : record.objects) {
    QorString name(r.name.c_str(), static_cast<int32_t>(r.name.size()));
    IPtr<RefObject> o(new RefObject(this, r.id, r.isGroup ? "" : r.phase, name));
    if (r.phase == "World") {
      if (world_) continue;  // one World only
      world_ = o;
    }
    objects_.push_back(o);
    byId[r.id] = o.get();
    maxId = std::max(maxId, r.id);
    if (r.isGroup) o->makeGroup();
    o->visible_ = r.visible;
    o->prims_ = r.prims;
    o->matrix_ = QorMatrix(r.matrix);
    if (IPtr<IQorUnknown> data(makeHostData(r.phase, r.geometry)); data) {
      // A stored set takes the place of the new empty one before anything sees it.
      auto* holder = qorQuery<IQorCurveSet>(data.get(), "IQorCurveSet");
      if (holder && !r.curveSet.empty())
        if (IPtr<ICurveSet> set(readCurveSetRecord(r.curveSet, nullptr)); set)
          holder->setCurves(set.get());
      o->setData(data.get(), r.geometry);
      nameScriptData(data.get(), o->name());
    }
    if (r.active) active_.push_back(o.get());
    for (const FeatureRecord& f : r.features) {
      IPtr<RefFeatureHost> host(readFeatureRecord(f.record, nullptr));
      if (!host || !o->features_) continue;
      IPtr<IQorUnknown> sub(o->features_->newSubObject(static_cast<IQorFeature*>(host.get())));
      auto* s = dynamic_cast<RefSubObject*>(sub.get());
      s->setName(utf8ToWide(f.name.c_str()));
      s->setVisible(f.visible);
      o->features_->addSubObject(sub.get());
    }
  }
  nextId_ = std::max(record.nextId, maxId + 1);
  if (!world_) {
    world_ = new RefObject(this, nextId_++, "World", QorString(u"World"));
    objects_.insert(objects_.begin(), world_);
  }
  for (const ObjectRecord& r : record.objects) {
    auto child = byId.find(r.id), parent = byId.find(r.parentId);
    if (r.parentId && child != byId.end() && parent != byId.end() && parent->second->group())
      child->second->joinGroup(parent->second);
  }
  for (auto& [name, id] : record.namedReferences)
    if (auto it = byId.find(id); it != byId.end()) refs_[name] = it->second;
}

// ---- builder and remover ----

void RefObjectBuilder::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorObjectBuilder>(this, "RefObjectBuilder", "IQorObjectBuilder", name, out);
}

void RefObjectBuilder::begin(const char* type, const QorString& name, uint8_t active) {
  type_ = type ? type : "";
  name_ = name;
  active_ = active != 0;
  data_.reset();
  logLine("builder.begin " + type_ + " " + logText(name) + " " + num(active));
}

void RefObjectBuilder::setData(IQorUnknown* data) {
  logLine(std::string("builder.setData ") + (data ? data->className() : "null"));
  data_ = data;
}

IQorObject* RefObjectBuilder::finish(int32_t flags) {
  logLine("builder.finish " + num(flags));
  IPtr<IQorUnknown> data = std::move(data_);
  static const std::map<std::string, const char*> kDataOf = {
      {"Polygon", "IQorMesh"}, {"CAD", "IQorMeshExt"},    {"Point", "IQorPoints"},
      {"Scan", "IQorScan"},    {"Curve", "IQorCurveSet"}, {"Feature", nullptr}};
  auto kind = kDataOf.find(type_);
  if (fails_ || kind == kDataOf.end()) return nullptr;
  if (kind->second && !qorQuery<void>(data.get(), kind->second)) return nullptr;
  auto* host = dynamic_cast<RefHostData*>(data.get());
  RefDoc& doc = document();
  RefObject* o = doc.append(type_, name_);
  o->setData(kind->second ? data.get() : nullptr, host ? host->geometry : nullptr);
  if (kind->second) scriptObjectForData(data.get());
  if (active_) doc.addActiveObject(o);
  return o;
}

void RefObjectRemover::queryInterface(const char* name, void** out, uintptr_t) {
  answerOne<IQorObjectRemover>(this, "RefObjectRemover", "IQorObjectRemover", name, out);
}

void RefObjectRemover::remove(IQorObject* object, int32_t a, int32_t b) {
  RefObject* r = document().find(object);
  logLine("remover.remove " + (r ? num(r->id()) : std::string("null")) + " " + num(a) + " " +
          num(b));
  document().remove(r, a != 0, b != 0);
}

RefDoc& document() {
  return immortal<RefDoc>();
}

RefObjectBuilder& objectBuilder() {
  return immortal<RefObjectBuilder>();
}

void registerDocument(RefComponentManager& m) {
  static auto* remover = new RefObjectRemover();
  static auto* converter = new RefMeshConverter();
  m.registerService("IQorDoc", static_cast<IQorDoc*>(&document()));
  m.registerService("IQorObjectBuilder", static_cast<IQorObjectBuilder*>(&objectBuilder()));
  m.registerService("IQorObjectRemover", static_cast<IQorObjectRemover*>(remover));
  m.registerService("IQorAppProxyManager", static_cast<IQorAppProxyManager*>(&proxyManager()));
  m.registerService("mesh::IQorMeshConverter", static_cast<mesh::IQorMeshConverter*>(converter));
  m.registerFactory("IQorCurveSet", [] { return static_cast<IQorCurveSet*>(new RefCurveSet()); });
}

}  // namespace refhost
