// QorQuaternion: a rotation as four doubles, w first.
#pragma once
#include <iosfwd>
#include <type_traits>

class BinOutput;
class BinInput;
class QorMatrix;
class QorVector;

// A quaternion w + x i + y j + z k, all 0 by default. It has no arithmetic of its own: it
// travels between matrices (QorMatrix::fromQuaternion and toQuaternion) and files.
class QorQuaternion {
 public:
  double w = 0.0;
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  // All four 0.
  constexpr QorQuaternion() = default;
  // The quaternion (w, x, y, z).
  constexpr QorQuaternion(double wv, double xv, double yv, double zv)
      : w(wv), x(xv), y(yv), z(zv) {}

  // The rotation matrix of this quaternion, taken as given (not normalised).
  QorMatrix toMatrix() const;
  // The quaternion of the rotation part of m.
  static QorQuaternion fromMatrix(const QorMatrix& m);

  // Four doubles on the stream, in field order; answers the stream's outcome.
  bool write(BinOutput& out) const;
  // Four doubles from the stream; answers the stream's outcome.
  bool read(BinInput& in);

  // Exact comparison of the four fields.
  bool operator==(const QorQuaternion& o) const {
    return w == o.w && x == o.x && y == o.y && z == o.z;
  }
};

static_assert(std::is_standard_layout_v<QorQuaternion> &&
                  sizeof(QorQuaternion) == 4 * sizeof(double),
              "QorQuaternion is stored as four doubles in field order");
static_assert(std::is_trivially_copyable_v<QorQuaternion>);

// "(w,x,y,z)" with the stream's number format.
std::ostream& operator<<(std::ostream& os, const QorQuaternion& q);
