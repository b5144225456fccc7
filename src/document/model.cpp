#include "document/model.h"

#include "core/listing.h"
#include "datamodel/boolproperty.h"
#include "datamodel/dataobjectarray.h"
#include "datamodel/dataobjectarrayproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/qorboundsproperty.h"
#include "datamodel/routedproperty.h"
#include "datamodel/stringproperty.h"
#include "datamodel/vector3dproperty.h"
#include "document/proxyfor.h"
#include "hostapi/iqorappproxymanager.h"
#include "hostapi/iqordatabase.h"
#include "math/qormatrix.h"

namespace {

// The proxy table that gives a model for its host object, or null.
IQorProxyTable* objectTable() {
  static SPtr<IQorAppProxyManager> manager("IQorAppProxyManager");
  static const QorCString name(kBorrow, "IQorObject");
  return manager ? manager->proxyTable(name) : nullptr;
}

IQorDatabase* database() {
  static SPtr<IQorDatabase> db("IQorDatabase");
  return db.get();
}

// The model of a host object: the table's, else a new one bound to it.
Model* modelOf(IQorObject* host) {
  if (Model* m = qorQuery<Model>(proxyForObject(host), "Model")) return m;
  auto* m = new Model();
  m->setHostObject(host);
  return m;
}

// A read-only array property whose value the routing gives.
class RoutedArrayProperty : public DataObjectArrayProperty {
 public:
  using Getter = QorRetMsgBase<DataObjectArray*, void*, void*, void*, void*>;
  RoutedArrayProperty(const QorString& name, Getter* getter)
      : DataObjectArrayProperty(name, true, true), getter_(getter) {
    setWriteable(false);
  }
  RoutedArrayProperty(const RoutedArrayProperty&) = delete;
  RoutedArrayProperty& operator=(const RoutedArrayProperty&) = delete;
  ~RoutedArrayProperty() override { delete getter_; }
  DataObjectArray* getValue() override { return getter_->call(); }
  void setValue(DataObjectArray*) override {}

 private:
  Getter* getter_;
};

template <class R>
using Get = QorRetMsgRtr_const<ModelRouting, R>;

template <class P>
void add(Model* model, P* property) {
  IPtr<IQorProperty> held(property);
  model->addProperty(held.get());
}

constexpr const char* kPhases[] = {"World", "Point", "Scan", "Polygon", "Curve", "CAD", "Feature"};

}  // namespace

// ---- ModelRouting ----

int ModelRouting::getVisible() const {
  return object ? object->visible() : 0;
}

void ModelRouting::setVisible(int visible) {
  if (object) object->setVisible(visible != 0 ? 1 : 0);
}

QorString ModelRouting::getName() const {
  return object ? object->name() : QorString();
}

void ModelRouting::setName(const QorString& value) {
  if (object) object->setName(value);
  if (owner) static_cast<IQorDataObject*>(owner)->setName(value);
}

int ModelRouting::getId() const {
  return object ? object->id() : -1;
}

QorBounds ModelRouting::getBoundingBox() const {
  QorBounds b;
  if (object) object->bounds(&b, 1);
  return b;
}

QorVector ModelRouting::getMinBoundingBox() const {
  QorBounds b = getBoundingBox();
  return QorVector(b.minX, b.minY, b.minZ);
}

QorVector ModelRouting::getMaxBoundingBox() const {
  QorBounds b = getBoundingBox();
  return QorVector(b.maxX, b.maxY, b.maxZ);
}

bool ModelRouting::isGroup() const {
  return object && object->isGroup();
}

bool ModelRouting::isInGroup() const {
  return object && object->isInGroup();
}

int ModelRouting::getPhase() const {
  IQorPhase* phase = object ? object->phase() : nullptr;
  if (!phase) return 0;
  const QorCString& name = phase->name();
  for (int i = 0; i < static_cast<int>(std::size(kPhases)); ++i)
    if (name == kPhases[i]) return i + 1;
  return 0;
}

DataObjectArray* ModelRouting::groupModels() const {
  if (!object || !object->isGroup()) return nullptr;
  IPtr<IQorObjectIter> it(object->groupMembers());
  if (members)
    members->clear();
  else
    members = new DataObjectArray(it ? it->count() : 0);
  if (it)
    for (it->first(); !it->atEnd(); it->next()) members->append(modelOf(it->current()));
  return members.get();
}

Model* ModelRouting::groupParent() const {
  if (!object || !object->isInGroup()) return nullptr;
  IQorObject* parent = object->parent();
  return parent ? modelOf(parent) : nullptr;
}

// ---- Model ----

Model::Model() {
  ModelRouting* r = routing_;
  add(this, new RoutedPropertyTemplate<QorBounds, QorBoundsProperty, ModelRouting>(
                QorString(u"boundingBox"), true,
                new Get<QorBounds>(r, &ModelRouting::getBoundingBox), nullptr));
  add(this, new RoutedPropertyTemplate<QorVector, Vector3DProperty, ModelRouting>(
                QorString(u"minBoundingBox"), true,
                new Get<QorVector>(r, &ModelRouting::getMinBoundingBox), nullptr));
  add(this, new RoutedPropertyTemplate<QorVector, Vector3DProperty, ModelRouting>(
                QorString(u"maxBoundingBox"), true,
                new Get<QorVector>(r, &ModelRouting::getMaxBoundingBox), nullptr));
  add(this, new RoutedPropertyTemplate<int32_t, IntProperty, ModelRouting>(
                QorString(u"id"), true, new Get<int32_t>(r, &ModelRouting::getId), nullptr));
  add(this, new RoutedPropertyTemplate<bool, BoolProperty, ModelRouting>(
                QorString(u"isGroup"), true, new Get<bool>(r, &ModelRouting::isGroup), nullptr));
  add(this,
      new RoutedPropertyTemplate<bool, BoolProperty, ModelRouting>(
          QorString(u"isInGroup"), true, new Get<bool>(r, &ModelRouting::isInGroup), nullptr));
  add(this, new RoutedArrayProperty(QorString(u"groupModels"),
                                    new Get<DataObjectArray*>(r, &ModelRouting::groupModels)));
  add(this, new RoutedObjectPropertyTemplate<Model, ModelProperty, ModelRouting>(
                QorString(u"groupParent"), true, new Get<Model*>(r, &ModelRouting::groupParent),
                nullptr, "Model"));
  add(this, new RoutedPropertyTemplate<int32_t, IntProperty, ModelRouting>(
                QorString(u"visible"), false, new Get<int32_t>(r, &ModelRouting::getVisible),
                new QorSingleMsgRtr<ModelRouting, int32_t, int>(r, &ModelRouting::setVisible)));
  // The data object's own "name" gives way to the routed one.
  detachProperty("name");
  removeProperty(QorString(u"name"));
  add(this, new RoutedPropertyTemplate<QorString, StringProperty, ModelRouting>(
                QorString(u"name"), false, new Get<QorString>(r, &ModelRouting::getName),
                new QorSingleMsgRtr<ModelRouting, QorString, const QorString&>(
                    r, &ModelRouting::setName)));
  add(this, new RoutedPropertyTemplate<int32_t, IntProperty, ModelRouting>(
                QorString(u"type"), true, new Get<int32_t>(r, &ModelRouting::getPhase), nullptr));
}

Model::~Model() {
  if (IQorProxyTable* table = objectTable()) table->unbind(routing_->object);
  routing_->members.reset();
  routing_->object = nullptr;
  routing_->owner = nullptr;
}

void Model::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass("Model", out);
    walkAddInterface("IModel", out);
    walkAddInterface("IQorListener", out);
    DataObject::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, "Model"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IModel"))
    *out = static_cast<IModel*>(this);
  else if (qorNameIs(name, "IQorListener"))
    *out = static_cast<IQorListener*>(this);
  else
    DataObject::queryInterface(name, out, reserved);
}

void Model::setHostObject(IQorObject* object) {
  routing_->object = object;
  routing_->owner = this;
  if ((flags() & kOwnEvents) != 0) addEvent(QorCString(kBorrow, "name_changed"));
  if (IQorProxyTable* table = objectTable()) table->bind(static_cast<IModel*>(this), object);
}

bool Model::getPrimVisible(const QorCString& prim) {
  return routing_->object && routing_->object->primVisible(prim);
}

void Model::setPrimVisible(const QorCString& prim, bool visible) {
  if (routing_->object) routing_->object->setPrimVisible(prim, visible ? 1 : 0, 1);
}

bool Model::transform(const QorMatrix& matrix) {
  if (!routing_ || !routing_->object) return false;
  routing_->object->transform(matrix, 0);
  return true;
}

void Model::notify(const char* message, IQorSubject*, void*) {
  if (message && qorNameIs(message, "NameChanged") && routing_->object)
    static_cast<IQorDataObject*>(this)->setName(routing_->object->name());
}

bool Model::addToGroup(Model* group) {
  IQorObject* self = routing_->object;
  if (!group || !self) return false;
  IQorObject* g = group->hostObject();
  if (!g || !g->isGroup()) return false;
  if (self->isGroup()) return false;
  if (g->parent() == g) return false;
  return self->addToGroup(g) != 0;
}

bool Model::removeFromGroup() {
  IQorObject* self = routing_->object;
  if (!self || !self->parent()) return false;
  self->removeFromGroup();
  return true;
}

const QorMatrix& Model::transformation() {
  return routing_->object ? routing_->object->transformMatrix() : QorMatrix::identity();
}

// ---- actions ----

Action::Action() {
  if (IQorDatabase* db = database()) db->addAction(this);
}

Action::~Action() {
  if (IQorDatabase* db = database()) db->removeAction(this);
}

void Action::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "Action"))
    *out = this;
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
  else if (qorNameIs(name, "IQorAction"))
    *out = static_cast<IQorAction*>(this);
}

void Action::handleEvent(IQorDataEventSource* sender, const QorCString& eventName,
                         IQorDataEventArgs* args, const IterStack<DataObject*>& objects) {
  onEvent(qorQuery<DataEventSource>(sender, "DataEventSource"), eventName,
          qorQuery<DataEventArgs>(args, "DataEventArgs"), objects);
}

void Action::onEvent(DataEventSource*, const QorCString&, DataEventArgs*,
                     const IterStack<DataObject*>&) {}

void NameChangerAction::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (out && name && qorNameIs(name, "NameChangerAction"))
    *out = this;
  else
    Action::queryInterface(name, out, reserved);
}

void NameChangerAction::handleEvent(IQorDataEventSource*, const QorCString&,
                                    IQorDataEventArgs* args,
                                    const IterStack<DataObject*>& objects) {
  if (objects.count() != 1 || !objects.get(1)) return;
  auto* target = qorQuery<IQorPropertyMap>(objects.get(1), "IQorPropertyMap");
  if (!target) return;
  auto* source = qorQuery<IQorPropertyMap>(args, "IQorPropertyMap");
  if (!source) return;
  target->set("name", source->getString("name"));
}
