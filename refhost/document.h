// The reference host's live document: the host objects of the model list, their models,
// groups, transforms and sub-objects, the object builder and remover, and the conversion
// to and from the plain document record.
//
// Meaning of the caller-given arguments (every call is written to the call log):
//   objectIterator(2, 0, a, b)  a=1, b=0: the top-level objects that are not "World";
//                               a=1, b=1: every object but "World", group members included;
//                               a=0: every object but "World" (the graphics walks).
//                               Document order in all cases, over a snapshot.
//   activeObjects(kind, 0, out) kind 0: the active objects, "World" when none is active;
//                               any other kind: the active objects without "World".
//   activeObject(1, 1)          the last object made active, "World" when none is.
//   newObject(1, -1)            a new, empty group named "Group"; a group has no phase.
//   remove(object, a, b)        the bound Model always hears setHostObject(null) and is
//                               unbound first; a=1 also unbinds the script object of the
//                               object's data; b=1 removes a group's members with it,
//                               b=0 leaves them in the document as top-level objects.
// The document always holds one "World" object, never counted nor listed by the iterators.
#pragma once
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/bitvector.h"
#include "core/iptr.h"
#include "hostapi/iqorappservices.h"
#include "hostapi/iqordoc.h"
#include "hostapi/iqormodeldata.h"
#include "hostapi/iqorselection.h"
#include "math/qorbounds.h"
#include "math/qormatrix.h"
#include "refhost/docsnapshot.h"

namespace refhost {

class RefComponentManager;
class RefDoc;

// The ordered record of calls that the host's document, its objects and the application
// services received: one line per call, the operation and its arguments ("doc.newObject 1
// -1", "obj3.setName Part"). Keeps the newest kKeep lines.
class CallLog {
 public:
  static constexpr size_t kKeep = 20000;
  void add(std::string line);
  std::vector<std::string> lines();
  void clear();

 private:
  std::mutex lock_;
  std::deque<std::string> lines_;
};
CallLog& callLog();
// A name as the log writes it (UTF-8).
std::string logText(const QorString& text);

// The box of `g`'s positions, each moved by `m` first; the empty box for no positions.
QorBounds geometryBounds(const Geometry& g, const QorMatrix& m);

// A model of a host object: its first operation gives its data. A curve model answers
// "IQorModelSelection" too (its selected curves; setBits is logged with the count).
class RefModel : public IQorModel, public IQorModelSelection {
 public:
  explicit RefModel(IQorUnknown* data, bool curves = false) : data_(data), curves_(curves) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefModel"; }
  IQorUnknown* data() override { return data_.get(); }
  void getBits(BitVector& out) override { out.assign(selected_); }
  void setBits(const BitVector& bits) override;

 private:
  IPtr<IQorUnknown> data_;
  bool curves_;
  BitVector selected_;
};

// A sub-object of any manager: a name, an id, and the selected and visible flags. The
// feature, coordinate-system, selection and correspondence sub-objects add their parts.
class RefSubObject : public IQorSubObject,
                     public IQorFeatureSubObject,
                     public IQorCSysSubObject,
                     public IQorCSysObject,
                     public IQorSetCorrespondence,
                     public IQorSelectionSubObject {
 public:
  enum class Kind { Feature, CSys, Selection, Correspondence };
  RefSubObject(Kind kind, IQorUnknown* hostFeature, int32_t id);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefSubObject"; }
  // IQorSubObject
  void setName(const QorString& name) override;
  int32_t id() override { return id_; }
  uint8_t selected() override { return selected_; }
  uint8_t visible() override { return visible_; }
  void setVisible(uint8_t visible) override;
  // IQorFeatureSubObject; IQorCSysObject shares feature().
  IQorUnknown* feature() override { return feature_.get(); }
  void refresh() override;
  // IQorCSysSubObject
  void reserved0() override {}
  IQorCSysObject* csys() override { return this; }
  void reserved1() override {}

  Kind kind() const { return kind_; }
  const std::string& nameUtf8() const { return name_; }
  void setSelected(bool on) { selected_ = on ? 1 : 0; }
  int32_t refreshes() const { return refreshes_; }
  // IQorSelectionSubObject (answered by a selection): its members.
  const BitVector& bits() override { return bits_; }
  BitVector& memberBits() { return bits_; }

 private:
  Kind kind_;
  IPtr<IQorUnknown> feature_;  // for a coordinate system: the data it was made from
  int32_t id_;
  std::string name_;
  uint8_t selected_ = 0;
  uint8_t visible_ = 1;
  int32_t refreshes_ = 0;
  BitVector bits_;
};

// One sub-object manager of a host object (features, coordinate systems or selections).
class RefObject;
class RefSubObjectMgr : public IQorSubObjectMgr,
                        public IQorFeatureSubObjectMgr,
                        public IQorCSysSubObjectMgr,
                        public IQorSelectionSubObjectMgr {
 public:
  // `owner` holds the manager (not counted).
  RefSubObjectMgr(RefSubObject::Kind kind, RefObject* owner);
  // Features answer "IQorFeatureSubObjectMgr", coordinate systems "IQorCSysSubObjectMgr",
  // selections "IQorSelectionSubObjectMgr"; all answer "IQorSubObjectMgr".
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefSubObjectMgr"; }
  void addSubObject(IQorUnknown* sub) override;
  void removeSubObject(IQorUnknown* sub) override;
  void setSubObjectSelected(int32_t id, uint8_t selected) override;
  IQorSubObjectIter* subObjectIterator() override;
  IQorUnknown* newSubObject(IQorUnknown* hostFeature) override;
  IQorUnknown* newCSysSubObject(IQorUnknown* csysData) override;
  // The host object (IQorObject); null once that object is gone.
  IQorUnknown* owner() override;
  // Logged.
  IQorUnknown* findByName(const QorString& name) override;
  // A new selection sub-object named as the selection's data object, holding a copy of
  // `bits`; logged with the name and the count.
  void addSelection(IQorUnknown* selection, const BitVector& bits) override;

  // A named selection holding `bits` (selections manager).
  RefSubObject* addSelection(const std::string& name, const BitVector& bits);
  // The sub-object of that name, or null (not logged).
  RefSubObject* named(const std::string& name);
  const std::vector<IPtr<RefSubObject>>& subObjects() const { return subs_; }
  // Forgets the owner (the object is being destroyed).
  void orphan() { owner_ = nullptr; }

 private:
  RefSubObject::Kind kind_;
  RefObject* owner_;
  int32_t objectId_;
  int32_t nextId_ = 1;
  std::vector<IPtr<RefSubObject>> subs_;
};

// A host object. Owned by the document (counted); iterators and callers may hold it longer.
class RefObject : public IQorObject, public IQorSubject {
 public:
  RefObject(RefDoc* doc, int32_t id, std::string phase, const QorString& name);
  ~RefObject() override;
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefObject"; }

  uint8_t isGroup() override;
  IQorObject* parent() override;
  // A group joins nothing, an object joins only a group; the object leaves its old group.
  uint8_t addToGroup(IQorObject* group) override;
  void removeFromGroup() override;
  uint8_t isInGroup() override;
  const QorString& name() override { return name_; }
  // Stores the name, then tells the bound Model ("NameChanged").
  void setName(const QorString& name) override;
  void setPrimVisible(const QorCString& prim, uint8_t visible, int32_t redraw) override;
  uint8_t primVisible(const QorCString& prim) override;
  // Null for a group.
  IQorPhase* phase() override;
  uint8_t isOfType(const QorCString& name) override;
  // The box of the geometry under the object's matrix; for a group the union of its
  // members' boxes.
  void bounds(QorBounds* out, int32_t flags) override;
  IQorModel* model(const QorCString& name) override;
  int32_t id() override { return id_; }
  uint8_t visible() override;
  void setVisible(uint8_t visible) override;
  // A correspondence sub-object of that name, else a sub-object of a manager by name.
  IQorUnknown* subObjectByName(const QorCString& name, int32_t flags) override;
  IQorObjectIter* groupMembers() override;
  const QorMatrix& transformMatrix() override { return matrix_; }
  // matrix becomes matrix * current: the object moves by `matrix` after its present place.
  void transform(const QorMatrix& matrix, int32_t flags) override;
  IQorUnknown* subObjectManager(const GUID* id) override;
  // IQorSubject: listeners hear "NameChanged" beside the bound model.
  void subscribe(IQorListener* listener) override;
  void unsubscribe(IQorListener* listener) override;

  // ---- host side ----
  const std::string& phaseName() const { return phase_; }
  bool group() const { return isGroup_; }
  RefObject* parentObject() const { return parent_; }
  const std::vector<RefObject*>& members() const { return members_; }
  const std::shared_ptr<const Geometry>& geometry() const { return geometry_; }
  IQorUnknown* data() const { return data_.get(); }
  // Gives the object its data (and the geometry behind it) and the models of its phase.
  void setData(IQorUnknown* data, std::shared_ptr<const Geometry> geometry);
  void makeGroup() { isGroup_ = true; }
  // Adds a sub-object "DefaultCorrespondence <id>"-style that answers IQorSetCorrespondence.
  RefSubObject* addCorrespondence(const std::string& name);
  RefSubObjectMgr* manager(RefSubObject::Kind kind);
  const std::map<std::string, bool>& prims() const { return prims_; }
  // Tells the bound Model setHostObject(null) and unbinds it; forgets the group links.
  void detach();
  // Leaves the group without logging (used when the document drops objects).
  void leaveGroup();
  void joinGroup(RefObject* group);
  // The document holding the object; null once removed.
  RefDoc* doc() const { return doc_; }
  void orphan() { doc_ = nullptr; }

 private:
  friend class RefDoc;
  std::string tag() const;
  RefDoc* doc_;
  int32_t id_;
  std::string phase_;
  QorString name_;
  bool isGroup_ = false;
  bool visible_ = true;
  RefObject* parent_ = nullptr;
  std::vector<RefObject*> members_;
  std::map<std::string, bool> prims_;
  QorMatrix matrix_;
  std::shared_ptr<const Geometry> geometry_;
  IPtr<IQorUnknown> data_;
  std::map<std::string, IPtr<RefModel>> models_;
  IPtr<RefSubObjectMgr> features_, csys_, selections_;
  std::map<std::string, IPtr<RefSubObject>> named_;
  std::vector<IQorListener*> listeners_;
};

// An iterator over a snapshot of objects, each held counted.
class RefObjectIter : public IQorObjectIter {
 public:
  explicit RefObjectIter(std::vector<IPtr<RefObject>> objects) : objects_(std::move(objects)) {}
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefObjectIter"; }
  void first() override { at_ = 0; }
  void next() override {
    if (at_ < objects_.size()) ++at_;
  }
  uint8_t atEnd() override { return at_ >= objects_.size() ? 1 : 0; }
  int32_t count() override { return static_cast<int32_t>(objects_.size()); }
  IQorObject* current() override { return at_ < objects_.size() ? objects_[at_].get() : nullptr; }

 private:
  std::vector<IPtr<RefObject>> objects_;
  size_t at_ = 0;
};

class RefDoc : public IQorDoc {
 public:
  RefDoc();
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefDoc"; }
  void setNamedReference(const char* ref, IQorObject* object) override;
  IQorObject* namedReference(const char* ref) override;
  void clearNamedReference(const char* ref) override;
  uint8_t isNamedReference(const char* ref, IQorObject* object) override;
  IQorObject* newObject(int32_t kind, int32_t parent) override;
  void setActiveObject(IQorObject* object) override;
  void addActiveObject(IQorObject* object) override;
  IQorObject* activeObject(int32_t a, int32_t b) override;
  IQorObject* objectById(int32_t id) override;
  IQorObject* objectByName(const QorString& name) override;
  void activeObjects(int32_t kind, int32_t flags, IterStack<IQorObject*>* out) override;
  IQorObjectIter* objectIterator(int32_t kind, int32_t flags, uint8_t flagA,
                                 uint8_t flagB) override;

  // ---- host side ----
  DocumentSnapshot snapshot() const;
  // Replaces the whole document by the record; the old objects' Models are unbound first.
  void restore(const DocumentSnapshot& record);
  // A new empty document: just "World".
  void clear();
  // A model object for imported geometry: Points -> "Point", Mesh -> "Polygon", Scan ->
  // "Scan" (a Mesh with `cad`: "CAD"); its data and the data's script object are made as
  // the builder makes them.
  IQorObject* addModelObject(const std::u16string& name, std::shared_ptr<const Geometry> geometry,
                             bool active, bool cad = false);
  // A "Curve" model object holding `set` (the holder takes a reference), with the set's
  // script object made as the builder makes it.
  IQorObject* addCurveObject(const std::u16string& name, IQorUnknown* set, bool active);
  // An object of `phase` appended to the document (no model, no data).
  RefObject* append(const std::string& phase, const QorString& name);
  // Removes an object as the remover's remove(object, a, b) does.
  void remove(RefObject* object, bool unbindData, bool withMembers);
  RefObject* world() const { return world_.get(); }
  RefObject* find(IQorObject* object) const;
  const std::vector<IPtr<RefObject>>& objects() const { return objects_; }

 private:
  // Unbinds every object's Model and empties the document (no World either).
  void dropAll();
  // Makes the script data object of host data that came without one, named as its model.
  void nameScriptData(IQorUnknown* data, const QorString& name);
  std::vector<IPtr<RefObject>> objects_;  // document order, "World" first
  IPtr<RefObject> world_;
  std::vector<RefObject*> active_;
  std::map<std::string, RefObject*> refs_;
  int32_t nextId_ = 1;
};

// Makes host objects in three steps; finish gives null while told to fail.
class RefObjectBuilder : public IQorObjectBuilder {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefObjectBuilder"; }
  void begin(const char* type, const QorString& name, uint8_t active) override;
  void setData(IQorUnknown* data) override;
  IQorObject* finish(int32_t flags) override;
  void setFails(bool on) { fails_ = on; }

 private:
  std::string type_;
  QorString name_;
  bool active_ = false;
  IPtr<IQorUnknown> data_;
  bool fails_ = false;
};

class RefObjectRemover : public IQorObjectRemover {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefObjectRemover"; }
  void remove(IQorObject* object, int32_t a, int32_t b) override;
};

// The host's document, builder and remover: made on first use, never destroyed.
RefDoc& document();
RefObjectBuilder& objectBuilder();
// Registers "IQorDoc", "IQorObjectBuilder", "IQorObjectRemover", "IQorAppProxyManager",
// "IQorCurveSet" (a new holder per fetch) and "mesh::IQorMeshConverter".
void registerDocument(RefComponentManager& manager);

}  // namespace refhost
