// Documents: the bytes of a stored object written out by hand, a graph with shared
// objects, a cycle and an array read back whole, and files with parts this build does not
// know.
#include <gtest/gtest.h>

#include "datamodel/dataobjectarray.h"
#include "datamodel/dataobjectarrayproperty.h"
#include "datamodel/doubleproperty.h"
#include "datamodel/intproperty.h"
#include "datamodel/objectproperty.h"
#include "datamodel/qorquaternionproperty.h"
#include "datamodel/stringproperty.h"
#include "support.h"

namespace {

using namespace dobj_test;

void be(Bytes& b, uint64_t v, int n) {
  for (int i = n - 1; i >= 0; --i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// A chunk with 8-byte length: word, length, payload.
Bytes chunk(uint32_t tag, uint32_t version, const Bytes& payload) {
  Bytes b;
  be(b, tag << 8 | version, 4);
  be(b, payload.size() + 12, 8);
  b.insert(b.end(), payload.begin(), payload.end());
  return b;
}

Bytes cat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& p : parts) all.insert(all.end(), p.begin(), p.end());
  return all;
}

const Bytes kZeroId(16, 0);

TEST(Document, OneObjectWithOneIntIsTheseBytesAndACorruptCountStopsAtTheEnd) {
  IPtr<DataObject> a(new DataObject());
  a->set("name", QorString(u"A"));
  a->set("x", int32_t{5});
  Bytes intId = {0x08, 0x8f, 0xe0, 0xea, 0xa8, 0xb3, 0x48, 0xab,
                 0xbc, 0xa7, 0x7f, 0xcb, 0x94, 0x8a, 0xc3, 0x80};
  Bytes object = chunk(0x0B0002, 5,
                       cat({kZeroId,
                            chunk(0x010005, 0, {0x00, 0x41}),                  // name "A"
                            chunk(0xB00BBE, 2, {}),                            // empty extra data
                            chunk(0x0B0002, 0, cat({kZeroId, {0, 0, 0, 1}})),  // number 1
                            {0, 0, 0, 1},  // one stored property: the routed name is not
                            chunk(0x010005, 0, {0x00, 0x78}),  // key "x"
                            chunk(0x0B0002, 0, cat({intId, {0, 0, 0, 5}}))}));
  Bytes document = chunk(0x0B0002, 5, cat({kZeroId, object, {0x00}}));
  Bytes file = chunk(0x574558, 1, document);
  ASSERT_EQ(file.size(), 177u);
  EXPECT_EQ(saved(a.get()), file);

  IPtr<DataObject> back = loaded(file);
  EXPECT_TRUE(name(back.get()) == "A" && back->getInt("x") == 5);
  // A property count beyond the file: what stood in the file is read, the count ends there.
  ASSERT_EQ(Bytes(file.begin() + 126, file.begin() + 130), (Bytes{0, 0, 0, 1}));
  for (int i = 126; i < 130; ++i) file[size_t(i)] = i == 126 ? 0x7f : 0xff;
  EXPECT_EQ(loaded(file)->getInt("x"), 5);
}

TEST(Document, GraphWithSharedObjectsACycleAndAnArrayComesBackWhole) {
  IPtr<DataObject> a(new DataObject()), b(new DataObject()), c(new DataObject());
  for (auto [o, n] : {std::pair{a.get(), u"a"}, {b.get(), u"b"}, {c.get(), u"c"}})
    o->set("name", QorString(n));
  a->set("count", int32_t{-7}), a->set("ratio", 0.25), a->set("flag", true);
  a->set("text", QorString(u"h\u00e9llo \u4e16\u754c"));
  a->set("first", b.get());
  a->set("second", b.get());
  b->set("back", a.get());  // the cycle
  IPtr<DataObjectArray> list(new DataObjectArray());
  for (DataObject* e : {c.get(), b.get(), c.get(), static_cast<DataObject*>(nullptr)})
    list->append(e);
  IPtr<IQorProperty> arrayProperty(
      new DataObjectArrayProperty(QorString(u"list"), list.get(), false, true));
  a->addProperty(arrayProperty.get());
  // A read-only property is not stored.
  IPtr<IQorProperty> fixed(new IntProperty(QorString(u"fixed"), 9, true, true));
  a->addProperty(fixed.get());

  Bytes file = saved(a.get());
  IPtr<DataObject> back = loaded(file);
  EXPECT_TRUE(name(back.get()) == "a" && back->getInt("count") == -7 &&
              back->getDouble("ratio") == 0.25 && back->getBool("flag") &&
              !back->hasProperty("fixed") &&
              std::string(back->getString("text").utf8()) == "h\u00e9llo \u4e16\u754c");
  DataObject* b2 = back->getObject("first");
  ASSERT_NE(b2, nullptr);
  EXPECT_EQ(name(b2), "b");
  EXPECT_EQ(back->getObject("second"), b2) << "one object stored once, shared on reading";
  EXPECT_EQ(b2->getObject("back"), back.get()) << "the cycle closes on the root";
  DataObjectArray* list2 = back->getDataObjectArray("list");
  ASSERT_TRUE(list2 && list2->size() == 4 && list2->at(0));
  EXPECT_EQ(name(list2->at(0)), "c");
  EXPECT_TRUE(list2->at(1) == b2 && list2->at(2) == list2->at(0) && list2->at(3) == nullptr);

  // Each object stands in the file once: three object chunks of version 5.
  int objects = 0;
  for (size_t i = 0; i + 4 <= file.size(); ++i)
    if (file[i] == 0x0b && file[i + 1] == 0 && file[i + 2] == 2 && file[i + 3] == 5) ++objects;
  EXPECT_EQ(objects, 4) << "the document chunk and three objects";

  // Break the cycles so that everything dies.
  b->set("back", static_cast<DataObject*>(nullptr));
  b2->set("back", static_cast<DataObject*>(nullptr));
}

TEST(Document, UnknownClassesAndVersionsAreSkippedAndLogged) {
  IPtr<DataObject> a(new DataObject());
  a->set("name", QorString(u"a"));
  a->set("before", int32_t{1});
  a->set("middle", 2.5);
  a->set("newer", int32_t{3});
  a->set("zafter", QorString(u"kept"));
  a->set("turn", QorQuaternion{});  // no stored form: left out, with a log line
  refhost::log().clear();
  Bytes file = saved(a.get());
  ASSERT_EQ(refhost::log().lines().size(), 1u);
  EXPECT_EQ(refhost::log().lines()[0].text,
            "[Document] Left out property 'turn' of class QorQuaternionProperty: it has no stored "
            "form");
  // Give "middle" an unknown class and "newer" a chunk version this build does not know.
  const Bytes doubleId = {0xe8, 0x1c, 0x94, 0xc1};
  const Bytes intId = {0x08, 0x8f, 0xe0, 0xea};
  size_t d = std::search(file.begin(), file.end(), doubleId.begin(), doubleId.end()) - file.begin();
  ASSERT_LT(d, file.size());
  file[d] = 0x77;
  size_t last = 0;
  for (size_t i = 0; i + 4 <= file.size(); ++i)
    if (std::equal(intId.begin(), intId.end(), file.begin() + static_cast<long>(i))) last = i;
  ASSERT_GT(last, 12u);
  file[last - 12 + 3] = 7;  // the version byte of the chunk that carries that class id

  refhost::log().clear();
  IPtr<DataObject> back = loaded(file);
  EXPECT_TRUE(back->getInt("before") == 1 && !back->hasProperty("middle"));
  EXPECT_EQ(back->getInt("newer"), 0) << "an unknown version leaves the default";
  EXPECT_EQ(std::string(back->getString("zafter").utf8()), "kept");
  std::string log;
  for (auto& line : refhost::log().lines()) log += line.text + "\n";
  for (const char* line : {"[Document] Skipped stored property 'middle' of class {77",
                           "[Document] Skipped stored property 'newer' of class IntProperty: "
                           "version 7"})
    EXPECT_NE(log.find(line), std::string::npos) << log;
}

TEST(Document, ReadingLandsInTheObjectsOwnPropertiesAndSkipsForeignOnes) {
  IPtr<DataObject> a(new DataObject());
  a->set("n", int32_t{4});
  a->set("s", QorString(u"text"));
  Bytes file = saved(a.get());

  IPtr<DataObject> root(new DataObject());
  IPtr<IQorProperty> own(new IntProperty(QorString(u"n"), 0, false, 0, 10, true));
  root->addProperty(own.get());
  IPtr<IQorProperty> foreign(new DoubleProperty(QorString(u"s"), 1.5, false, true));
  root->addProperty(foreign.get());
  loaded(file, root);
  EXPECT_EQ(root->getProperty("n"), own.get()) << "the class's own property reads the chunk";
  EXPECT_EQ(root->getInt("n"), 4);
  EXPECT_EQ(root->getDouble("s"), 1.5) << "a property of another class is left alone";
}

TEST(Document, AnArrayCountBeyondTheFileReadsWhatIsThere) {
  IPtr<DataObject> a(new DataObject());
  IPtr<DataObjectArray> list(new DataObjectArray());
  list->append(a.get());
  a->set("list", list.get());
  Bytes file = saved(a.get());
  const Bytes arrayId = {0xeb, 0xda, 0xe8, 0x8c};
  size_t at = std::search(file.begin(), file.end(), arrayId.begin(), arrayId.end()) - file.begin();
  ASSERT_LT(at + 20, file.size());
  for (int i = 0; i < 4; ++i) file[at + 16 + i] = i == 0 ? 0x7f : 0xff;  // count 2^31 - 1
  IPtr<DataObject> back = loaded(file);
  DataObjectArray* read = back->getDataObjectArray("list");
  ASSERT_TRUE(read && read->size() <= 2) << "entries stop where the chunk ends";
  EXPECT_EQ(read->at(0), back.get());
  a->set("list", static_cast<DataObjectArray*>(nullptr));
  back->set("list", static_cast<DataObjectArray*>(nullptr));
}

TEST(Document, AMillionLinkChainIsBuiltStoredReadAndReleased) {
  const int n = 1000000;
  const int32_t before = refhost::database().count();
  IPtr<DataObject> head(new DataObject());
  DataObject* tail = head.get();
  for (int i = 1; i < n; ++i)
    tail->set("next", IPtr<DataObject>(new DataObject()).get()), tail = tail->getObject("next");
  tail->set("name", QorString(u"tail"));
  EXPECT_EQ(refhost::database().count(), before + n);
  const Bytes file = saved(head.get());
  head.reset();
  EXPECT_EQ(refhost::database().count(), before);
  head = loaded(file);
  int links = 1;
  for (tail = head.get(); tail->getObject("next"); ++links) tail = tail->getObject("next");
  EXPECT_TRUE(links == n && name(tail) == "tail");
  head.reset();
  EXPECT_EQ(refhost::database().count(), before);
}

}  // namespace
