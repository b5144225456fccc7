// Data objects: how a property's change becomes the object's, the routed name, death and
// its order, listeners, copies and the routed property rules.
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

TEST(DataObject, PropertyChangeFiresThePropertyThenTheObjectWithOneArgumentObject) {
  IPtr<DataObject> o(new DataObject());
  o->set("x", int32_t{1});
  Recorder onProperty, onObject;
  IQorProperty* x = o->getProperty("x");
  ASSERT_TRUE(x->subscribe(kModified, &onProperty));
  ASSERT_TRUE(o->subscribe(kModified, &onObject));
  o->set("x", int32_t{2});
  ASSERT_EQ(onProperty.heard.size(), 1u);
  ASSERT_EQ(onObject.heard.size(), 1u);
  EXPECT_EQ(onProperty.heard[0].args, onObject.heard[0].args);
  EXPECT_EQ(onObject.heard[0].sender, o->eventSender());
  EXPECT_EQ(onObject.heard[0].keys,
            (std::vector<std::string>{"name", "newValue", "oldValue", "x"}));
  EXPECT_EQ(onObject.heard[0].nameValue, "x");
  EXPECT_EQ(onObject.heard[0].properties[3], x) << "the changed property itself";
  o->set("x", int32_t{2});
  EXPECT_EQ(onObject.heard.size(), 1u) << "the same int fires nothing";
  x->unsubscribe(kModified, &onProperty);
  o->unsubscribe(kModified, &onObject);
}

TEST(DataObject, NameGoesThroughTheRoutedPropertyAndFiresNameChanged) {
  IPtr<DataObject> o(new DataObject());
  o->addEvent(QorCString(kBorrow, "name_changed"));
  Recorder r;
  o->subscribe(QorCString(kBorrow, "name_changed"), &r);
  o->subscribe(kModified, &r);
  o->set("name", QorString(u"Part"));
  EXPECT_EQ(name(o.get()), "Part");
  EXPECT_EQ(std::string(o->getString("name").utf8()), "Part");
  ASSERT_EQ(r.heard.size(), 1u);
  EXPECT_EQ(r.heard[0].event, "name_changed");
  EXPECT_EQ(r.heard[0].keys, std::vector<std::string>{"name"});
  EXPECT_FALSE(o->getPropertyObject("name")->isWriteable()) << "routed values are not stored";
  std::string events = o->eventNames();
  EXPECT_EQ(events.size(),
            std::string("property_modified\ndeleted\nupdated\nname_changed\n").size());
  EXPECT_NE(events.find("name_changed\n"), std::string::npos);
}

TEST(DataObject, ReplacedPropertyNoLongerReachesTheObject) {
  IPtr<DataObject> o(new DataObject());
  o->set("v", 1.0);
  IPtr<IQorProperty> old(o->getProperty("v"));
  IPtr<IQorProperty> fresh(new DoubleProperty(QorString(u"v"), 5.0, false, true));
  o->replaceProperty("v", fresh.get());
  Recorder r;
  o->subscribe(kModified, &r);
  qorQuery<DoubleProperty>(old.get(), "DoubleProperty")->setValue(2.0);
  EXPECT_TRUE(r.heard.empty());
  o->set("v", 3.0);
  EXPECT_EQ(r.heard.size(), 1u);
  o->unsubscribe(kModified, &r);
}

// Records deaths in one shared log.
struct Witness : IQorLifetimeListener, IQorEventSubscriber {
  Witness(std::vector<std::string>* log, std::string tag) : log(log), tag(std::move(tag)) {}
  void subjectDeleted(IQorLifetimeSubject*) override { log->push_back(tag + ":subjectDeleted"); }
  bool handleEvent(IQorDataEventSource* sender, const QorCString& e,
                   IQorDataEventArgs* args) override {
    log->push_back(tag + ":" + e.c_str() + (args ? "" : "(null)"));
    // Holding and letting go of the dying object must not delete it twice.
    if (auto* o = qorQuery<IQorUnknown>(sender, "IQorUnknown")) {
      o->addRef();
      o->release();
    }
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
    o->addListener(&w2);
    o->addListener(&w1);
    o->addListener(&w2);
    o->removeListener(&w2);
    EXPECT_EQ(o->listenerCount(), 2);
  }
  EXPECT_EQ(log, (std::vector<std::string>{"w1:deleted(null)", "w2:subjectDeleted",
                                           "w1:subjectDeleted"}));
  EXPECT_EQ(refhost::database().count(), before);
}

TEST(DataObject, CopyHasTheValuesNoSubscribersAndItsOwnRoutedName) {
  IPtr<DataObject> o(new DataObject());
  o->set("name", QorString(u"orig"));
  o->set("k", int32_t{3});
  Recorder r;
  o->getProperty("k")->subscribe(kModified, &r);
  IPtr<DataObject> copy(new DataObject(*o));
  EXPECT_EQ(name(copy.get()), "orig");
  EXPECT_EQ(copy->getInt("k"), 3);
  copy->set("k", int32_t{4});
  EXPECT_TRUE(r.heard.empty()) << "subscribers are not copied";
  copy->set("name", QorString(u"other"));
  EXPECT_EQ(name(o.get()), "orig") << "the copy's name property routes to the copy";
  EXPECT_EQ(name(copy.get()), "other");
  Recorder onCopy;
  copy->subscribe(kModified, &onCopy);
  copy->set("k", int32_t{5});
  EXPECT_EQ(onCopy.heard.size(), 1u) << "the copy hears its own properties";
  o->getProperty("k")->unsubscribe(kModified, &r);
  copy->unsubscribe(kModified, &onCopy);
}

TEST(DataObject, ClassIdIsZeroForThePlainClassAndRaisesForSubclassesWithout) {
  IPtr<DataObject> o(new DataObject());
  EXPECT_FALSE(o->classId().isValid());
  struct Sub : DataObject {
    const char* className() override { return "Sub"; }
  };
  IPtr<Sub> s(new Sub());
  EXPECT_EQ(raised([&] { s->classId(); }),
            "Error in class Document: Serialization not supported for Sub.");
}

// An owner whose value a routed property reads and writes.
struct Owner {
  int32_t count = 0;
  int32_t sets = 0;
  QorString label;
  int32_t getCount() const { return count; }
  void setCount(int32_t v) {
    count = v;
    ++sets;
  }
  const QorString& getLabel() const { return label; }
  void setLabel(const QorString& v) {
    label = v;
    ++sets;
  }
};

TEST(RoutedProperty, ReadsAndWritesTheOwnerThroughItsRouters) {
  Owner owner;
  using RoutedInt = RoutedPropertyTemplate<int32_t, IntProperty, Owner>;
  IPtr<RoutedInt> p(new RoutedInt(QorString(u"count"), false,
                                  new QorRetMsgRtr_const<Owner, int32_t>(&owner, &Owner::getCount),
                                  new QorSingleMsgRtr<Owner, int32_t>(&owner, &Owner::setCount)));
  p->setBounds(0, 10);
  p->setValue(4);
  EXPECT_EQ(owner.count, 4);
  owner.count = 6;
  EXPECT_EQ(p->getValue(), 6) << "reads follow the owner";
  EXPECT_EQ(raised([&] { p->setValue(11); }),
            "Error in class : Value for property 'count' is out of bounds '11', value between '0' "
            "and '10' is expected.");
  EXPECT_EQ(owner.sets, 1) << "the bounds check runs before the owner's setter";
  IPtr<Property> frozen(p->clone());
  owner.count = 8;
  EXPECT_EQ(qorQuery<IntProperty>(frozen.get(), "IntProperty")->getValue(), 6)
      << "a clone keeps the value of its moment";
  EXPECT_FALSE(p->isWriteable());

  using RoutedText = RoutedPropertyTemplate<QorString, StringProperty, Owner>;
  IPtr<RoutedText> t(new RoutedText(
      QorString(u"label"), false,
      new QorRetMsgRtr_const<Owner, QorString, void*, void*, void*, void*, const QorString&>(
          &owner, &Owner::getLabel),
      new QorSingleMsgRtr<Owner, QorString, const QorString&>(&owner, &Owner::setLabel)));
  t->setValue(QorString(u"a"));
  t->setValue(QorString(u"a"));
  EXPECT_EQ(owner.sets, 3) << "no comparison on the routed path";
  QorString printed;
  t->printValue(QorString(), printed);
  EXPECT_EQ(std::string(printed.utf8()), "a");

  IPtr<RoutedInt> readOnlyValue(
      new RoutedInt(QorString(u"fixed"), false,
                    new QorRetMsgRtr_const<Owner, int32_t>(&owner, &Owner::getCount), nullptr));
  readOnlyValue->setValue(1);
  EXPECT_EQ(owner.count, 8) << "without a setter a write has no effect";
}

// An owner holding a data object that a routed object property reaches.
struct Holder {
  IPtr<DataObject> held;
  DataObject* get() const { return held.get(); }
  void put(DataObject* o) { held = o; }
};

TEST(RoutedProperty, ObjectValuesGoThroughTheOwnerAndShowItsPresentObject) {
  Holder h;
  using Routed = RoutedObjectPropertyTemplate<DataObject, ObjectProperty, Holder>;
  IPtr<Routed> p(new Routed(QorString(u"target"), false,
                            new QorRetMsgRtr_const<Holder, DataObject*>(&h, &Holder::get),
                            new QorSingleMsgRtr<Holder, DataObject*>(&h, &Holder::put)));
  EXPECT_EQ(p->getValue(), nullptr);
  IPtr<DataObject> o(new DataObject());
  p->setValue(o.get());
  EXPECT_EQ(h.held.get(), o.get());
  QorString printed;
  p->printValue(QorString(), printed);
  EXPECT_EQ(std::string(printed.utf8()), "DataObject");
  EXPECT_STREQ(p->typeName(), "qorapi.datamodel.DataObject");
  EXPECT_FALSE(p->isWriteable());
  p->setValue(nullptr);
  EXPECT_EQ(h.held.get(), nullptr);
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
  IPtr<Property> plain(index->clone());
  EXPECT_STREQ(plain->typeName(), "Invalid") << "a grid index clones as a plain property";
  IPtr<GridIndexProperty> shared(index->copy());
  EXPECT_EQ(shared->getValue(), index->getValue());
  EXPECT_EQ(raised([&] { o->getInt("g"); }),
            "Wrong type (int) for attribute 'g'. Should be QorGridPointProperty");
  Bytes file = saved(o.get());
  IPtr<DataObject> back = loaded(file);
  EXPECT_FALSE(back->hasProperty("g"));
  EXPECT_FALSE(back->hasProperty("i"));
}

}  // namespace

namespace {

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
  EXPECT_EQ(raised([&] { o->set("model", static_cast<DataObject*>(cone.get())); }),
            "Wrong type (qorapi.features.ConeFeature) for attribute 'model'. Should be "
            "qorapp.brindle.Model");
  o->set("model", static_cast<DataObject*>(nullptr));
  o->set("n", int32_t{1});
  EXPECT_EQ(raised([&] { o->set("n", static_cast<DataObject*>(cone.get())); }),
            "Wrong type (int) for attribute 'n'. Should be DataObject");
  // A change heard without arguments goes no further and breaks nothing.
  EXPECT_FALSE(o->handleEvent(o->getPropertyObject("n")->eventSender(), kModified, nullptr));
  EXPECT_FALSE(o->handleEvent(nullptr, kModified, nullptr));
}

}  // namespace
