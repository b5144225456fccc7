// QorTEventSubscriber<T>: a subscriber that forwards every event to a member function of
// its owner. The owner binds the member once and keeps the subscriber; the subscriber holds
// its owner raw. It is a relay: an owner that passes events on binds a second member that
// tells whether anyone would hear a firing, and a source asks it before building a change.
#pragma once
#include <cstdint>

#include "core/listing.h"
#include "datamodel/dataevent.h"
#include "datamodel/iqordataevent.h"

namespace qor {
// The query name of the subscriber of owner class T, e.g. "QorTEventSubscriber<DataObject>".
// A class that binds a subscriber provides a specialisation; the generic form answers the
// unspecialised name.
template <class T>
struct EventSubscriberName {
  static constexpr const char* value = "QorTEventSubscriber<T>";
};
}  // namespace qor

template <class T>
class QorTEventSubscriber : public IQorEventSubscriber, public qor::EventRelay {
 public:
  // The member that hears the events: the signature of handleEvent.
  using Handler = bool (T::*)(IQorDataEventSource*, const QorCString&, IQorDataEventArgs*);
  // The member that tells whether the owner would pass a firing of `sender` on to anyone.
  using Asker = bool (T::*)(IQorDataEventSource*);

  // Forwards to `handler` of `owner`; either may be null, and then nothing is forwarded.
  // Without `asker` every firing counts as heard.
  QorTEventSubscriber(T* owner, Handler handler, Asker asker = nullptr)
      : owner_(owner), handler_(handler), asker_(asker) {}

  // Calls the bound member with the three arguments; false without owner or member.
  bool handleEvent(IQorDataEventSource* sender, const QorCString& eventName,
                   IQorDataEventArgs* args) override {
    if (!owner_ || !handler_) return false;
    return (owner_->*handler_)(sender, eventName, args);
  }
  // False without owner or member (nothing is forwarded); else the asker's answer.
  bool relayHeard(IQorDataEventSource* sender) override {
    if (!owner_ || !handler_) return false;
    return !asker_ || (owner_->*asker_)(sender);
  }

  // Answers its own query name, "IQorUnknown" and "IQorEventSubscriber".
  void queryInterface(const char* name, void** out, uintptr_t) override {
    if (!out) return;
    if (!name) {
      walkEnterClass(qor::EventSubscriberName<T>::value, out);
      walkAddInterface("IQorUnknown", out);
      walkAddInterface("IQorEventSubscriber", out);
      return;
    }
    *out = nullptr;
    if (qorNameIs(name, qor::EventSubscriberName<T>::value))
      *out = this;
    else if (qorNameIs(name, "IQorUnknown"))
      *out = static_cast<IQorUnknown*>(this);
    else if (qorNameIs(name, "IQorEventSubscriber"))
      *out = static_cast<IQorEventSubscriber*>(this);
  }
  const char* className() override { return qor::EventSubscriberName<T>::value; }

  // The owner the subscriber forwards to.
  T* owner() const { return owner_; }

 private:
  T* owner_;
  Handler handler_;
  Asker asker_;
};
