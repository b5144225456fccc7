// The slot order of the interfaces the host calls by position: every operation of the
// property map, the property and the writeable interface, read from the virtual table
// offsets that pointers to members carry.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

#include "datamodel/iqorpropertymap.h"
#include "datamodel/property.h"

namespace {

// The virtual table index of a virtual member function: the pointer to member holds the
// byte offset plus one.
template <class M>
std::ptrdiff_t slotOf(M member) {
  struct {
    std::uintptr_t ptr;
    std::ptrdiff_t adj;
  } rep;
  static_assert(sizeof(member) == sizeof(rep));
  std::memcpy(&rep, &member, sizeof(rep));
  EXPECT_EQ(rep.ptr & 1u, 1u);  // virtual
  return static_cast<std::ptrdiff_t>((rep.ptr - 1) / sizeof(void*));
}

// Every operation's index counted from the first one is its slot minus one. The map's
// list takes every block boundary, every overload family and the management slots.
void expectConsecutive(const std::vector<std::pair<int, std::ptrdiff_t>>& slots) {
  const std::ptrdiff_t base = slots.front().second;
  for (const auto& [slot, index] : slots) EXPECT_EQ(index - base + 1, slot) << "slot " << slot;
}

TEST(SlotOrder, PropertyMapOperationsSitAtTheirSlots) {
  // The operation `f` with result R and parameters P of slot n.
#define M(n, R, f, P) {n, slotOf(static_cast<R(IQorPropertyMap::*) P>(&IQorPropertyMap::f))}
  std::vector<std::pair<int, std::ptrdiff_t>> slots = {
      M(1, void, set, (const char*, ImageArray*)),
      M(2, void, set, (const char*, IProgress*)),
      M(28, void, set, (const char*, const Transform3D&)),
      M(29, void, replaceProperty, (const char*, IQorProperty*)),
      M(30, void, set, (const char*, const Vector2F&)),
      M(34, void, set, (const char*, IQorUnknown*)),
      M(35, void, set, (const char*, const QorString&)),
      M(36, void, set, (const char*, const char*)),
      M(39, void, set, (const char*, double)),
      M(40, bool, getDescription, (const char*, QorString&)),
      M(42, IQorProperty*, getProperty, (const char*) const),
      M(45, IQorProperty*, getProperty, (const QorString&)),
      M(46, bool, hasProperty, (const char*)),
      M(48, IQorPropertyMapIter*, newIterator, ()),
      M(49, QorString, propertyNames, ()),
      M(50, int32_t, getInt, (const char*)),
      M(54, QorString, getString, (const char*)),
      M(55, DataObject*, getObject, (const char*) const),
      M(62, QorImage*, getImage, (const QorString&)),
      M(63, Vector2D, getVector2D, (const char*)),
      M(107, IProgress*, getIProgress, (const char*)),
      M(108, ImageArray*, getImageArray, (const char*)),
      M(109, QorString, documentation, ()),
      M(111, void, addProperty, (IQorProperty*)),
      M(112, void, addProperty, (IQorProperty*, const char*)),
      M(113, void, detachProperty, (const char*)),
      M(117, void, setProgress, (const char*, IProgress*)),
      M(119, Property*, getPropertyObject, (const QorString&)),
      M(120, Progress*, getProgress, (const char*)),
      M(123, bool, swapProperty, (PropertyMap&, const QorString&)),
  };
#undef M
  ASSERT_EQ(slots.size(), 30u);
  expectConsecutive(slots);
}

TEST(SlotOrder, PropertyAndWriteableOperationsInOrder) {
  expectConsecutive({
      {1, slotOf(&IQorProperty::typeName)},
      {2, slotOf(&IQorProperty::printValue)},
      {3, slotOf(&IQorProperty::subscribe)},
      {4, slotOf(&IQorProperty::unsubscribe)},
      {5, slotOf(&IQorProperty::clone)},
      {6, slotOf(&IQorProperty::getName)},
      {7, slotOf(&IQorProperty::setName)},
      {8, slotOf(&IQorProperty::clearValue)},
      {9, slotOf(&IQorProperty::isReadOnly)},
      {10, slotOf(&IQorProperty::assignFrom)},
      {11, slotOf(&IQorProperty::memorySize)},
      {12, slotOf(&IQorProperty::eventsEnabled)},
      {13, slotOf(&IQorProperty::setEventsEnabled)},
  });
  expectConsecutive({
      {1, slotOf(&IQorWriteable::classId)},
      {2, slotOf(&IQorWriteable::write)},
      {3, slotOf(&IQorWriteable::read)},
      {4, slotOf(&IQorWriteable::setWriteable)},
      {5, slotOf(&IQorWriteable::isWriteable)},
  });
}

}  // namespace
