// The quicksort of point arrays, included from bulk/realparray.h.
#pragma once
#include <utility>

#include "base/iterstack.h"

namespace qor {

template <class T, class Cmp>
void pointInsertionSort(T* a, int32_t lo, int32_t hi, Cmp& cmp) {
  for (int32_t k = lo + 1; k <= hi; ++k) {
    const T v = a[k];
    int32_t m = k - 1;
    while (m >= lo && cmp(a[m], v) > 0) {
      a[m + 1] = a[m];
      --m;
    }
    a[m + 1] = v;
  }
}

template <class T, class Cmp>
void pointQuickSort(T* a, int32_t lo, int32_t hi, Cmp&& cmp) {
  if (hi - lo + 1 < 5) {
    pointInsertionSort(a, lo, hi, cmp);
    return;
  }
  IterStack<int> ranges(64);
  ranges.push(lo);
  ranges.push(hi);
  while (!ranges.isEmpty()) {
    const int32_t right = ranges.pop();
    const int32_t left = ranges.pop();
    if (right - left + 1 < 5) {
      pointInsertionSort(a, left, right, cmp);
      continue;
    }
    const int32_t mid = left + (right - left) / 2;
    if (cmp(a[left], a[right]) > 0) std::swap(a[left], a[right]);
    // The median of left, mid and right goes to left + 1, the smaller of the other two to
    // left, the larger to right; an element equal to its neighbour stays where it is.
    const T lifted = a[left + 1];
    const T m = a[mid];
    if (cmp(m, a[left]) < 0) {
      a[left + 1] = a[left];
      a[left] = m;
    } else if (cmp(m, a[right]) > 0) {
      a[left + 1] = a[right];
      a[right] = m;
    } else {
      a[left + 1] = m;
    }
    a[mid] = lifted;
    const T pivot = a[left + 1];
    int32_t i = left + 1, j = right;
    for (;;) {
      do ++i;
      while (cmp(a[i], pivot) < 0);
      do --j;
      while (cmp(a[j], pivot) > 0);
      if (j < i) break;
      std::swap(a[i], a[j]);
    }
    if (j != left + 1) {
      a[left + 1] = a[j];
      a[j] = pivot;
    }
    const int32_t parts[2][2] = {{left, j - 1}, {j + 1, right}};
    for (const auto& p : parts) {
      if (p[1] - p[0] < 1) continue;
      if (p[1] - p[0] > 4) {
        ranges.push(p[0]);
        ranges.push(p[1]);
      } else {
        pointInsertionSort(a, p[0], p[1], cmp);
      }
    }
  }
}

}  // namespace qor
