// Properties: bounds and clamping, each class's rule for setting an equal value, what a
// change carries to its subscribers, switching events, copies, print and clear forms, and
// the identities the classes answer to.
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
  ChangeRecorder rec;
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
  EXPECT_EQ(p->getValue(), 5);
  EXPECT_TRUE(rec.changes.empty());
  // The bounds themselves pass.
  p->setValue(0);
  p->setValue(10);
  EXPECT_EQ(p->getValue(), 10);
  EXPECT_EQ(rec.changes.size(), 2u);
  // Default bounds are the whole 32-bit range.
  int32_t lo = 0, hi = 0;
  EXPECT_TRUE(make(new IntProperty("m", false))->getBounds(lo, hi));
  EXPECT_EQ(lo, std::numeric_limits<int32_t>::min());
  EXPECT_EQ(hi, std::numeric_limits<int32_t>::max());
}

TEST(IntProperty, NewBoundsClampOnReadAndTheClampedValueThenFiresNothing) {
  auto p = make(new IntProperty("n", 5, false, 0, 10, true));
  ChangeRecorder rec;
  p->subscribe("property_modified", &rec);
  EXPECT_TRUE(p->setBounds(7, 10));
  EXPECT_EQ(p->getValue(), 7);
  p->setValue(7);
  EXPECT_TRUE(rec.changes.empty());
  // 7 was stored: widening the bounds again shows 7, not the old 5.
  p->setBounds(0, 10);
  EXPECT_EQ(p->getValue(), 7);
  // Above the maximum reads as the maximum; setBounds checks nothing.
  p->setBounds(0, 3);
  EXPECT_EQ(p->getValue(), 3);
  p->setBounds(9, 2);
  EXPECT_EQ(p->getValue(), 9);
  // A copy takes the value as read and the bounds.
  p->setBounds(0, 3);
  IPtr<Property> c(p->clone());
  auto* copy = qorQuery<IntProperty>(c.get(), "IntProperty");
  ASSERT_NE(copy, nullptr);
  int32_t lo = 0, hi = 0;
  copy->getBounds(lo, hi);
  EXPECT_EQ(copy->getValue(), 3);
  EXPECT_EQ(lo, 0);
  EXPECT_EQ(hi, 3);
}

TEST(DoubleProperty, NaNPassesInfinityFailsAndPrintFormsFollowTheNumberText) {
  auto p = make(new DoubleProperty("d", 0.0, false, true));
  ChangeRecorder rec;
  p->subscribe("property_modified", &rec);
  Raised r = raised([&] { p->setValue(std::numeric_limits<double>::infinity()); });
  EXPECT_EQ(r.text,
            "Error in class : Value for property 'd' is out of bounds 'inf', value between "
            "'-1.797693e+308' and '1.797693e+308' is expected.");
  // NaN passes the bounds test and reads back as NaN; being unequal to itself, it fires on
  // every set.
  p->setValue(std::nan(""));
  EXPECT_TRUE(std::isnan(p->getValue()));
  p->setValue(std::nan(""));
  EXPECT_EQ(rec.changes.size(), 2u);
  p->setValue(2.5);
  EXPECT_EQ(printed(p.get()), "2.500000");
  p->setValue(1e11);
  EXPECT_EQ(printed(p.get()), "1.000000e+11");
  p->setValue(1e11);
  EXPECT_EQ(rec.changes.size(), 4u);  // the equal value fired nothing
  auto q = make(new DoubleProperty("e", 0.5, false, 0.0, 1.0, true));
  EXPECT_EQ(raised([&] { q->setValue(11.0); }).text,
            "Error in class : Value for property 'e' is out of bounds '11.000000', value between "
            "'0.000000' and '1.000000' is expected.");
}

// How many firings one setValue of `value` on a property holding `value` causes.
template <class P, class V>
size_t firingsOnEqualSet(const V& value) {
  auto p = make(new P(QorString("p"), value, false, true));
  ChangeRecorder rec;
  EXPECT_TRUE(p->subscribe("property_modified", &rec));
  p->setValue(value);
  return rec.changes.size();
}

TEST(PropertyFamily, OnlyIntDoubleAndBoolStaySilentForAnEqualValue) {
  EXPECT_EQ((firingsOnEqualSet<IntProperty, int32_t>(4)), 0u);
  EXPECT_EQ((firingsOnEqualSet<DoubleProperty, double>(4.5)), 0u);
  EXPECT_EQ((firingsOnEqualSet<BoolProperty, bool>(true)), 0u);
  EXPECT_EQ((firingsOnEqualSet<StringProperty>(QorString("same"))), 1u);
  EXPECT_EQ((firingsOnEqualSet<Vector3DProperty>(QorVector(1, 2, 3))), 1u);
  EXPECT_EQ((firingsOnEqualSet<Vector2DProperty>(Vector2D(1, 2))), 1u);
  EXPECT_EQ((firingsOnEqualSet<Vector2FProperty>(Vector2F(1, 2))), 1u);
  EXPECT_EQ((firingsOnEqualSet<Transform3DProperty>(QorMatrix::identity())), 1u);
  EXPECT_EQ((firingsOnEqualSet<QorBoundsProperty>(QorBounds(0, 0, 0, 1, 1, 1))), 1u);
  EXPECT_EQ((firingsOnEqualSet<QorColorProperty>(QorColor())), 1u);
  EXPECT_EQ((firingsOnEqualSet<QorMaterialProperty>(QorMaterial())), 1u);
  EXPECT_EQ((firingsOnEqualSet<QorQuaternionProperty>(QorQuaternion(1, 0, 0, 0))), 1u);
  EXPECT_EQ((firingsOnEqualSet<QorRectProperty>(QorRect(0, 0, 1, 1))), 1u);
  // A changed bool does fire.
  auto b = make(new BoolProperty("b", false, false, true));
  ChangeRecorder rec;
  b->subscribe("property_modified", &rec);
  b->setValue(true);
  ASSERT_EQ(rec.changes.size(), 1u);
  EXPECT_EQ(rec.changes[0].oldValue, "0");
  EXPECT_EQ(rec.changes[0].newValue, "1");
}

TEST(PropertyEvents, ArgumentsCarryOldAndNewAsPropertiesOfTheFiringClassFreshEachTime) {
  auto p = make(new IntProperty("n", 1, false, true));
  ChangeRecorder rec;
  p->subscribe("property_modified", &rec);
  p->setValue(2);
  p->setValue(3);
  ASSERT_EQ(rec.changes.size(), 2u);
  EXPECT_EQ(rec.changes[0].oldClass, "IntProperty");
  EXPECT_EQ(rec.changes[0].oldValue, "1");
  EXPECT_EQ(rec.changes[0].newClass, "IntProperty");
  EXPECT_EQ(rec.changes[0].newValue, "2");
  EXPECT_TRUE(rec.changes[0].oldHasEvents);
  EXPECT_EQ(rec.changes[1].oldValue, "2");
  EXPECT_EQ(rec.changes[0].sender, static_cast<IQorDataEventSource*>(p.get()));
  EXPECT_NE(rec.changes[0].args, nullptr);

  auto s = make(new StringProperty("s", QorString("a"), false, true));
  s->subscribe("property_modified", &rec);
  s->setValue(QorString("b"));
  EXPECT_EQ(rec.changes.back().oldClass, "StringProperty");
  EXPECT_EQ(rec.changes.back().oldValue, "a");
  EXPECT_EQ(rec.changes.back().newValue, "b");
}

TEST(PropertyEvents, AThrowingSubscriberLeavesThePropertyWorking) {
  auto p = make(new IntProperty("n", 1, false, true));
  ChangeRecorder rec, other;
  p->subscribe("property_modified", &rec);
  p->subscribe("property_modified", &other);
  rec.throwNext = true;
  EXPECT_THROW(p->setValue(2), int);
  EXPECT_EQ(p->getValue(), 2);
  EXPECT_TRUE(other.changes.empty());  // the delivery ended at the thrower
  // Unsubscribing now removes at once, and the next change reaches both, with new args.
  p->setValue(3);
  EXPECT_EQ(rec.changes.size(), 2u);
  ASSERT_EQ(other.changes.size(), 1u);
  EXPECT_EQ(other.changes[0].oldValue, "2");
  EXPECT_TRUE(p->unsubscribe("property_modified", &rec));
  p->setValue(4);
  EXPECT_EQ(rec.changes.size(), 2u);
}

TEST(PropertyEvents, SwitchingEventsOffDropsSubscribersForGood) {
  auto quiet = make(new IntProperty("q", 0, false, false));
  ChangeRecorder rec;
  EXPECT_FALSE(quiet->eventsEnabled());
  EXPECT_FALSE(quiet->subscribe("property_modified", &rec));
  quiet->setValue(1);
  EXPECT_FALSE(quiet->setEventsEnabled(false));

  auto p = make(new IntProperty("n", 0, false, true));
  EXPECT_FALSE(p->subscribe("other_event", &rec));
  EXPECT_TRUE(p->subscribe("property_modified", &rec));
  EXPECT_FALSE(p->setEventsEnabled(true));
  EXPECT_TRUE(p->setEventsEnabled(false));
  EXPECT_FALSE(p->eventsEnabled());
  p->setValue(1);
  EXPECT_TRUE(p->setEventsEnabled(true));
  p->setValue(2);  // the new event has no subscribers
  EXPECT_TRUE(rec.changes.empty());
  EXPECT_TRUE(p->subscribe("property_modified", &rec));
  p->setValue(3);
  EXPECT_EQ(rec.changes.size(), 1u);
}

TEST(PropertyCopies, CloneCopiesNameValueAndEventStateButNoSubscribers) {
  auto p = make(new StringProperty("s", QorString("v"), true, true));
  ChangeRecorder rec;
  p->subscribe("property_modified", &rec);
  IPtr<Property> c(p->clone());
  EXPECT_EQ(c->refCount(), 1u);  // a new object: the source's count is not copied
  auto* s = qorQuery<StringProperty>(c.get(), "StringProperty");
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(utf8(s->getName()), "s");
  EXPECT_TRUE(s->isReadOnly());
  EXPECT_TRUE(s->isWriteable());
  EXPECT_TRUE(s->eventsEnabled());
  s->setValue(QorString("w"));
  EXPECT_TRUE(rec.changes.empty());
  EXPECT_EQ(printed(p.get()), "v");

  auto quiet = make(new BoolProperty("b", true, false, false));
  IPtr<Property> qc(quiet->clone());
  EXPECT_FALSE(qc->eventsEnabled());
  EXPECT_TRUE(qorQuery<BoolProperty>(qc.get(), "BoolProperty")->getValue());
  // The base class clones into a plain Property.
  IPtr<Property> base(new Property(QorString("x"), false, true));
  IPtr<Property> bc(base->clone());
  EXPECT_STREQ(bc->className(), "Property");
  EXPECT_STREQ(bc->typeName(), "Invalid");
  EXPECT_EQ(printed(bc.get()), "Invalid Value");
  EXPECT_EQ(bc->memorySize(), 0);
}

TEST(PropertyCopies, AssignFromGoesThroughSetValueAndRefusesOtherClasses) {
  auto a = make(new IntProperty("a", 1, false, 0, 5, true));
  auto b = make(new IntProperty("b", 4, false, true));
  auto big = make(new IntProperty("c", 9, false, true));
  ChangeRecorder rec;
  a->subscribe("property_modified", &rec);
  a->assignFrom(b.get());
  EXPECT_EQ(a->getValue(), 4);
  EXPECT_EQ(rec.changes.size(), 1u);
  EXPECT_EQ(raised([&] { a->assignFrom(big.get()); }).code, 6);  // bounds apply
  auto d = make(new DoubleProperty("d", 1.0, false, true));
  Raised r = raised([&] { a->assignFrom(d.get()); });
  EXPECT_EQ(r.code, 3);
  EXPECT_EQ(r.text, "Wrong type (double) for attribute 'a'. Should be int");
  a->assignFrom(nullptr);
  EXPECT_EQ(a->getValue(), 4);
  auto v = make(new Vector3DProperty("v", QorVector(1, 2, 3), false, true));
  auto w = make(new Vector3DProperty("w", false, true));
  w->assignFrom(v.get());
  EXPECT_EQ(printed(w.get()), "[1.00 2.00 3.00]");
  EXPECT_EQ(raised([&] { w->assignFrom(a.get()); }).code, 3);
}

TEST(PropertyFamily, PrintForms) {
  EXPECT_EQ(printed(make(new IntProperty("i", -5, false, true)).get()), "-5");
  EXPECT_EQ(printed(make(new BoolProperty("b", true, false, true)).get()), "1");
  EXPECT_EQ(printed(make(new BoolProperty("b", false, false, true)).get()), "0");
  EXPECT_EQ(printed(make(new StringProperty("s", QorString("a%2b"), false, true)).get()), "a%2b");
  EXPECT_EQ(printed(make(new Vector3DProperty("v", QorVector(1, 2, 3), false, true)).get()),
            "[1.00 2.00 3.00]");
  EXPECT_EQ(
      printed(make(new Vector3DProperty("v", QorVector(2e38, -2e38, 1.005), false, true)).get()),
      "[+INF -INF 1.00]");
  EXPECT_EQ(printed(make(new Vector2DProperty("v", Vector2D(-0.5, 7), false, true)).get()),
            "[-0.50 7.00]");
  EXPECT_EQ(printed(make(new Vector2FProperty("v", Vector2F(0.25f, 3e38f), false, true)).get()),
            "[0.25 +INF]");
  EXPECT_EQ(printed(make(new Transform3DProperty("t", QorMatrix::identity(), false, true)).get()),
            "[1.00 0.00 0.00 0.00]\n[0.00 1.00 0.00 0.00]\n[0.00 0.00 1.00 0.00]\n"
            "[0.00 0.00 0.00 1.00]\n");
  EXPECT_EQ(printed(make(new QorBoundsProperty("b", QorBounds(), false, true)).get()),
            "[+INF +INF +INF]\n[-INF -INF -INF]\n");
  EXPECT_EQ(
      printed(make(new QorBoundsProperty("b", QorBounds(0, 1, 2, 3, 4, 5), false, true)).get()),
      "[0.00 1.00 2.00]\n[3.00 4.00 5.00]\n");
  EXPECT_EQ(printed(make(new QorColorProperty("c", QorColor(1, 0, 0, 1), false, true)).get()), "");
  EXPECT_EQ(printed(make(new QorMaterialProperty("m", false, true)).get()), "");
  EXPECT_EQ(printed(make(new QorQuaternionProperty("q", false, true)).get()), "");
  EXPECT_EQ(printed(make(new QorRectProperty("r", false, true)).get()), "");
}

TEST(PropertyFamily, ClearValueZeroesOnlyTheTwoDVectorsAndResetsTheMatrix) {
  auto v3 = make(new Vector3DProperty("v", QorVector(1, 2, 3), false, true));
  v3->clearValue();
  EXPECT_EQ(printed(v3.get()), "[1.00 2.00 3.00]");
  auto v2 = make(new Vector2DProperty("v", Vector2D(1, 2), false, true));
  v2->clearValue();
  EXPECT_EQ(printed(v2.get()), "[0.00 0.00]");
  auto f2 = make(new Vector2FProperty("v", Vector2F(1, 2), false, true));
  f2->clearValue();
  EXPECT_EQ(printed(f2.get()), "[0.00 0.00]");
  auto t = make(new Transform3DProperty("t", QorMatrix::uniformScale(2), false, true));
  t->clearValue();
  QorMatrix m;
  t->getValue(m);
  EXPECT_TRUE(m.isIdentity());
  auto i = make(new IntProperty("i", 3, false, true));
  auto s = make(new StringProperty("s", QorString("x"), false, true));
  i->clearValue();
  s->clearValue();
  EXPECT_EQ(i->getValue(), 3);
  EXPECT_EQ(printed(s.get()), "x");
}

TEST(PropertyFamily, TypeNamesIdentitiesAndTheReadOnlyOwnerPath) {
  struct Row {
    IPtr<Property> p;
    const char* cls;
    const char* iface;
    const char* type;
  };
  Row rows[] = {
      {new IntProperty("x", false), "IntProperty", "IQorIntProperty", "int"},
      {new DoubleProperty("x", false), "DoubleProperty", "IQorDoubleProperty", "double"},
      {new BoolProperty("x", false, true), "BoolProperty", "IQorBoolProperty", "bool"},
      {new StringProperty("x", false, true), "StringProperty", "IQorStringProperty", "string"},
      {new Vector3DProperty("x", false, true), "Vector3DProperty", "IQorVectorProperty",
       "qorapi.math.Vector3D"},
      {new Vector2DProperty("x", false, true), "Vector2DProperty", "IQorVector2DProperty",
       "qorapi.math.Vector2D"},
      {new Vector2FProperty("x", false, true), "Vector2FProperty", "IQorVector2FProperty",
       "qorapi.math.Vector2F"},
      {new Transform3DProperty("x", false, true), "Transform3DProperty", "IQorMatrixProperty",
       "qorapi.math.Transform3D"},
      {new QorBoundsProperty("x", false, true), "QorBoundsProperty", "IQorBoundsProperty",
       "qorapi.math.QorBounds"},
      {new QorColorProperty("x", false, true), "QorColorProperty", "IQorColorProperty",
       "qorapi.datamodel.QorColor"},
      {new QorMaterialProperty("x", false, true), "QorMaterialProperty", "IQorMaterialProperty",
       "qorapi.datamodel.Material"},
      {new QorQuaternionProperty("x", false, true), "QorQuaternionProperty",
       "IQorQuaternionProperty", "qorapi.datamodel.QorQuaternion"},
      {new QorRectProperty("x", false, true), "QorRectProperty", "IQorRectProperty",
       "qorapi.datamodel.QorRect"},
  };
  for (Row& r : rows) {
    SCOPED_TRACE(r.cls);
    EXPECT_STREQ(r.p->typeName(), r.type);
    EXPECT_STREQ(r.p->className(), r.cls);
    for (const char* n : {r.cls, r.iface, "Property", "IQorProperty", "IQorWriteable",
                          "DataEventSource", "IQorDataEventSource", "IQorUnknown"})
      EXPECT_NE(qorQuery<void>(r.p.get(), n), nullptr) << n;
    EXPECT_EQ(qorQuery<void>(r.p.get(), "PropertyMap"), nullptr);
    EXPECT_GT(r.p->memorySize(), static_cast<int64_t>(sizeof(Property)) - 1);
    IterStack<QueryEntry> list;
    listInterfaces(r.p.get(), list);
    std::vector<std::string> classes;
    for (int32_t i = 1; i <= list.count(); ++i)
      if (list.get(i).isClass) classes.push_back(list.get(i).name.c_str());
    EXPECT_EQ(classes, (std::vector<std::string>{r.cls, "Property", "DataEventSource"}));
  }
  // The owner may always set a read-only property directly; initialize changes all three.
  auto ro = make(new IntProperty("r", 1, true, true));
  ro->setValue(2);
  EXPECT_EQ(ro->getValue(), 2);
  ro->initialize(QorString("z"), 50, false);
  EXPECT_EQ(utf8(ro->getName()), "z");
  EXPECT_FALSE(ro->isReadOnly());
  EXPECT_EQ(ro->getValue(), 50);
}

}  // namespace
