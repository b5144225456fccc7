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
//
// Before a source builds the arguments of a change it asks wouldDeliver: a change that
// nobody would hear is not built at all. A subscriber that only passes events on to
// listeners of its own (an EventRelay, such as the subscriber a data object keeps on each
// of its properties) counts only when it says that someone would hear it.
#pragma once
#include <cstdint>
#include <optional>

#include "base/iterstack.h"
#include "base/qorcstring.h"
#include "datamodel/iqordataevent.h"

namespace qor {
// A subscriber that passes events on to listeners of its own. Not a slot interface: a
// subscriber class takes it as a second base, and the event finds it when it lists the
// subscriber.
class EventRelay {
 public:
  // Whether passing on a firing of `sender` now would reach anyone.
  virtual bool relayHeard(IQorDataEventSource* sender) = 0;

 protected:
  ~EventRelay() = default;
};
}  // namespace qor

class DataEvent : public IQorDataObjectEvent {
 public:
  // One subscriber's place in a list.
  struct Entry {
    IQorEventSubscriber* subscriber;  // raw: never counted, never deleted
    qor::EventRelay* relay;           // the subscriber's relay view, or null
    int32_t priority;                 // ascending order key; -1 by default
    uint8_t removed;                  // marked during a delivery instead of removed
  };

  // The number of usable entries of a list's first storage (capacity 21, slot 0 unused). A
  // list takes its storage when its first entry comes: most events never have one.
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

  // The live list, one-based; entries marked removed are still in it until the sweep. A
  // list without storage reads as empty with capacity 0.
  const IterStack<Entry>& subscribers() const { return subscribers_ ? *subscribers_ : none(); }
  // Requests of subscribeWithPriority made during a delivery, in order of arrival.
  const IterStack<Entry>& pending() const { return pending_ ? *pending_ : none(); }
  // How many fire calls of this event are on the stack.
  int32_t firingDepth() const { return firingDepth_; }
  // Whether an entry was marked removed since the last sweep.
  bool dirty() const { return dirty_ != 0; }

  // Whether fire(sender, ...) now would call a subscriber that hears it: an entry not
  // marked removed that is no relay, or a relay that says someone would hear it.
  bool wouldDeliver(IQorDataEventSource* sender) const {
    if (!subscribers_) return false;
    const int32_t n = subscribers_->count();
    for (int32_t i = 1; i <= n; ++i) {
      const Entry& e = subscribers_->get(i);
      if (e.removed || !e.subscriber) continue;
      if (!e.relay || e.relay->relayHeard(sender)) return true;
    }
    return false;
  }
  // Whether an entry not marked removed is listed.
  bool hasLiveSubscriber() const {
    if (!subscribers_) return false;
    const int32_t n = subscribers_->count();
    for (int32_t i = 1; i <= n; ++i)
      if (!subscribers_->get(i).removed && subscribers_->get(i).subscriber) return true;
    return false;
  }

 private:
  // At depth 0: drops the marked entries, then places the pending requests in order.
  void sweep();
  // The one-based index of `s` in the live list, or 0.
  int32_t indexOf(IQorEventSubscriber* s) const;
  // A fresh entry for `s`: not removed, with its relay view.
  static Entry entryOf(IQorEventSubscriber* s, int32_t priority);
  // The list, made with its first storage when it has none.
  IterStack<Entry>& listed();
  IterStack<Entry>& waiting();
  // The empty list without storage that an unmade list reads as.
  static const IterStack<Entry>& none();

  QorCString name_;
  std::optional<IterStack<Entry>> subscribers_;
  std::optional<IterStack<Entry>> pending_;
  uint8_t dirty_ = 0;
  int32_t firingDepth_ = 0;
};
