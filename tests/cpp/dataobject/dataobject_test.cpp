// Data objects: replaced properties, copies, class ids, death and its order, listeners,
// the routed property rules, grid and object properties.
#include <gtest/gtest.h>

#include "datamodel/doubleproperty.h"
#include "datamodel/gridproperties.h"
#include "datamodel/intproperty.h"
#include "datamodel/objectproperty.h"
#include "datamodel/routedproperty.h"
#include "datamodel/stringproperty.h"
#include "support.h"

namespace {

using namespace dobj_test;

const QorCString kModified(kBorrow, "property_modified");

TEST(DataObject, ReplacedPropertiesStopReachingItAndCopiesHearOnlyTheirOwn) {
  IPtr<DataObject> o(new DataObject());
  o->set("name", QorString(u"orig"));
  o->set("v", 1.0);
  IPtr<IQorProperty> old(o->getProperty("v"));
  IPtr<IQorProperty> fresh(new DoubleProperty(QorString(u"v"), 5.0, false, true));
  o->replaceProperty("v", fresh.get());
  Recorder r, onCopy;
  o->subscribe(kModified, &r);
  qorQuery<DoubleProperty>(old.get(), "DoubleProperty")->setValue(2.0);
  o->set("v", 3.0);
  EXPECT_EQ(r.heard.size(), 1u) << "only the new property reaches the object";
  // A copy has the values, none of the subscribers, and a routed name of its own.
  IPtr<DataObject> copy(new DataObject(*o));
  EXPECT_EQ(name(copy.get()), "orig");
  copy->set("v", 4.0);
  EXPECT_EQ(r.heard.size(), 1u) << "subscribers are not copied";
  copy->set("name", QorString(u"other"));
  EXPECT_EQ(name(o.get()), "orig");
  copy->subscribe(kModified, &onCopy);
  copy->set("v", 5.0);
  EXPECT_EQ(onCopy.heard.size(), 1u) << "the copy hears its own properties";
  o->unsubscribe(kModified, &r);
  copy->unsubscribe(kModified, &onCopy);
  // The plain class stores the all-zero id; a subclass without one raises.
  EXPECT_FALSE(o->classId().isValid());
  struct Sub : DataObject {
    const char* className() override { return "Sub"; }
  };
  EXPECT_EQ(raised([&] { IPtr<Sub>(new Sub())->classId(); }).text,
            "Error in class Document: Serialization not supported for Sub.");
}

// Records deaths in one shared log.
struct Witness : IQorLifetimeListener, IQorEventSubscriber {
  Witness(std::vector<std::string>* log, std::string tag) : log(log), tag(std::move(tag)) {}
  void subjectDeleted(IQorLifetimeSubject*) override { log->push_back(tag + ":subjectDeleted"); }
  bool handleEvent(IQorDataEventSource* sender, const QorCString& e,
                   IQorDataEventArgs* args) override {
    log->push_back(tag + ":" + e.c_str() + (args ? "" : "(null)"));
    // Holding and letting go of the dying object must not delete it twice.
    auto* o = qorQuery<IQorUnknown>(sender, "IQorUnknown");
    o->addRef();
    o->release();
    return false;
  }
  void queryInterface(const char*, void** out, uintptr_t) override { *out = nullptr; }
  const char* className() override { return "Witness"; }
  std::vector<std::string>* log;
  std::string tag;
};

TEST(DataObject, DeathFiresDeletedFirstThenTellsListenersInOrder) {
  std::vector<std::string> log;
  Witness w1(&log, "w1"), w2(&log, "w2");
  int32_t before = refhost::database().count();
  {
    IPtr<DataObject> o(new DataObject());
    EXPECT_EQ(refhost::database().count(), before + 1);
    o->subscribe(QorCString(kBorrow, "deleted"), &w1);
    for (Witness* w : {&w2, &w1, &w2}) o->addListener(w);
    o->removeListener(&w2);
    EXPECT_EQ(o->listenerCount(), 2);
  }
  EXPECT_EQ(log, (std::vector<std::string>{"w1:deleted(null)", "w2:subjectDeleted",
                                           "w1:subjectDeleted"}));
  EXPECT_EQ(refhost::database().count(), before);
}

// An owner whose values routed properties read and write.
struct Owner {
  int32_t count = 0, sets = 0;
  IPtr<DataObject> held;
  int32_t getCount() const { return count; }
  void setCount(int32_t v) { count = v, ++sets; }
  DataObject* get() const { return held.get(); }
  void put(DataObject* o) { held = o; }
};

TEST(RoutedProperty, ReadsAndWritesTheOwnerThroughItsRouters) {
  Owner owner;
  using RoutedInt = RoutedPropertyTemplate<int32_t, IntProperty, Owner>;
  using GetInt = QorRetMsgRtr_const<Owner, int32_t>;
  IPtr<RoutedInt> p(new RoutedInt(QorString(u"count"), false, new GetInt(&owner, &Owner::getCount),
                                  new QorSingleMsgRtr<Owner, int32_t>(&owner, &Owner::setCount)));
  p->setBounds(0, 10);
  p->setValue(4);
  EXPECT_EQ(owner.count, 4);
  owner.count = 6;
  EXPECT_EQ(p->getValue(), 6) << "reads follow the owner";
  EXPECT_EQ(raised([&] { p->setValue(11); }).text,
            "Error in class : Value for property 'count' is out of bounds '11', value between '0' "
            "and '10' is expected.");
  EXPECT_EQ(owner.sets, 1) << "the bounds check runs before the owner's setter";
  IPtr<Property> frozen(p->clone());
  owner.count = 8;
  EXPECT_EQ(qorQuery<IntProperty>(frozen.get(), "IntProperty")->getValue(), 6)
      << "a clone keeps the value of its moment";
  EXPECT_FALSE(p->isWriteable());
  IPtr<RoutedInt> fixed(
      new RoutedInt(QorString(u"fixed"), false, new GetInt(&owner, &Owner::getCount), nullptr));
  fixed->setValue(1);
  EXPECT_EQ(owner.count, 8) << "without a setter a write has no effect";

  // An object value goes through the owner, and the property shows its present object.
  using Routed = RoutedObjectPropertyTemplate<DataObject, ObjectProperty, Owner>;
  IPtr<Routed> t(new Routed(QorString(u"target"), false,
                            new QorRetMsgRtr_const<Owner, DataObject*>(&owner, &Owner::get),
                            new QorSingleMsgRtr<Owner, DataObject*>(&owner, &Owner::put)));
  EXPECT_EQ(t->getValue(), nullptr);
  IPtr<DataObject> o(new DataObject());
  t->setValue(o.get());
  EXPECT_TRUE(owner.held.get() == o.get() && props_test::printed(t.get()) == "DataObject");
  EXPECT_STREQ(t->typeName(), "qorapi.datamodel.DataObject");
  EXPECT_FALSE(t->isWriteable());
  t->setValue(nullptr);
  EXPECT_EQ(owner.held.get(), nullptr);
}

TEST(GridProperties, ShareTheirPointerFireOnEverySetAndAreLeftOutOfFiles) {
  auto* point = reinterpret_cast<QorGridPoint*>(0x10);
  IPtr<DataObject> o(new DataObject());
  o->set("g", point);
  EXPECT_EQ(o->getGridPoint("g"), point);
  EXPECT_STREQ(o->getProperty("g")->typeName(), "qorapi.datamodel.QorGridPoint");
  Recorder r;
  o->subscribe(kModified, &r);
  o->set("g", point);
  EXPECT_EQ(r.heard.size(), 1u) << "the same pointer still fires";
  o->unsubscribe(kModified, &r);
  IPtr<Property> copy(o->getPropertyObject("g")->clone());
  EXPECT_EQ(qorQuery<QorGridPointProperty>(copy.get(), "QorGridPointProperty")->getValue(), point);
  o->set("i", reinterpret_cast<GridIndex*>(0x20));
  auto* index = qorQuery<GridIndexProperty>(o->getProperty("i"), "GridIndexProperty");
  EXPECT_STREQ(IPtr<Property>(index->clone())->typeName(), "Invalid")
      << "a grid index clones as a plain property";
  EXPECT_EQ(IPtr<GridIndexProperty>(index->copy())->getValue(), index->getValue());
  EXPECT_EQ(raised([&] { o->getInt("g"); }).text,
            "Wrong type (int) for attribute 'g'. Should be QorGridPointProperty");
  IPtr<DataObject> back = loaded(saved(o.get()));
  EXPECT_FALSE(back->hasProperty("g") || back->hasProperty("i"));
}

// A data object with another script type, as features have.
struct Cone : DataObject {
  const char* className() override { return "Cone"; }
  const char* typeString() override { return "qorapi.features.ConeFeature"; }
};

TEST(ObjectProperty, ScriptTypesDecideWhatAPropertyTakes) {
  IPtr<DataObject> o(new DataObject());
  IPtr<Cone> cone(new Cone());
  o->set("any", static_cast<DataObject*>(cone.get()));
  EXPECT_EQ(o->getObject("any"), cone.get()) << "a plain object property takes any object";
  EXPECT_STREQ(o->getProperty("any")->typeName(), "qorapi.features.ConeFeature");
  IPtr<IQorProperty> model(new ModelProperty(QorString(u"model"), false, true));
  o->addProperty(model.get());
  EXPECT_EQ(raised([&] { o->set("model", static_cast<DataObject*>(cone.get())); }).text,
            "Wrong type (qorapi.features.ConeFeature) for attribute 'model'. Should be "
            "qorapp.brindle.Model");
  o->set("model", static_cast<DataObject*>(nullptr));
  o->set("n", int32_t{1});
  EXPECT_EQ(raised([&] { o->set("n", static_cast<DataObject*>(cone.get())); }).text,
            "Wrong type (int) for attribute 'n'. Should be DataObject");
  // A change heard without arguments goes no further and breaks nothing.
  EXPECT_FALSE(o->handleEvent(o->getPropertyObject("n")->eventSender(), kModified, nullptr));
  EXPECT_FALSE(o->handleEvent(nullptr, kModified, nullptr));
}

}  // namespace
