// DataEvent: one named event with an ordered list of subscribers, delivered synchronously
// on the caller's thread. Delivery stays safe when a subscriber subscribes, unsubscribes or
// fires the same event again from inside its own callback:
//   - subscribe during a delivery appends at once; the new entry is first called by the
//     next delivery, because a delivery reads the count of entries once, at its start;
//   - subscribeWithPriority during a delivery waits in `pending` and is placed when the
//     outermost delivery ends;
//   - unsubscribe during a delivery only marks the entry, which every delivery then skips;
//     the marked entries are swept out when the outermost delivery ends.
// An exception that leaves a subscriber ends the delivery at that subscriber and goes on to
// the caller of fire; on its way out it lowers the firing depth and sweeps, so the event
// keeps working afterwards exactly as after a normal end.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "base/qorcstring.h"
#include "datamodel/iqordataevent.h"

class DataEvent : public IQorDataObjectEvent {
 public:
  // One subscriber's place in a list.
  struct Entry {
    int32_t priority;                 // ascending order key; -1 by default
    IQorEventSubscriber* subscriber;  // raw: never counted, never deleted
    uint8_t removed;                  // marked during a delivery instead of removed
  };

  // The number of usable entries both lists start with (capacity 21, slot 0 unused).
  static constexpr int32_t kInitialEntries = 20;

  // An unnamed event with empty lists.
  DataEvent();
  // Frees both lists and the name; touches no subscriber.
  ~DataEvent() override;
  DataEvent(const DataEvent&) = delete;
  DataEvent& operator=(const DataEvent&) = delete;

  const QorCString& eventName() const override { return name_; }
  // Keeps an owned copy of `name`.
  void setEventName(const QorCString& name) override;
  void subscribeWithPriority(IQorEventSubscriber* s, int32_t priority) override;
  void subscribe(IQorEventSubscriber* s) override;
  void unsubscribe(IQorEventSubscriber* s) override;
  IQorDataObjectEvent& operator+=(IQorEventSubscriber* s) override;
  IQorDataObjectEvent& operator-=(IQorEventSubscriber* s) override;
  void fire(IQorDataEventSource* sender, IQorDataEventArgs* args) override;

  // The live list, one-based; entries marked removed are still in it until the sweep.
  const IterStack<Entry>& subscribers() const { return subscribers_; }
  // Requests of subscribeWithPriority made during a delivery, in order of arrival.
  const IterStack<Entry>& pending() const { return pending_; }
  // How many fire calls of this event are on the stack.
  int32_t firingDepth() const { return firingDepth_; }
  // Whether an entry was marked removed since the last sweep.
  bool dirty() const { return dirty_ != 0; }

 private:
  // At depth 0: drops the marked entries, then places the pending requests in order.
  void sweep();
  // The one-based index of `s` in the live list, or 0.
  int32_t indexOf(IQorEventSubscriber* s) const;

  QorCString name_;
  IterStack<Entry> subscribers_;
  IterStack<Entry> pending_;
  uint8_t dirty_ = 0;
  int32_t firingDepth_ = 0;
};
