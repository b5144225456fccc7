#include "datamodel/dataevent.h"

DataEvent::DataEvent() = default;

DataEvent::~DataEvent() = default;

void DataEvent::setEventName(const QorCString& name) {
  name_ = QorCString(name.data());
}

DataEvent::Entry DataEvent::entryOf(IQorEventSubscriber* s, int32_t priority) {
  return Entry{s, dynamic_cast<qor::EventRelay*>(s), priority, 0};
}

IterStack<DataEvent::Entry>& DataEvent::listed() {
  if (!subscribers_) subscribers_.emplace(kInitialEntries);
  return *subscribers_;
}

IterStack<DataEvent::Entry>& DataEvent::waiting() {
  if (!pending_) pending_.emplace(kInitialEntries);
  return *pending_;
}

const IterStack<DataEvent::Entry>& DataEvent::none() {
  // A moved-from stack holds no storage. Never destroyed, like the other process statics.
  static const IterStack<Entry>* empty = [] {
    auto* s = new IterStack<Entry>();
    IterStack<Entry> taken(std::move(*s));
    return s;
  }();
  return *empty;
}

int32_t DataEvent::indexOf(IQorEventSubscriber* s) const {
  const IterStack<Entry>& list = subscribers();
  for (int32_t i = 1; i <= list.count(); ++i)
    if (list.get(i).subscriber == s) return i;
  return 0;
}

void DataEvent::subscribe(IQorEventSubscriber* s) {
  if (indexOf(s) != 0) return;
  listed().push(entryOf(s, -1));
}

void DataEvent::subscribeWithPriority(IQorEventSubscriber* s, int32_t priority) {
  if (firingDepth_ != 0) {
    waiting().push(entryOf(s, priority));
    return;
  }
  IterStack<Entry>& list = listed();
  const int32_t n = list.count();
  for (int32_t i = 1; i <= n; ++i) {
    if (list.get(i).priority > priority) {
      // Open slot i by moving the later entries up, in order; the push grows the list by
      // the stack's growth rule.
      list.push(list.get(n));
      for (int32_t k = n - 1; k >= i; --k) list.at(k + 1) = list.get(k);
      list.at(i) = entryOf(s, priority);
      return;
    }
  }
  // No greater priority: the plain subscribe, which lands at the end with priority -1.
  subscribe(s);
}

void DataEvent::unsubscribe(IQorEventSubscriber* s) {
  const int32_t i = indexOf(s);
  if (i == 0) return;
  if (firingDepth_ != 0) {
    dirty_ = 1;
    subscribers_->at(i).removed = 1;
    return;
  }
  subscribers_->removeAt(i);
}

IQorDataObjectEvent& DataEvent::operator+=(IQorEventSubscriber* s) {
  subscribe(s);
  return *this;
}

IQorDataObjectEvent& DataEvent::operator-=(IQorEventSubscriber* s) {
  unsubscribe(s);
  return *this;
}

void DataEvent::fire(IQorDataEventSource* sender, IQorDataEventArgs* args) {
  // Lowers the depth and sweeps on every way out, an exception from a subscriber included.
  struct Depth {
    DataEvent* event;
    explicit Depth(DataEvent* e) : event(e) { ++event->firingDepth_; }
    ~Depth() {
      --event->firingDepth_;
      event->sweep();
    }
  } depth(this);
  const int32_t n = subscribers().count();
  for (int32_t i = 1; i <= n; ++i) {
    // Read afresh: a callback may have marked an entry or grown the list's storage.
    const Entry e = subscribers_->get(i);
    if (!e.removed && e.subscriber) e.subscriber->handleEvent(sender, name_, args);
  }
}

void DataEvent::sweep() {
  if (firingDepth_ != 0) return;
  if (dirty_) {
    IterStack<Entry>& list = *subscribers_;
    IterStack<Entry> kept(list.count());
    for (int32_t i = 1; i <= list.count(); ++i)
      if (!list.get(i).removed) kept.push(list.get(i));
    list.clear();
    for (int32_t i = 1; i <= kept.count(); ++i) list.push(kept.get(i));
    dirty_ = 0;
  }
  if (pending_ && pending_->count() > 0) {
    // Copied first: placing an entry never fires, but keeps the loop independent of it.
    IterStack<Entry> requests(pending_->count());
    for (int32_t i = 1; i <= pending_->count(); ++i) requests.push(pending_->get(i));
    pending_->clear();
    for (int32_t i = 1; i <= requests.count(); ++i)
      subscribeWithPriority(requests.get(i).subscriber, requests.get(i).priority);
  }
}
