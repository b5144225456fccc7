// Properties: bounds and clamping, one row per class (names, printed and cleared forms, the
// rule for an equal value), what a change carries to its subscribers, switching events,
// copies and assignment.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/listing.h"
#include "datamodel/boolproperty.h"
#include "datamodel/doubleproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/qorboundsproperty.h"
#include "datamodel/qorcolorproperty.h"
#include "datamodel/qormaterialproperty.h"
#include "datamodel/qorquaternionproperty.h"
#include "datamodel/qorrectproperty.h"
#include "datamodel/stringproperty.h"
#include "datamodel/transform3dproperty.h"
#include "datamodel/vector2dproperty.h"
#include "datamodel/vector2fproperty.h"
#include "datamodel/vector3dproperty.h"
#include "refhost/host.h"
#include "support.h"

namespace {

using namespace props_test;

// A counted property held for the length of a test.
template <class P>
IPtr<P> make(P* p) {
  return IPtr<P>(p);
}

TEST(IntProperty, BoundsRejectOutsideValuesWithTheClassErrorAndKeepTheValue) {
  auto p = make(new IntProperty("n", 5, false, 0, 10, true));
  Recorder rec;
  ASSERT_TRUE(p->subscribe("property_modified", &rec));
  refhost::log().clear();
  Raised r = raised([&] { p->setValue(11); });
  EXPECT_EQ(r.code, 6);
  EXPECT_EQ(r.text,
            "Error in class : Value for property 'n' is out of bounds '11', value between '0' and "
            "'10' is expected.");
  auto lines = refhost::log().lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].text,
            "[] Value for property 'n' is out of bounds '11', value between '0' and '10' is "
            "expected");
  EXPECT_EQ(raised([&] { p->setValue(-1); }).code, 6);
  EXPECT_TRUE(p->getValue() == 5 && rec.heard.empty());
  // The bounds themselves pass.
  p->setValue(0);
  p->setValue(10);
  EXPECT_TRUE(p->getValue() == 10 && rec.heard.size() == 2u);
}

TEST(IntProperty, NewBoundsClampOnReadAndTheClampedValueThenFiresNothing) {
  auto p = make(new IntProperty("n", 5, true, 0, 10, true));
  Recorder rec;
  p->subscribe("property_modified", &rec);
  EXPECT_TRUE(p->setBounds(7, 10) && p->getValue() == 7);
  p->setValue(7);  // read-only guards live in the map: the owner may always set
  EXPECT_TRUE(rec.heard.empty());
  // 7 was stored: widening the bounds again shows 7, not the old 5.
  p->setBounds(0, 10);
  EXPECT_EQ(p->getValue(), 7);
  // Above the maximum reads as the maximum; setBounds checks nothing.
  p->setBounds(9, 2);
  EXPECT_EQ(p->getValue(), 9);
  // A copy takes the value as read and the bounds.
  p->setBounds(0, 3);
  IPtr<Property> c(p->clone());
  auto* copy = qorQuery<IntProperty>(c.get(), "IntProperty");
  int32_t lo = 0, hi = 0;
  EXPECT_TRUE(copy->getBounds(lo, hi) && copy->getValue() == 3 && lo == 0 && hi == 3);
  // initialize stores all three without a check.
  p->initialize(QorString("z"), 50, false);
  EXPECT_EQ(std::string(p->getName().utf8()), "z");
  EXPECT_TRUE(!p->isReadOnly() && p->getValue() == 3 && rec.heard.empty());
}

TEST(DoubleProperty, NaNPassesInfinityFails) {
  auto p = make(new DoubleProperty("d", 0.0, false, true));
  Recorder rec;
  p->subscribe("property_modified", &rec);
  EXPECT_EQ(raised([&] { p->setValue(std::numeric_limits<double>::infinity()); }).text,
            "Error in class : Value for property 'd' is out of bounds 'inf', value between "
            "'-1.797693e+308' and '1.797693e+308' is expected.");
  // NaN passes the bounds test and reads back as NaN; being unequal to itself, it fires on
  // every set.
  p->setValue(std::nan(""));
  p->setValue(std::nan(""));
  EXPECT_TRUE(std::isnan(p->getValue()) && rec.heard.size() == 2u);
  p->setValue(1e11);
  EXPECT_EQ(printed(p.get()), "1.000000e+11");
  auto q = make(new DoubleProperty("e", 0.5, false, 0.0, 1.0, true));
  EXPECT_EQ(raised([&] { q->setValue(11.0); }).text,
            "Error in class : Value for property 'e' is out of bounds '11.000000', value between "
            "'0.000000' and '1.000000' is expected.");
}

TEST(PropertyFamily, EachClassNamesPrintsClearsAndFiresOnAnEqualValueByItsRule) {
  struct Row {
    IPtr<Property> p;
    const char *cls, *type, *printed, *cleared;  // cleared: null when clearValue keeps it
    size_t firesOnEqual;
  };
  const char* scale2 =
      "[2.00 0.00 0.00 0.00]\n[0.00 2.00 0.00 0.00]\n[0.00 0.00 2.00 0.00]\n"
      "[0.00 0.00 0.00 1.00]\n";
  const char* identity =
      "[1.00 0.00 0.00 0.00]\n[0.00 1.00 0.00 0.00]\n[0.00 0.00 1.00 0.00]\n"
      "[0.00 0.00 0.00 1.00]\n";
  const QorString x("x");
  Row rows[] = {
      {new IntProperty(x, -5, false, true), "IntProperty", "int", "-5", nullptr, 0},
      {new DoubleProperty(x, 2.5, false, true), "DoubleProperty", "double", "2.500000", nullptr, 0},
      {new BoolProperty(x, true, false, true), "BoolProperty", "bool", "1", nullptr, 0},
      {new StringProperty(x, QorString("a%2b"), false, true), "StringProperty", "string", "a%2b",
       nullptr, 1},
      {new Vector3DProperty(x, QorVector(2e38, -2e38, 1.005), false, true), "Vector3DProperty",
       "qorapi.math.Vector3D", "[+INF -INF 1.00]", nullptr, 1},
      {new Vector2DProperty(x, Vector2D(-0.5, 7), false, true), "Vector2DProperty",
       "qorapi.math.Vector2D", "[-0.50 7.00]", "[0.00 0.00]", 1},
      {new Vector2FProperty(x, Vector2F(0.25f, 3e38f), false, true), "Vector2FProperty",
       "qorapi.math.Vector2F", "[0.25 +INF]", "[0.00 0.00]", 1},
      {new Transform3DProperty(x, QorMatrix::uniformScale(2), false, true), "Transform3DProperty",
       "qorapi.math.Transform3D", scale2, identity, 1},
      {new QorBoundsProperty(x, QorBounds(0, 1, 2, 3, 4, 5), false, true), "QorBoundsProperty",
       "qorapi.math.QorBounds", "[0.00 1.00 2.00]\n[3.00 4.00 5.00]\n", nullptr, 1},
      {new QorColorProperty(x, QorColor(1, 0, 0, 1), false, true), "QorColorProperty",
       "qorapi.datamodel.QorColor", "", nullptr, 1},
      {new QorMaterialProperty(x, false, true), "QorMaterialProperty", "qorapi.datamodel.Material",
       "", nullptr, 1},
      {new QorQuaternionProperty(x, false, true), "QorQuaternionProperty",
       "qorapi.datamodel.QorQuaternion", "", nullptr, 1},
      {new QorRectProperty(x, false, true), "QorRectProperty", "qorapi.datamodel.QorRect", "",
       nullptr, 1},
  };
  for (Row& r : rows) {
    SCOPED_TRACE(r.cls);
    Property* p = r.p.get();
    EXPECT_STREQ(p->className(), r.cls);
    EXPECT_STREQ(p->typeName(), r.type);
    for (const char* n : {r.cls, "IQorUnknown", "DataEventSource", "IQorDataEventSource"})
      EXPECT_NE(qorQuery<void>(p, n), nullptr) << n;
    EXPECT_GE(p->memorySize(), static_cast<int64_t>(sizeof(Property)));
    IterStack<QueryEntry> list;
    listInterfaces(p, list);
    std::vector<std::string> classes;
    for (int32_t i = 1; i <= list.count(); ++i)
      if (list.get(i).isClass) classes.push_back(list.get(i).name.c_str());
    EXPECT_EQ(classes, (std::vector<std::string>{r.cls, "Property", "DataEventSource"}));
    EXPECT_EQ(printed(p), r.printed);
    // Setting the value it holds, through assignFrom of a copy.
    Recorder rec;
    p->subscribe("property_modified", &rec);
    p->assignFrom(IPtr<Property>(p->clone()).get());
    EXPECT_EQ(rec.heard.size(), r.firesOnEqual);
    p->clearValue();
    EXPECT_EQ(printed(p), r.cleared ? r.cleared : r.printed);
  }
}

TEST(PropertyEvents, ArgumentsCarryOldAndNewAsPropertiesOfTheFiringClass) {
  auto p = make(new IntProperty("n", 1, false, true));
  Recorder rec;
  p->subscribe("property_modified", &rec);
  p->setValue(2);
  p->setValue(3);
  ASSERT_EQ(rec.heard.size(), 2u);
  const Recorder::Heard& c = rec.heard[0];
  EXPECT_TRUE(c.text == "prop:n|newValue:IntProperty=2|oldValue:IntProperty=1" && c.oldHasEvents &&
              c.args != nullptr && rec.heard[1].oldValue == "2");
  EXPECT_TRUE(c.sender == static_cast<IQorDataEventSource*>(p.get()) &&
              qorQuery<IQorIntProperty>(p.get(), "IQorIntProperty") == p.get());
  auto b = make(new BoolProperty("b", false, false, true));
  b->subscribe("property_modified", &rec);
  b->setValue(true);
  EXPECT_EQ(rec.heard.back().oldValue + rec.heard.back().newValue, "01");
}

TEST(PropertyEvents, AThrowingSubscriberLeavesThePropertyWorking) {
  auto p = make(new StringProperty("n", QorString("1"), false, true));
  Recorder rec, other;
  p->subscribe("property_modified", &rec);
  p->subscribe("property_modified", &other);
  rec.throwNext = true;
  EXPECT_THROW(p->setValue(QorString("2")), int);
  EXPECT_TRUE(printed(p.get()) == "2" && other.heard.empty()) << "the delivery ended there";
  // Unsubscribing now removes at once, and the next change reaches both, with new args.
  p->setValue(QorString("3"));
  ASSERT_TRUE(rec.heard.size() == 2u && other.heard.size() == 1u);
  EXPECT_TRUE(other.heard[0].oldValue == "2" && p->unsubscribe("property_modified", &rec));
  p->setValue(QorString("4"));
  EXPECT_EQ(rec.heard.size(), 2u);
}

TEST(PropertyEvents, SwitchingEventsOffDropsSubscribersForGood) {
  Recorder rec;
  auto p = make(new IntProperty("n", 0, false, true));
  // The event exists before a table.
  EXPECT_EQ(std::vector<bool>(
                {p->unsubscribe("property_modified", &rec), p->unsubscribe("other_event", &rec),
                 p->subscribe("other_event", &rec), p->subscribe("property_modified", &rec),
                 p->setEventsEnabled(true), p->setEventsEnabled(false), p->setEventsEnabled(false),
                 p->eventsEnabled()}),
            std::vector<bool>({true, false, false, true, false, true, false, false}));
  EXPECT_FALSE(p->subscribe("property_modified", &rec) ||
               p->unsubscribe("property_modified", &rec));
  p->setValue(1);
  EXPECT_TRUE(p->setEventsEnabled(true));
  p->setValue(2);  // the new event has no subscribers
  EXPECT_TRUE(rec.heard.empty() && p->subscribe("property_modified", &rec));
  p->setValue(3);
  EXPECT_EQ(rec.heard.size(), 1u);
}

TEST(PropertyCopies, CloneCopiesNameValueAndEventStateButNoSubscribers) {
  auto p = make(new StringProperty("s", QorString("v"), true, true));
  Recorder rec;
  p->subscribe("property_modified", &rec);
  IPtr<Property> c(p->clone());
  EXPECT_EQ(c->refCount(), 1u);  // a new object: the source's count is not copied
  auto* s = qorQuery<StringProperty>(c.get(), "StringProperty");
  EXPECT_EQ(std::string(s->getName().utf8()), "s");
  EXPECT_TRUE(s->isReadOnly() && s->isWriteable() && s->eventsEnabled());
  s->setValue(QorString("w"));
  EXPECT_TRUE(rec.heard.empty() && printed(p.get()) == "v");

  auto quiet = make(new BoolProperty("b", true, false, false));
  EXPECT_FALSE(IPtr<Property>(quiet->clone())->eventsEnabled());
  // The base class clones into a plain Property.
  IPtr<Property> base(new Property(QorString("x"), false, true));
  IPtr<Property> bc(base->clone());
  EXPECT_EQ(std::string(bc->className()) + " " + bc->typeName() + " " + printed(bc.get()),
            "Property Invalid Invalid Value");
  EXPECT_EQ(bc->memorySize(), 0);
}

TEST(PropertyCopies, AssignFromGoesThroughSetValueAndRefusesOtherClasses) {
  auto a = make(new IntProperty("a", 1, false, 0, 5, true));
  auto b = make(new IntProperty("b", 4, false, true));
  auto big = make(new IntProperty("c", 9, false, true));
  Recorder rec;
  a->subscribe("property_modified", &rec);
  a->assignFrom(b.get());
  EXPECT_TRUE(a->getValue() == 4 && rec.heard.size() == 1u);
  EXPECT_EQ(raised([&] { a->assignFrom(big.get()); }).code, 6);  // bounds apply
  auto d = make(new DoubleProperty("d", 1.0, false, true));
  Raised r = raised([&] { a->assignFrom(d.get()); });
  EXPECT_TRUE(r.code == 3 && r.text == "Wrong type (double) for attribute 'a'. Should be int");
  a->assignFrom(nullptr);
  EXPECT_EQ(a->getValue(), 4);
  auto w = make(new Vector3DProperty("w", false, true));
  w->assignFrom(
      IPtr<Vector3DProperty>(new Vector3DProperty("v", QorVector(1, 2, 3), false, true)).get());
  EXPECT_EQ(printed(w.get()), "[1.00 2.00 3.00]");
  EXPECT_EQ(raised([&] { w->assignFrom(a.get()); }).code, 3);
}

}  // namespace
