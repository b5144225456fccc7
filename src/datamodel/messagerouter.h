// Message routers: small objects that hold one member function of an owner and call it.
// A property that forwards to its owner holds routers through their bases, which know the
// value types only, so one property template serves every owner class.
//
// A router holds its owner raw and counts no reference: it is valid only while the owner
// lives.
#pragma once

// The call with a result. Argument places not in use are void*. The non-const forms answer
// a zero R and are never overridden; the const forms invoke the target of their arity.
template <class R, class A1 = void*, class A2 = void*, class A3 = void*, class A4 = void*>
class QorRetMsgBase {
 public:
  virtual ~QorRetMsgBase() = default;
  virtual R call(A1, A2, A3, A4) { return R{}; }
  virtual R call(A1, A2, A3) { return R{}; }
  virtual R call(A1, A2) { return R{}; }
  virtual R call(A1) { return R{}; }
  virtual R call(A1 a1, A2 a2, A3 a3, A4 a4) const = 0;
  virtual R call(A1 a1, A2 a2, A3 a3) const = 0;
  virtual R call(A1 a1, A2 a2) const = 0;
  virtual R call(A1 a1) const = 0;
  virtual R call() const = 0;
};

// The router of const member functions of `Owner` with a result. It is built with the one
// member its user needs; a call of an arity without a member answers a zero R. `M` is the
// member's own result type (a const reference to R, say), converted to R on return.
template <class Owner, class R, class A1 = void*, class A2 = void*, class A3 = void*,
          class A4 = void*, class M = R>
class QorRetMsgRtr_const : public QorRetMsgBase<R, A1, A2, A3, A4> {
 public:
  using F0 = M (Owner::*)() const;
  using F1 = M (Owner::*)(A1) const;
  using F2 = M (Owner::*)(A1, A2) const;
  using F3 = M (Owner::*)(A1, A2, A3) const;
  using F4 = M (Owner::*)(A1, A2, A3, A4) const;

  QorRetMsgRtr_const(const Owner* owner, F0 f) : owner_(owner), f0_(f) {}
  QorRetMsgRtr_const(const Owner* owner, F1 f) : owner_(owner), f1_(f) {}
  QorRetMsgRtr_const(const Owner* owner, F2 f) : owner_(owner), f2_(f) {}
  QorRetMsgRtr_const(const Owner* owner, F3 f) : owner_(owner), f3_(f) {}
  QorRetMsgRtr_const(const Owner* owner, F4 f) : owner_(owner), f4_(f) {}

  using QorRetMsgBase<R, A1, A2, A3, A4>::call;
  R call(A1 a1, A2 a2, A3 a3, A4 a4) const override {
    return f4_ ? R((owner_->*f4_)(a1, a2, a3, a4)) : R{};
  }
  R call(A1 a1, A2 a2, A3 a3) const override { return f3_ ? R((owner_->*f3_)(a1, a2, a3)) : R{}; }
  R call(A1 a1, A2 a2) const override { return f2_ ? R((owner_->*f2_)(a1, a2)) : R{}; }
  R call(A1 a1) const override { return f1_ ? R((owner_->*f1_)(a1)) : R{}; }
  R call() const override { return f0_ ? R((owner_->*f0_)()) : R{}; }

 private:
  const Owner* owner_;
  F0 f0_ = nullptr;
  F1 f1_ = nullptr;
  F2 f2_ = nullptr;
  F3 f3_ = nullptr;
  F4 f4_ = nullptr;
};

// The call with one argument and no result.
template <class T>
class QorSingleMsgBase {
 public:
  virtual ~QorSingleMsgBase() = default;
  virtual void call(T value) = 0;
};

// The router of a member of `Owner` that takes one argument. `P` is the member's own
// parameter type (a const reference to T, say).
template <class Owner, class T, class P = T>
class QorSingleMsgRtr : public QorSingleMsgBase<T> {
 public:
  using F = void (Owner::*)(P);
  QorSingleMsgRtr(Owner* owner, F f) : owner_(owner), f_(f) {}
  void call(T value) override {
    if (f_) (owner_->*f_)(value);
  }

 private:
  Owner* owner_;
  F f_;
};

// The call with two arguments and no result.
template <class A, class B>
class Qor2MsgBase {
 public:
  virtual ~Qor2MsgBase() = default;
  virtual void call(A a, B b) = 0;
};

// The router of a member of `Owner` that takes two arguments.
template <class Owner, class A, class B>
class Qor2MsgRtr : public Qor2MsgBase<A, B> {
 public:
  using F = void (Owner::*)(A, B);
  Qor2MsgRtr(Owner* owner, F f) : owner_(owner), f_(f) {}
  void call(A a, B b) override {
    if (f_) (owner_->*f_)(a, b);
  }

 private:
  Owner* owner_;
  F f_;
};
