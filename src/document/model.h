// Model: what a script holds for one entry of the application's model list. Each property
// is routed to a ModelRouting that holds the host object and asks it on every read and
// write, so the model stores nearly nothing. A model without a host object is legal: every
// property then reads a neutral value.
//
// Action and NameChangerAction: objects that react to events of models.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "core/iptr.h"
#include "datamodel/dataobject.h"
#include "document/imodel.h"
#include "document/iqoraction.h"
#include "hostapi/iqordoc.h"
#include "math/qorbounds.h"
#include "math/qorvector.h"

class DataObjectArray;
class DataEventSource;
class DataEventArgs;
class Model;

// What a model's routed properties ask. Without a host object every operation answers its
// neutral value and calls nothing.
class ModelRouting {
 public:
  explicit ModelRouting(IQorObject* object = nullptr) : object(object) {}
  ModelRouting(const ModelRouting&) = delete;
  ModelRouting& operator=(const ModelRouting&) = delete;

  int getVisible() const;        // the host's byte; 0
  void setVisible(int visible);  // passes visible != 0
  QorString getName() const;     // ""
  // The host's name, then the owner's own copy (which fires "name_changed").
  void setName(const QorString& value);
  int getId() const;                    // -1
  QorBounds getBoundingBox() const;     // the empty box, filled by the host
  QorVector getMinBoundingBox() const;  // (3.4028234663852886e38, ...)
  QorVector getMaxBoundingBox() const;  // (-3.4028234663852886e38, ...)
  bool isGroup() const;
  bool isInGroup() const;
  // The kind by the exact name of the host's phase: "World" 1 to "Feature" 7, else 0.
  int getPhase() const;
  // The models of a group's members in one array that each call refills; null for no host
  // or an object that is not a group.
  DataObjectArray* groupModels() const;
  // The model of the group the host object is in, or null.
  Model* groupParent() const;

  IQorObject* object = nullptr;  // raw, no reference
  Model* owner = nullptr;        // the bound model; null in a routing a script made
  mutable IPtr<DataObjectArray> members;
};

namespace qor {
// Holds a model's routing from before the data object is made until after it is gone, so
// that a subscriber of "deleted" still reads neutral values.
struct ModelRoutingHolder {
  ModelRouting* routing_ = new ModelRouting();
  ModelRoutingHolder() = default;
  ModelRoutingHolder(const ModelRoutingHolder&) = delete;
  ModelRoutingHolder& operator=(const ModelRoutingHolder&) = delete;
  ~ModelRoutingHolder() { delete routing_; }
};
}  // namespace qor

class Model : private qor::ModelRoutingHolder,
              public DataObject,
              public IModel,
              public IQorListener {
 public:
  // Unbound; the eleven routed properties in order: boundingBox, minBoundingBox,
  // maxBoundingBox, id, isGroup, isInGroup, groupModels, groupParent, visible, name, type.
  Model();
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  // Forgets the binding in the proxy table (also when unbound) and drops the group array.
  ~Model() override;

  // Answers "Model", "IQorUnknown", "IModel", "IQorListener", then DataObject's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Model"; }
  const char* typeString() override { return "qorapp.brindle.Model"; }

  // ---- IModel ----
  void setHostObject(IQorObject* object) override;
  // Without a host: false / nothing.
  bool getPrimVisible(const QorCString& prim) override;
  void setPrimVisible(const QorCString& prim, bool visible) override;
  IQorObject* hostObject() override { return routing_->object; }
  bool transform(const QorMatrix& matrix) override;

  // ---- IQorListener ----
  // "NameChanged" copies the host's present name into the model; other messages are ignored.
  void notify(const char* message, IQorSubject* subject, void* argument) override;

  // Puts this model's host into `group`'s host; false for a missing host, a group that is
  // not one, a group of groups, or a group that is its own parent.
  bool addToGroup(Model* group);
  // False without a host or a parent.
  bool removeFromGroup();
  // The host's transform, or the identity without a host.
  const QorMatrix& transformation();
  ModelRouting* routing() const { return routing_; }
};

// Base of the actions: registers with the host's database while it lives.
class Action : public IQorAction {
 public:
  Action();
  Action(const Action&) = delete;
  Action& operator=(const Action&) = delete;
  ~Action() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "Action"; }
  int64_t id() override { return id_; }
  // Passes the sender's "DataEventSource" and the arguments' "DataEventArgs" to onEvent.
  void handleEvent(IQorDataEventSource* sender, const QorCString& eventName,
                   IQorDataEventArgs* args, const IterStack<DataObject*>& objects) override;
  // Nothing here.
  virtual void onEvent(DataEventSource* sender, const QorCString& eventName, DataEventArgs* args,
                       const IterStack<DataObject*>& objects);

 protected:
  int64_t id_ = -1;
};

// Copies the "name" of an event's arguments to the one object it is told to modify.
class NameChangerAction : public Action {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "NameChangerAction"; }
  // Nothing unless `objects` holds exactly one non-null element with a property map.
  void handleEvent(IQorDataEventSource* sender, const QorCString& eventName,
                   IQorDataEventArgs* args, const IterStack<DataObject*>& objects) override;
};
