// Point records (float and double, with and without colours) and the vertex array of a
// point array: what it reads, and when it stops reading.
#include <gtest/gtest.h>

#include <vector>

#include "bulk/qorvectorarray.h"

namespace {

template <class T>
class PointRecords : public ::testing::Test {};
using RecordTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PointRecords, RecordTypes);

TYPED_TEST(PointRecords, PushSetReadAndGrey) {
  using R = QorPointRecord<TypeParam>;
  using T = TypeParam;
  for (bool coloured : {false, true}) {
    SCOPED_TRACE(coloured);
    QorVectorArray a;
    if (coloured) {
      ASSERT_TRUE(a.enableExtra(true));
    }
    EXPECT_EQ(a.pushRecord(R{{1, 2, 3, 9}, {1, 0, 0}}), 1);
    EXPECT_EQ(a.pushRecord(R{{4, 5, 6, 9}, {0, 0, 1}}), 2);
    a.setRecord(1, R{{1.5, -8, 0.25, 9}, {0, 1, 0}});
    R out{{0, 0, 0, 42}, {5, 5, 5}};
    EXPECT_EQ(a.record(1, &out), coloured);
    const T green = coloured ? T(1) : T(0);
    EXPECT_EQ((std::vector<T>{out.point[0], out.point[1], out.point[2], out.point[3]}),
              (std::vector<T>{1.5, -8, 0.25, 42}));
    EXPECT_EQ((std::vector<T>{out.color[0], out.color[1], out.color[2]}),
              (std::vector<T>{0, green, 0}));
    R grey{{0, 0, 0, 42}, {5, 5, 5}};
    EXPECT_EQ(a.greyRecord(2, &grey), coloured);
    EXPECT_EQ(grey.point[2], T(6));
    EXPECT_NEAR(double(grey.point[3]), coloured ? 0.11 : 0.0, 1e-6);
    EXPECT_EQ(grey.color[0], T(5));  // the channels stay as they were
    EXPECT_EQ(a.size(), 2);
  }
}

TEST(VertexArrayRPA, ReadsThePointsItWasMadeOverUntilCutOff) {
  auto* a = new QorVectorArray;
  a->push(QorVector(1, 2, 3));
  a->push(QorVector(0.1, -5, 1e10));
  VertexArrayImp* v = a->makeVertexArray();
  v->addRef();
  double d[3] = {7, 7, 7};
  float f[3] = {7, 7, 7};
  ASSERT_TRUE(v->vertex(2, d) && v->vertex(2, f));
  EXPECT_TRUE(QorVector(d) == QorVector(0.1, -5, 1e10));
  EXPECT_EQ((std::vector<float>{f[0], f[1], f[2]}), (std::vector<float>{0.1f, -5.f, 1e10f}));
  a->push(QorVector(4, 4, 4));  // past the end it was made with
  for (int32_t index : {0, -1, 3, 4}) EXPECT_FALSE(v->vertex(index, d)) << index;
  a->pop(2);  // past the present size
  EXPECT_FALSE(v->vertex(2, d));
  EXPECT_TRUE(v->vertex(1, d) && d[2] == 3);
  VertexArrayImp* w = a->makeVertexArray();
  EXPECT_FALSE(v->vertex(1, d));  // the newer one took over
  EXPECT_TRUE(w->vertex(1, f) && f[0] == 1.f);
  EXPECT_EQ(qorQuery<VertexArrayImp>(w, "VertexArrayImp"), w);
  delete a;
  d[0] = 7;
  EXPECT_TRUE(!v->vertex(1, d) && d[0] == 7);
  v->release();
}

}  // namespace
