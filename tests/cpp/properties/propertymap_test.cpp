// The property map with the warning about missing names off: dynamic creation by value
// type, the read-only and type guards with their exact texts and codes, the two
// conversions, getter defaults, key order, replacing, swapping and assigning, copies,
// descriptions through the class lineage, the two documentation forms, and the argument
// objects of the reference host.
#include "datamodel/propertymap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <set>
#include <string>

#include "base/wexrealloc.h"
#include "core/listing.h"
#include "core/locator.h"
#include "datamodel/boolproperty.h"
#include "datamodel/descriptions.h"
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
#include "support.h"

namespace {

using namespace props_test;

// A map subclass with its own class name, recording detaches.
class Shape : public PropertyMap {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override {
    if (!name) walkEnterClass("Shape", out), walkAddInterface("IQorUnknown", out);
    PropertyMap::queryInterface(name, out, reserved);
    if (!name) walkLeaveClass(out);
  }
  const char* className() override { return "Shape"; }
  void detachProperty(const char* name) override { detached.push_back(name); }
  std::vector<std::string> detached;
};

// Records assertion failures instead of ending the process.
struct Asserts {
  Asserts() { wexSetAssertCallback(&record, this); }
  ~Asserts() { wexSetAssertCallback(nullptr, nullptr); }
  static int record(void* self, const char* what, const char* file, int32_t line) {
    auto* me = static_cast<Asserts*>(self);
    me->seen.push_back(std::string(what) + "@" + file + ":" + std::to_string(line));
    return 0;
  }
  std::vector<std::string> seen;
};

TEST(PropertyMapSet, MissingNamesReadAsDefaultsAndBecomePropertiesOfTheValuesClass) {
  PropertyMap m;
  EXPECT_TRUE(m.flags() == 28 && m.getInt("x") == 0 && !m.getBool("x") && m.getDouble("x") == 0.0 &&
              m.getString("x").isEmpty() && m.getVector("x") == QorVector(0, 0, 0) &&
              m.getVector2D("x").x == 0.0 && m.getVector2F("x").y == 0.0f &&
              m.getTransform3D("x").isIdentity());
  const QorBounds b = m.getBounds("x");
  EXPECT_TRUE(b.minX == 1.7014117331926443e38 && b.maxZ == -1.7014117331926443e38);
  const QorColor c = m.getColor("x");
  EXPECT_TRUE(c.red == 0.5f && c.alpha == 1.0f);
  const QorMaterial mat = m.getMaterial("x");
  EXPECT_TRUE(mat.ambient.red == 0.2f && mat.diffuse.green == 0.8f && mat.face == 2 &&
              m.getQuaternion("x").w == 0.0 && m.getRect("x").xMax == 0.0 &&
              m.getArray3D("x") == nullptr && m.getObject("x") == nullptr && !m.hasProperty("x") &&
              m.propertyNames().isEmpty() && m.memorySize() == 8);
  m.set("i", 5);
  EXPECT_EQ(qor::bogusDynamicPropertiesSetting(), qor::SettingState::Off);
  m.set("b", true);
  m.set("d", 2.5);
  m.set("s", QorString("x"));
  m.set("c", "text");
  m.setUtf8("u", "\xc3\xa9");
  m.set("col", QorColor(1, 0, 0, 1));
  m.set("mat", QorMaterial());
  m.set("v3", QorVector(1, 2, 3));
  m.set("v2", Vector2D(1, 2));
  m.set("f2", Vector2F(1, 2));
  m.set("t", QorMatrix::identity());
  m.set("box", QorBounds());
  m.set("q", QorQuaternion());
  m.set("r", QorRect());
  std::string made;
  for (std::unique_ptr<IQorPropertyMapIter> it(m.newIterator()); !it->isDone(); it->next())
    made += it->currentName().utf8() + std::string(":") + it->currentProperty()->className() + " ";
  EXPECT_EQ(made,
            "b:BoolProperty box:QorBoundsProperty c:StringProperty col:QorColorProperty "
            "d:DoubleProperty f2:Vector2FProperty i:IntProperty mat:QorMaterialProperty "
            "q:QorQuaternionProperty r:QorRectProperty s:StringProperty t:Transform3DProperty "
            "u:StringProperty v2:Vector2DProperty v3:Vector3DProperty ");
  EXPECT_EQ(m.getString("u").at(0), u'\u00e9');
  // Created with events on, named, writable, one reference held by the map.
  IQorProperty* i = m.getProperty("i");
  EXPECT_TRUE(i->eventsEnabled() && !i->isReadOnly() && i->refCount() == 1u);
  EXPECT_EQ(std::string(i->getName().utf8()), "i");
}

TEST(PropertyMapSet, ReadOnlyIsCheckedBeforeTypeAndFailuresChangeNothing) {
  PropertyMap m;
  IPtr<IntProperty> ro(new IntProperty("r", 1, true, true));
  m.addProperty(ro.get());
  m.set("d", 1.5);
  m.set("i", 3);
  Raised r = raised([&] { m.set("r", 2.5); });
  EXPECT_TRUE(r.code == 2 && r.text == "Cannot modify read only attribute 'r'");
  EXPECT_EQ(raised([&] { m.clearPropertyValue("r"); }).code, 2);
  const std::pair<std::function<void()>, const char*> wrong[] = {
      {[&] { m.set("d", 5); }, "Wrong type (int) for attribute 'd'. Should be double"},
      {[&] { m.set("i", QorString("x")); }, "Wrong type (string) for attribute 'i'. Should be int"},
      {[&] { m.set("i", QorVector()); },
       "Wrong type (qorapi.math.Vector3D) for attribute 'i'. Should be int"},
      {[&] { m.set("d", QorColor()); },
       "Wrong type (qorapi.datamodel.QorColor) for attribute 'd'. Should be double"},
      {[&] { m.set("d", true); }, "Wrong type (bool) for attribute 'd'. Should be double"},
      // Getters read exactly one class; %3 names the class found.
      {[&] { m.getDouble("i"); }, "Wrong type (double) for attribute 'i'. Should be IntProperty"},
      {[&] { m.getVector("i"); }, "Wrong type (Vector3D) for attribute 'i'. Should be IntProperty"},
      {[&] { m.getTransform3D("i"); },
       "Wrong type (QorMatrix) for attribute 'i'. Should be IntProperty"},
      {[&] { m.getBool("d"); }, "Wrong type (bool) for attribute 'd'. Should be DoubleProperty"},
  };
  for (const auto& [call, text] : wrong) EXPECT_EQ(raised(call).text, text);
  // The held-object kinds: the same guards; images name "Image"; the oriented triangle
  // kinds have no type guard and leave a property of another class alone.
  const std::pair<std::function<void()>, const char*> held[] = {
      {[&] { m.set("i", static_cast<Array3D*>(nullptr)); },
       "Wrong type (qorapi.datamodel.Array3D) for attribute 'i'. Should be int"},
      {[&] { m.getArray3D("i"); }, "Wrong type (Array3D) for attribute 'i'. Should be IntProperty"},
      {[&] { m.getDirIndex("d"); },
       "Wrong type (DirIndex) for attribute 'd'. Should be DoubleProperty"},
      {[&] { m.set("i", static_cast<QorImage*>(nullptr)); },
       "Wrong type (int) for attribute 'i'. Should be Image"},
  };
  for (const auto& [call, text] : held) EXPECT_EQ(raised(call).text, text);
  EXPECT_EQ(raised([&] { m.set("r", static_cast<OrientedTriangle*>(nullptr)); }).code, 2);
  m.set("i", static_cast<OrientedTriangleStack*>(nullptr));
  EXPECT_EQ(m.getImage(QorString("none")), nullptr);
  EXPECT_TRUE(ro->getValue() == 1 && m.getDouble("d") == 1.5 && m.getInt("i") == 3);
  // A set that passes the guards reaches setValue: bounds raise there.
  ro->initialize(QorString("r"), 1, false);
  ro->setBounds(0, 3);
  EXPECT_EQ(raised([&] { m.set("r", 4); }).code, 6);
  m.set("r", 3);
  EXPECT_EQ(ro->getValue(), 3);
}

TEST(PropertyMapSet, BoolAndIntConvertOnlyIntoEachOther) {
  PropertyMap m;
  m.set("i", 5);
  m.set("b", false);
  m.set("i", true);
  EXPECT_EQ(m.getInt("i"), 1);
  m.set("i", false);
  m.set("b", 7);
  EXPECT_TRUE(m.getInt("i") == 0 && m.getBool("b"));
  m.set("b", 0);
  EXPECT_FALSE(m.getBool("b"));
  Raised r = raised([&] { m.getInt("b"); });
  EXPECT_TRUE(r.code == 3 &&
              r.text == "Wrong type (int) for attribute 'b'. Should be BoolProperty");
}

TEST(PropertyMapKeys, OrderIsByUnsignedUnitAndCaseSensitive) {
  PropertyMap m;
  for (const char* k : {"b", "a", "B", "A", "\xc3\xa9", "x"}) m.set(k, 1);
  m.set("X", 2);
  // Narrow bytes widened as signed chars.
  EXPECT_TRUE(m.propertyNames() == QorString("A,B,X,a,b,x,\xc3\xa9") && m.getInt("X") == 2 &&
              m.getInt("x") == 1 && m.hasProperty("\xc3\xa9") &&
              m.hasProperty(QorString("\xc3\xa9")));

  // Against an independent order: std::u16string compares char16_t as unsigned.
  std::mt19937 rng(5);
  const char16_t alphabet[] = {u'a', u'B', u'0', u'_', 0x00e9, 0x3042, 0xd800, 0xffff};
  PropertyMap big;
  std::set<std::u16string> expected;
  for (int n = 0; n < 300; ++n) {
    std::u16string key;
    for (size_t len = 1 + rng() % 4; len > 0; --len) key += alphabet[rng() % 8];
    expected.insert(key);
    IPtr<IntProperty> p(new IntProperty(QorString(key.c_str()), n, false, false));
    big.addProperty(p.get());
  }
  std::unique_ptr<IQorPropertyMapIter> it(big.newIterator());
  auto want = expected.begin();
  for (; !it->isDone(); it->next(), ++want) {
    ASSERT_NE(want, expected.end());
    EXPECT_TRUE(it->currentName() == QorString(want->c_str()) && it->currentProperty());
  }
  EXPECT_EQ(want, expected.end());
  it->next();  // at the end the walk stays at the end
  EXPECT_TRUE(it->isDone() && !it->currentProperty() && it->currentName().isEmpty());
  it->first();
  EXPECT_TRUE(it->currentName() == QorString(expected.begin()->c_str()));
}

TEST(PropertyMapEntries, AddReplacesSilentlyReplaceDetachesRemoveErases) {
  IPtr<Shape> s(new Shape());
  IPtr<IntProperty> a(new IntProperty("x", 1, false, true));
  IPtr<IntProperty> b(new IntProperty("x", 2, false, true));
  IPtr<IntProperty> c(new IntProperty("other", 3, false, true));
  s->addProperty(a.get());
  s->addProperty(b.get());
  EXPECT_TRUE(s->detached.empty() && s->getInt("x") == 2 && a->refCount() == 1u);
  s->replaceProperty("x", c.get());
  EXPECT_EQ(s->detached, (std::vector<std::string>{"x"}));
  // Its own name stays.
  EXPECT_TRUE(s->getInt("x") == 3 && std::string(c->getName().utf8()) == "other");
  s->replaceProperty("y", a.get());  // missing: no detach, warning off: added
  EXPECT_TRUE(s->detached.size() == 1u && s->getInt("y") == 1 &&
              s->removeProperty(QorString("y")) && !s->removeProperty(QorString("y")) &&
              a->refCount() == 1u);
  // 8 plus each property's own size.
  EXPECT_EQ(s->memorySize(), 8 + c->memorySize());
  // Clearing goes to the property.
  s->set("v", Vector2D(4, 5));
  s->clearPropertyValue("v");
  EXPECT_EQ(s->getVector2D("v").x, 0.0);
  s->clearPropertyValue("missing");
  Asserts asserts;
  EXPECT_FALSE(s->hasProperty(static_cast<const char*>(nullptr)));
  EXPECT_EQ(asserts.seen, (std::vector<std::string>{
                              "data_@packages/core/qorcore/include/basic_types/qorcstringmap:40"}));
}

TEST(PropertyMapEntries, SwapLeavesNullEntriesThatEveryWalkSkips) {
  PropertyMap a, b;
  a.set("x", 1);
  a.set("y", 2);
  EXPECT_TRUE(!a.swapProperty(b, QorString("none")) && a.swapProperty(b, QorString("x")) &&
              b.getInt("x") == 1 && !a.hasProperty("x") && a.getProperty("x") == nullptr &&
              a.propertyNames() == QorString("y"));
  std::unique_ptr<IQorPropertyMapIter> it(a.newIterator());
  EXPECT_TRUE(it->currentName() == QorString("y"));
  it->next();
  EXPECT_TRUE(it->isDone() && a.memorySize() == 8 + a.getProperty("y")->memorySize());
  EXPECT_EQ(a.documentation().utf8(),
            std::string("   int   y = 2   Property Documentation missing. \n\n"));
  // A set on the null entry finds nothing to guard and creates a property there.
  a.set("x", 9);
  EXPECT_TRUE(a.swapProperty(b, QorString("x")) && a.getInt("x") == 1 && b.getInt("x") == 9);
}

TEST(PropertyMapEntries, AssignKeepsSubscribersClonesTheRestAndCopiesFlags) {
  PropertyMap target, source;
  target.set("shared", 1);
  target.set("mine", 7);
  Recorder rec;
  ASSERT_TRUE(target.getProperty("shared")->subscribe("property_modified", &rec));
  source.set("shared", 2);
  source.set("theirs", QorString("t"));
  PropertyMap moved(std::move(source));  // `source` now has flags 24 and no storage
  EXPECT_TRUE(moved.flags() == 28 && source.storage() == nullptr);
  moved.assignProperties(source);
  EXPECT_EQ(moved.flags(), 24);
  target.assignProperties(moved);
  EXPECT_TRUE(target.getInt("shared") == 2 && rec.heard.size() == 1u &&
              target.getInt("mine") == 7 && target.flags() == 24 &&
              target.getProperty("theirs") != moved.getProperty("theirs") &&
              target.getString("theirs").utf8() == std::string("t"));
  // Another class under the same name refuses the value.
  PropertyMap other;
  other.set("mine", 2.5);
  EXPECT_EQ(raised([&] { target.assignProperties(other); }).code, 3);

  // The copy clones: same values, new objects, no subscribers.
  PropertyMap copy(target);
  EXPECT_TRUE(copy.flags() == target.flags() && copy.getInt("shared") == 2 &&
              copy.getProperty("shared") != target.getProperty("shared") &&
              copy.getProperty("shared")->refCount() == 1u);
  copy.set("shared", 5);
  EXPECT_TRUE(rec.heard.size() == 1u && PropertyMap(source).storage() == nullptr);
  source.set("quiet", 1);  // a moved-from map lost bit 4: its new properties have no events
  EXPECT_FALSE(source.getProperty("quiet")->eventsEnabled());
}

TEST(PropertyMapText, DescriptionsFollowTheClassLineage) {
  IPtr<Shape> s(new Shape());
  for (const char* k : {"x", "base", "root"}) s->set(k, 1);
  EXPECT_TRUE(!s->setDescription("nope", QorString("n")) &&
              s->setDescription("x", QorString("the x")) &&
              Descriptions::instance().contains(QorString("Shape:x")));
  Descriptions::instance().store(QorString("PropertyMap:base"), QorString("from the base"));
  Descriptions::instance().store(QorString("DataEventSource:root"), QorString("from the root"));
  QorString out;
  for (auto [key, text] :
       {std::pair{"x", "the x"}, {"base", "from the base"}, {"root", "from the root"}}) {
    EXPECT_TRUE(s->getDescription(key, out) && out.utf8() == std::string(text));
  }
  EXPECT_FALSE(s->getDescription("w", out));
  // A plain map does not see the subclass's text.
  PropertyMap plain;
  plain.set("x", 1);
  EXPECT_TRUE(!plain.getDescription("x", out) && plain.getDescription("base", out));

  // The table: 17 buckets, the sum of units as hash, growth at 0.8.
  Descriptions table;
  for (int i = 0; i < 14; ++i) {
    EXPECT_EQ(table.bucketCount(), 17);
    table.store(QorString(QorCString::withInt("k", i)), QorString("t"));
  }
  EXPECT_TRUE(table.bucketCount() == 37 && QorString("ab").hash() == 97u + 98u);
  Asserts asserts;
  EXPECT_TRUE(table.lookup(QorString("absent")).isEmpty());
  EXPECT_EQ(asserts.seen,
            (std::vector<std::string>{"0@packages/core/qorcore/include/basic_types/map:250"}));
}

TEST(PropertyMapText, DocumentationAndTableRows) {
  PropertyMap m;
  EXPECT_TRUE(m.documentationTable().isEmpty() && m.documentation().isEmpty());
  m.set("n", 5);
  IPtr<IntProperty> ro(new IntProperty("r", 5, true, true));
  m.addProperty(ro.get());
  EXPECT_EQ(m.documentation().utf8(),
            std::string("   int   n = 5   Property Documentation missing. \n\n"
                        "   int   r = 5   Property Documentation missing. \n (Read Only)\n"));
  EXPECT_EQ(m.documentationTable().utf8(),
            std::string("n@     - No@     - int@     - -INF - +INF@     - 5@     - Property "
                        "Documentation missing. \n@@r@     - Yes@     - int@     - @     - 5@  "
                        "   - Property Documentation missing. \n@@"));

  PropertyMap t;
  IPtr<IntProperty> k(new IntProperty("k", 3, false, 0, 10, true));
  t.addProperty(k.get());
  IPtr<IntProperty> huge(new IntProperty("h", 1073741824, false, true));
  t.addProperty(huge.get());
  IPtr<DoubleProperty> db(new DoubleProperty("e", 0.5, false, 0.0, 1.0, true));
  t.addProperty(db.get());
  t.set("d", 2.5), t.set("v", QorVector(1, 2, 3)), t.set("s", QorString("txt"));
  t.set("box", QorBounds()), t.set("full", QorBounds(0, 0, 0, 1, 1, 1));
  t.set("id", QorMatrix::identity());
  Descriptions::instance().store(QorString("PropertyMap:s"), QorString("Some text."));
  EXPECT_EQ(t.documentationTable().utf8(),
            std::string("box@     - No@     - QorBounds@     - @     - empty@     - Property "
                        "Documentation missing. \n@@"
                        "d@     - No@     - double@     - -INF - +INF@     - 2.500000@     - "
                        "Property Documentation missing. \n@@"
                        "e@     - No@     - double@     - 0.000000 - 1.000000@     - 0.500000@   "
                        "  - Property Documentation missing. \n@@"
                        "full@     - No@     - QorBounds@     - @     - [0.00 0.00 0.00]\n[1.00 "
                        "1.00 1.00]\n@     - Property Documentation missing. \n@@"
                        "h@     - No@     - int@     - -INF - +INF@     - +INF@     - Property "
                        "Documentation missing. \n@@"
                        "id@     - No@     - Transform3D@     - @     - identity@     - Property "
                        "Documentation missing. \n@@"
                        "k@     - No@     - int@     - 0 - 10@     - 3@     - Property "
                        "Documentation missing. \n@@"
                        "s@     - No@     - string@     - @     - txt@     - Some text.@@"
                        "v@     - No@     - Vector3D@     - @     - [1.00 2.00 3.00]@     - "
                        "Property Documentation missing. \n@@"));
}

}  // namespace
