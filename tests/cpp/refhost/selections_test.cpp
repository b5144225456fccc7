// The reference host's selection parts: the CAD face map on hand meshes, the mesh
// converter's set conversions, the selection classes and stored selections.
#include "refhost/selections.h"

#include <gtest/gtest.h>

#include <vector>

#include "refhost/datamodels.h"
#include "refhost/document.h"

namespace {

using namespace refhost;

std::shared_ptr<const Geometry> mesh(Positions xyz, Triangles tris) {
  auto g = std::make_shared<Geometry>();
  g->kind = Geometry::Kind::Mesh;
  g->positions = std::move(xyz);
  g->triangles = std::move(tris);
  return g;
}

BitVector bitsOf(std::initializer_list<int32_t> members) {
  BitVector b;
  for (int32_t m : members) b.set(m);
  return b;
}

TEST(CADFaces, PlanarPatchesOfHandMeshes) {
  const Positions cube = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  const Positions square = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 5, 5, 0, 6, 5, 0, 5, 6, 0};
  struct Case {
    const char* what;
    Positions xyz;
    Triangles tris;
    std::vector<int32_t> faces;
  } cases[] = {
      {"cube, faces in pairs",
       cube,
       {0, 2, 1, 0, 3, 2, 4, 5, 6, 4, 6, 7, 0, 1, 5, 0, 5, 4,
        1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7},
       {1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6}},
      {"folded on the shared edge",
       {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1},
       {0, 1, 2, 1, 0, 3},
       {1, 2}},
      {"coplanar, an edge shared", square, {0, 1, 2, 0, 2, 3}, {1, 1}},
      {"coplanar, only a corner shared", square, {0, 1, 2, 2, 4, 5}, {1, 2}},
      {"coplanar, apart", square, {0, 1, 3, 4, 5, 6}, {1, 2}},
      {"flipped normal", square, {0, 1, 2, 0, 3, 2}, {1, 2}},
      {"no area between two of a plane", square, {0, 1, 2, 0, 0, 2, 0, 2, 3}, {1, 2, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    RefParamComplex faces(mesh(c.xyz, c.tris));
    std::vector<int32_t> got;
    for (int32_t t = 1; t <= static_cast<int32_t>(c.faces.size()); ++t)
      got.push_back(faces.faceOfTriangle(t));
    EXPECT_EQ(got, c.faces);
    EXPECT_EQ(faces.faceOfTriangle(0), 0);
    EXPECT_EQ(faces.faceOfTriangle(static_cast<int32_t>(c.faces.size()) + 1), 0);
    // Every face back to its triangles, and faces that don't exist to none.
    const int32_t last = *std::max_element(c.faces.begin(), c.faces.end());
    for (int32_t f = 1; f <= last + 1; ++f) {
      BitVector tris;
      faces.facesToTriangles(bitsOf({f}), tris);
      for (size_t t = 0; t < c.faces.size(); ++t)
        EXPECT_EQ(tris.test(static_cast<int32_t>(t + 1)), c.faces[t] == f) << "face " << f;
      EXPECT_EQ(tris.count(), std::count(c.faces.begin(), c.faces.end(), f));
    }
  }
}

TEST(Selections, ConverterSubObjectsAndClasses) {
  IPtr<VertexSelection> vertices(new VertexSelection());
  IPtr<EdgeSelection> edges(new EdgeSelection());
  IPtr<TriangleSelection> triangles(new TriangleSelection());
  RefMeshConverter converter;
  auto* asVertices = static_cast<DataObject*>(vertices.get());
  EXPECT_EQ(converter.toHostVertexSet(asVertices), nullptr) << "nothing marked";
  vertices->selectionBits().assign(bitsOf({2, 4}));
  IPtr<IQorElementSet> set(converter.toHostVertexSet(asVertices));
  ASSERT_NE(set.get(), nullptr);
  EXPECT_EQ(set->refCount(), 1u) << "given at count 0";
  EXPECT_TRUE(set->bits().equals(bitsOf({2, 4})));
  EXPECT_EQ(converter.toHostEdgeSet(asVertices), nullptr) << "not an edge selection";
  converter.fromHostEdgeSet(static_cast<DataObject*>(edges.get()), set.get());
  EXPECT_TRUE(edges->markedBits().equals(bitsOf({2, 4})));
  converter.fromHostEdgeSet(static_cast<DataObject*>(edges.get()), nullptr);
  EXPECT_TRUE(edges->markedBits().isEmpty());

  auto* owned = new BitVector(bitsOf({7}));
  triangles->setMarkedBits(owned);
  EXPECT_EQ(triangles->markedBitsPointer(), owned);
  EXPECT_TRUE(
      converter.toHostTriangleBits(static_cast<DataObject*>(triangles.get())).equals(*owned));
  EXPECT_TRUE(converter.toHostTriangleBits(asVertices).isEmpty());
  for (const char* name : {"Selection", "ISelectionBits", "TriangleSelection",
                           "mesh::IQorMeshTriangleSelection", "DataObject"})
    EXPECT_NE(qorQuery<void>(static_cast<DataObject*>(triangles.get()), name), nullptr) << name;
  EXPECT_EQ(qorQuery<void>(static_cast<DataObject*>(triangles.get()), "mesh::IEdgeSelection"),
            nullptr);
  EXPECT_STREQ(triangles->typeString(), "qorapi.mesh.TriangleSelection");

  IPtr<CADModel> cad(new CADModel(mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 1, 2})));
  IPtr<CADFaceSelection> faces(new CADFaceSelection());
  EXPECT_EQ(faces->hostMesh(), nullptr);
  faces->set("cadModel", static_cast<DataObject*>(cad.get()));
  EXPECT_EQ(faces->hostMesh(), cad->hostData());

  IQorObject* o = document().addModelObject(u"part", mesh({0, 0, 0}, {}), false);
  auto* mgr = qorQuery<IQorSelectionSubObjectMgr>(o->subObjectManager(&qor::kSelectionsManagerId),
                                                  "IQorSelectionSubObjectMgr");
  ASSERT_NE(mgr, nullptr);
  triangles->setName(QorString(u"keep"));
  mgr->addSelection(static_cast<DataObject*>(triangles.get()), bitsOf({3, 9}));
  auto* sub = qorQuery<IQorSubObjectMgr>(mgr, "IQorSubObjectMgr");
  EXPECT_EQ(sub->owner(), static_cast<IQorUnknown*>(o));
  EXPECT_EQ(sub->findByName(QorString(u"nothing")), nullptr);
  auto* stored = qorQuery<IQorSelectionSubObject>(sub->findByName(QorString(u"keep")),
                                                  "IQorSelectionSubObject");
  ASSERT_NE(stored, nullptr);
  EXPECT_TRUE(stored->bits().equals(bitsOf({3, 9})));
  EXPECT_EQ(qorQuery<void>(o->model(QorCString("GenModel")), "IQorModelSelection"), nullptr);
}

}  // namespace
