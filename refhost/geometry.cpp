#include "refhost/geometry.h"

#include <algorithm>

namespace refhost {

QorBounds Geometry::bounds() const {
  QorBounds b;
  const size_t n = positions.size() / 3;
  if (n == 0) return b;
  const double* p = positions.data();
  double lo[3] = {p[0], p[1], p[2]}, hi[3] = {p[0], p[1], p[2]};
  for (size_t i = 1; i < n; ++i) {
    const double* q = p + 3 * i;
    for (int k = 0; k < 3; ++k) {
      lo[k] = std::min(lo[k], q[k]);
      hi[k] = std::max(hi[k], q[k]);
    }
  }
  return QorBounds(lo[0], lo[1], lo[2], hi[0], hi[1], hi[2]);
}

}  // namespace refhost
