// Array, index and oriented triangle properties: stored forms written by hand (one element,
// no array, an empty array) read back into the same bytes; the copy, print and size rules
// as one table; reading in place without events; a data object holding every kind saved
// here and loaded in a fresh process.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "datamodel/arrayproperties.h"
#include "datamodel/dataobject.h"
#include "datamodel/imageproperty.h"
#include "datamodel/ortriproperties.h"
#include "dataobject/support.h"
#include "refhost/persistence.h"
#include "testkit.h"

namespace {

using namespace testkit;
using props_test::Recorder;

// The bytes `p` writes on a fresh memory stream (8-byte lengths), and its read of `b`.
Bytes stored(IQorWriteable* p) {
  return filed(0, [p](QorFileWrite& w) { p->write(&w); });
}
bool readInto(IQorWriteable* p, const Bytes& b) {
  FileReader f(b);
  return p->read(&f.r) && f.r.good();
}

Bytes object(const char* id, const Bytes& payload, uint32_t version = 0) {
  return chunk(0x0B0002, version, hex(id) + payload);
}

// A property class under test: its object as borrowed pointer, and its count (-1 for none).
struct Kind {
  std::function<Property*(int value, const char* name)> make;  // 0 none, 1 one element, 2 empty
  bool hasEmpty;
  std::function<void*(Property*)> held;
  std::function<int(Property*)> count;
  const char* id;
  Bytes one, none;
  std::string printed;
  int64_t bytesPerElement;
  bool shares;
  int noneCount;  // what a property holding one element holds after reading `none`
};

template <class P, class T = typename P::Value>
Kind kind(std::type_identity_t<std::function<T*()>> fill, const char* id, Bytes one,
          std::string printed, int64_t perElement, bool shares = false,
          Bytes none = be({0xffffffff}), bool hasEmpty = true, int noneCount = -1) {
  auto count = [](Property* p) -> int {
    T* v = static_cast<P*>(p)->getValue();
    if constexpr (requires { v->rowCount(); })
      return v ? v->rowCount() : -1;
    else if constexpr (requires { v->size(); })
      return v ? v->size() : -1;
    else
      return v ? 1 : -1;
  };
  auto make = [fill](int value, const char* name) -> Property* {
    return new P(QorString(name), value == 1 ? fill() : value ? new T() : nullptr, false, true);
  };
  auto held = [](Property* p) -> void* { return static_cast<P*>(p)->getValue(); };
  return {make, hasEmpty, held, count, id, one, none, printed, perElement, shares, noneCount};
}

// An array of one element.
template <class A, class E>
std::function<A*()> of(E e) {
  return [e] {
    A* a = new A();
    a->append(e);
    return a;
  };
}

std::vector<Kind> kinds() {
  const Bytes vec =
      chunk(0x010000, 0, hex("3ff00000 00000000 40000000 00000000 c0080000 00000000"));
  Bytes matrix;
  for (int i = 0; i < 16; ++i)
    matrix = matrix + hex(i % 5 ? "00000000 00000000" : "3ff00000 00000000");
  const QorVector v(1, 2, -3);
  return {
      kind<DoubleArrayProperty>(of<DoubleArray>(2.5), "c452b508-df90-454d-9150-73b83e5875f1",
                                hex("00000001 40040000 00000000"), "", 8),
      kind<IntArrayProperty>(of<IntArray>(int32_t{-2}), "a5a2f718-2cac-4edf-8539-4162bac45e9a",
                             hex("00000001 fffffffe"), "", 4),
      kind<ByteArrayProperty>(of<ByteArray>(uint8_t{0x7f}), "02bf0bf9-293a-49be-aa47-fc3e29555de1",
                              hex("00000001 7f"), "", 1),
      kind<StringArrayProperty>(of<StringArray>(QorString("ab")),
                                "63917132-ea1e-456f-8988-ceea96dbf8e4",
                                hex("00000001") + chunk(0x010005, 0, hex("0061 0062")), "",
                                static_cast<int64_t>(sizeof(QorString)) + 4),
      kind<ColorArrayProperty>(of<ColorArray>(QorColor(0, 0, 1, 0.5f)),
                               "7d80de14-bcb9-4a40-b26b-571b9e2da5a4",
                               hex("00000001 00000000 00000000 3f800000 3f000000"), "", 16),
      kind<Vector2DArrayProperty>(of<Vector2DArray>(Vector2D(1, 2)),
                                  "efac4ae5-11bf-459e-91e2-751f97fc74f6",
                                  hex("00000001") + chunk(0x010009, 0,
                                                          hex("3ff00000 00000000 "
                                                              "40000000 00000000")),
                                  "", 24),
      kind<Vector2FArrayProperty>(
          of<Vector2FArray>(Vector2F(1, 2)), "71f58aca-a311-4968-8ce4-d87d6e4d25e2",
          hex("00000001") + chunk(0x010010, 0, hex("3f800000 40000000")), "", 24),
      kind<Vector3DArrayProperty>(of<Vector3DArray>(v), "e0797a59-e841-4fec-beb0-5365612c7d93",
                                  hex("00000001") + vec, "", 24),
      kind<Array3DProperty>(of<Array3D>(v), "f951cc30-d0be-4061-b524-d6f5788e3531",
                            hex("00000001") + vec, "", 24, true),
      kind<Transform3DArrayProperty>(of<Transform3DArray>(QorMatrix()),
                                     "d572d89d-7ea5-4ab0-8365-1a9e0a3143e4",
                                     hex("00000001") + chunk(0x010004, 0, matrix), "", 128),
      // The plain shells have no rows: rows 0, columns 0.
      kind<DoubleArray2DProperty>([] { return new DoubleArray2D(); },
                                  "4dc2ce87-8432-469f-94f9-c4620ab165c7", hex("00000000 00000000"),
                                  "", 0, true, be({0xffffffff}), false),
      kind<Vector3DArray2DProperty>([] { return new Vector3DArray2D(); },
                                    "7aa5c883-0fcf-43e9-bd49-e0007f40f8ed",
                                    hex("00000000 00000000"), "", 0, true, be({0xffffffff}), false),
      // One 1x1 grey image: its own chunk, form 0, width, height, depth, the pixel.
      kind<ImageArrayProperty>(
          [] {
            auto* a = new ImageArray();
            IPtr<QorImage> image(new QorImage(1, 1, 1));
            *image->pixel(0, 0) = 0x7f;
            a->append(image.get());
            return a;
          },
          "159242ad-004d-4a57-8544-610dcca0280b",
          hex("00000001") + chunk(0x0A5004, 1, hex("00 00000001 00000001 00000001 7f")), "", 1),
      // The raw number 13 of index 5, version 1, as it stands.
      kind<DirIndexProperty>([] { return new DirIndex(5, 1); },
                             "6b3c68a9-804c-4631-b4e4-c29c75c98e2c", hex("0000000d"), "(5, 1)", 0,
                             false, hex("00000000"), false, 1),
      kind<OrientedTriangleProperty>([] { return new OrientedTriangle(4, 5); },
                                     "074bc6fa-ab3b-472d-bf25-634dc25eb172", hex("0000002d"),
                                     "(4, 5)", 0, true, hex("00000000"), false, 1),
      kind<OrientedTriangleStackProperty>(
          [] {
            auto* s = new OrientedTriangleStack();
            s->stack().push(45);
            return s;
          },
          "9521a7f5-8d91-44bd-9a34-dba67abdbd69", hex("00000001 0000002d"), "(1)", 80, false,
          hex("00000000"), false, 0),
      kind<OrientedTriangleStackListProperty>(
          [] {
            auto* l = new OrientedTriangleStackList();
            IPtr<OrientedTriangleStack> s(new OrientedTriangleStack());
            s->stack().push(45);
            l->append(s.get());
            return l;
          },
          "99ec161a-e9e7-45d2-b368-677218ad47b5", hex("00000001 00000001 0000002d"), "", 80, false,
          hex("00000000"), false, 1),
  };
}

TEST(ArrayProperties, StoredFormsReadBackIntoTheSameBytesAndCopyPrintAndSizeRules) {
  for (Kind& k : kinds()) {
    IPtr<Property> one(k.make(1, "a")), none(k.make(0, "a")), back(k.make(0, "a"));
    SCOPED_TRACE(one->className());
    const uint32_t version = k.id[0] == '1' ? 1 : 0;  // the image array is at version 1
    const Bytes bytes = object(k.id, k.one, version);
    EXPECT_EQ(stored(one.get()), bytes);
    EXPECT_TRUE(readInto(back.get(), bytes) && stored(back.get()) == bytes);
    EXPECT_EQ(stored(none.get()), object(k.id, k.none, version));
    IPtr<Property> backNone(k.make(1, "a"));
    readInto(backNone.get(), object(k.id, k.none, version));
    // A counted form's -1 reads back as no array; the others change the object they hold.
    EXPECT_EQ(k.count(backNone.get()), k.noneCount);
    IPtr<Property> copy(one->clone()), noneCopy(none->clone());
    EXPECT_EQ(k.held(copy.get()) == k.held(one.get()), k.shares);
    EXPECT_TRUE(k.held(copy.get()) && !k.held(noneCopy.get()) && printed(one.get()) == k.printed);
    // The elements' bytes come on top of the object's own size.
    EXPECT_EQ(one->memorySize() - none->memorySize(),
              k.bytesPerElement * std::max(0, k.count(one.get())));
    one->clearValue();
    EXPECT_EQ(k.held(one.get()), nullptr);
    if (!k.hasEmpty) continue;
    IPtr<Property> empty(k.make(2, "a"));
    EXPECT_EQ(stored(empty.get()), object(k.id, hex("00000000"), version));
    EXPECT_TRUE(readInto(backNone.get(), stored(empty.get())) && k.count(backNone.get()) == 0);
  }
}

TEST(ArrayProperties, ImagesAreNeverStoredAndCopiesAreNewImages) {
  IPtr<ImageProperty> image(new ImageProperty("i", new QorImage(2, 1, 3), false, true));
  IPtr<ImageProperty> copy(static_cast<ImageProperty*>(image->clone()));
  EXPECT_TRUE(copy->getValue() != image->getValue() && copy->getValue()->width() == 2 &&
              printed(image.get()) == "QorImage" && !image->isWriteable());
  EXPECT_EQ(raised([&] { image->classId(); }).text,
            "Error in class Document: Serialization not supported for ImageProperty.");
  image->clearValue();
  EXPECT_EQ(printed(image.get()), "None");
}

TEST(ArrayProperties, HeldObjectsChangeInPlaceWithoutAnEventAndImagesArriveAfterTheirArray) {
  // The index takes the raw 4 (index 1, version 0); a list keeps its entry and gains one.
  for (auto [i, bytes, count, text] :
       {std::tuple{13, hex("00000004"), 1, "(1, 0)"}, std::tuple{16, kinds()[16].one, 2, ""}}) {
    Kind k = kinds()[i];
    IPtr<Property> p(k.make(1, "a"));
    void* was = k.held(p.get());
    Recorder rec;
    p->subscribe("property_modified", &rec);
    EXPECT_TRUE(readInto(p.get(), object(k.id, bytes)) && k.held(p.get()) == was &&
                k.count(p.get()) == count && printed(p.get()) == text && rec.heard.empty());
  }
  // The image array's event carries the new array while it is still empty.
  IPtr<ImageArrayProperty> images(new ImageArrayProperty(QorString("m"), false, true));
  int sizeAtEvent = -1;
  struct Peek : Recorder {
    std::function<void()> heard;
    bool handleEvent(IQorDataEventSource*, const QorCString&, IQorDataEventArgs*) override {
      heard();
      return false;
    }
  } peek;
  peek.heard = [&] { sizeAtEvent = images->getValue()->size(); };
  images->subscribe("property_modified", &peek);
  Kind k = kinds()[12];
  EXPECT_TRUE(readInto(images.get(), object(k.id, k.one, 1)));
  EXPECT_TRUE(sizeAtEvent == 0 && images->getValue()->size() == 1 &&
              *images->getValue()->at(0)->pixel(0, 0) == 0x7f);
}

TEST(ArrayProperties, VectorChunksFormattedInBlocksAreTheBytesOfOneChunkAtATime) {
  IPtr<Vector3DArray> points(new Vector3DArray());
  for (int i = 0; i < 300; ++i) points->append(QorVector(i, -0.5 * i, 1e300 / (i + 1)));
  IPtr<Vector3DArrayProperty> p(new Vector3DArrayProperty("v", points.get(), false, true));
  auto bytes = [&](bool inBlocks, int32_t version) {  // version 1: 4-byte lengths
    Bytes b = filed(version, [&](QorFileWrite& w) {
      if (inBlocks) p->write(&w);
      for (int i = 0; !inBlocks && i < points->size(); ++i) w.write(points->items().get(i + 1));
    });
    return Bytes(b.end() - 300 * (version ? 28 : 36), b.end());
  };
  EXPECT_EQ(bytes(true, 0), bytes(false, 0));
  EXPECT_EQ(bytes(true, 1), bytes(false, 1));
}

TEST(ArrayProperties, ADataObjectWithEveryKindLoadsInAFreshProcessEqualInEveryElement) {
  if (const char* path = std::getenv("BRINDLE_ARRAY_DOC")) {  // the fresh process
    IPtr<DataObject> back = dobj_test::loaded(readFile(path));
    ASSERT_EQ(back->getVector3DArray("k7")->size(), 1);
    writeFile(std::string(path) + ".seen", dobj_test::saved(back.get()));
    return;
  }
  IPtr<DataObject> o(new DataObject());
  std::vector<Kind> all = kinds();
  for (size_t i = 0; i < all.size(); ++i) {
    IPtr<Property> p(all[i].make(1, ("k" + std::to_string(i)).c_str()));
    o->addProperty(p.get());
  }
  TempDir dir;
  const std::string path = dir.file("arrays.doc");
  const Bytes file = dobj_test::saved(o.get());
  writeFile(path, file);
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  ASSERT_EQ(std::system(("BRINDLE_ARRAY_DOC=" + path + " " + self +
                         " --gtest_filter=ArrayProperties.ADataObject* > /dev/null")
                            .c_str()),
            0);
  // Every element is in the stored form: what the fresh process stores again is the same.
  EXPECT_EQ(readFile(path + ".seen"), file);
  EXPECT_GT(file.size(), 500u);
}

}  // namespace
