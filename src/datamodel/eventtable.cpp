#include "datamodel/eventtable.h"

// The map's size hint s gives nextPrime(s - 1) buckets, which for a prime is the prime.
EventTable::EventTable(int32_t bucketCount) : events_(bucketCount) {}

EventTable::~EventTable() {
  events_.forEach([](const QorCString&, DataEvent*& e) {
    delete e;
    e = nullptr;
  });
  events_.clear();
}

DataEvent* EventTable::addEvent(const QorCString& name) {
  DataEvent*& slot = events_[QorCString(name.data())];
  if (!slot) {
    auto* e = new DataEvent();
    e->setEventName(name);
    slot = e;
  }
  return slot;
}

DataEvent* EventTable::find(const QorCString& name) const {
  DataEvent* const* e = events_.find(name);
  return e ? *e : nullptr;
}

namespace qor {

bool subscribeEvent(EventTable* table, const QorCString& name, IQorEventSubscriber* s) {
  IQorDataObjectEvent* e = table ? table->find(name) : nullptr;
  if (!e) return false;
  e->subscribe(s);
  return true;
}

bool unsubscribeEvent(EventTable* table, const QorCString& name, IQorEventSubscriber* s) {
  IQorDataObjectEvent* e = table ? table->find(name) : nullptr;
  if (!e) return false;
  e->unsubscribe(s);
  return true;
}

void fireEvent(EventTable* table, const QorCString& name, IQorDataEventSource* sender,
               IQorDataEventArgs* args) {
  if (IQorDataObjectEvent* e = table ? table->find(name) : nullptr) e->fire(sender, args);
}

}  // namespace qor
