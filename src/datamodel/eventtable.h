// EventTable: the table from event name to DataEvent that a source owns, and the operations
// by event name that sources offer on top of it. It is the system's chained hash table with
// narrow keys (djb2 over signed bytes, prime bucket counts, growth to the next prime when
// the entries reach 0.8 times the buckets).
#pragma once
#include <cstdint>

#include "base/map.h"
#include "base/qorcstring.h"
#include "datamodel/dataevent.h"

class EventTable {
 public:
  // A table of exactly `bucketCount` buckets, which must be an entry of the prime table
  // (a property starts with nextPrime(2) = 3, a data object with nextPrime(6) = 11).
  explicit EventTable(int32_t bucketCount);
  // Destroys every event directly through its virtual destructor; no subscriber hears of
  // it.
  ~EventTable();
  EventTable(const EventTable&) = delete;
  EventTable& operator=(const EventTable&) = delete;

  // Creates the event `name`, names it and stores it; an existing event of that name is
  // kept and returned instead, so there is one entry per name.
  DataEvent* addEvent(const QorCString& name);
  // The event `name`, or null.
  DataEvent* find(const QorCString& name) const;

  int32_t count() const { return events_.count(); }
  int32_t bucketCount() const { return events_.bucketCount(); }
  // Calls f(event) for every event in bucket order, each chain from its head.
  template <class F>
  void forEach(F&& f) const {
    events_.forEach([&f](const QorCString&, DataEvent* const& e) { f(e); });
  }

 private:
  Map<QorCString, DataEvent*> events_;
};

namespace qor {
// subscribe by event name: false when there is no table or no event of that name.
bool subscribeEvent(EventTable* table, const QorCString& name, IQorEventSubscriber* s);
// unsubscribe by event name: false when there is no table or no event of that name.
bool unsubscribeEvent(EventTable* table, const QorCString& name, IQorEventSubscriber* s);
// fire by event name with `sender`; nothing when the table or the event is missing.
void fireEvent(EventTable* table, const QorCString& name, IQorDataEventSource* sender,
               IQorDataEventArgs* args);
}  // namespace qor
