// Point records (float and double, with and without colours) and the vertex array of a
// point array: what it reads, and when it stops reading.
#include <gtest/gtest.h>

#include <vector>

#include "bulk/qorvectorarray.h"
#include "core/iptr.h"

namespace {

template <class T>
class PointRecords : public ::testing::Test {};
using RecordTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PointRecords, RecordTypes);

TYPED_TEST(PointRecords, PushSetReadAndGrey) {
  using T = TypeParam;
  using R = QorPointRecord<T>;
  for (bool coloured : {false, true}) {
    QorVectorArray a;
    EXPECT_EQ(a.enableExtra(coloured), coloured);
    EXPECT_EQ(a.pushRecord(R{{1, 2, 3, 9}, {1, 0, 0}}) + a.pushRecord(R{{4, 5, 6, 9}, {0, 0, 1}}),
              3);
    a.setRecord(1, R{{1.5, -8, 0.25, 9}, {0, 1, 0}});
    R out{{0, 0, 0, 42}, {5, 5, 5}}, grey = out;
    EXPECT_EQ(a.record(1, &out), coloured);
    EXPECT_EQ(std::vector<T>(out.point, out.point + 4), (std::vector<T>{1.5, -8, 0.25, 42}));
    EXPECT_EQ(std::vector<T>(out.color, out.color + 3), (std::vector<T>{0, T(coloured), 0}));
    EXPECT_EQ(a.greyRecord(2, &grey), coloured);
    EXPECT_EQ(std::vector<T>(grey.point, grey.point + 3), (std::vector<T>{4, 5, 6}));
    EXPECT_NEAR(double(grey.point[3]), coloured ? 0.11 : 0.0, 1e-6) << coloured;
    EXPECT_EQ(grey.color[0], T(5));  // the channels stay as they were
  }
}

TEST(VertexArrayRPA, ReadsThePointsItWasMadeOverUntilCutOff) {
  auto* a = new QorVectorArray;
  for (const QorVector& p : {QorVector(1, 2, 3), QorVector(0.1, -5, 1e10)}) a->push(p);
  IPtr<VertexArrayImp> v(a->makeVertexArray());
  double d[3] = {7, 7, 7};
  float f[3] = {7, 7, 7};
  ASSERT_TRUE(v->vertex(2, d) && v->vertex(2, f));
  EXPECT_TRUE(QorVector(d) == QorVector(0.1, -5, 1e10));
  EXPECT_EQ(std::vector<float>(f, f + 3), (std::vector<float>{0.1f, -5.f, 1e10f}));
  a->push(QorVector(4, 4, 4));  // past the end it was made with
  for (int32_t index : {0, -1, 3}) EXPECT_FALSE(v->vertex(index, d)) << index;
  a->pop(2);  // past the present size
  EXPECT_TRUE(!v->vertex(2, d) && v->vertex(1, d) && d[2] == 3);
  VertexArrayImp* w = a->makeVertexArray();
  EXPECT_TRUE(!v->vertex(1, d) && w->vertex(1, f) && f[0] == 1.f);  // the newer one took over
  delete a;
  EXPECT_FALSE(v->vertex(1, d));
}

}  // namespace
