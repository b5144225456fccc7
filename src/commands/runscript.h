// The command that hands a script file to the host's script engine.
#pragma once
#include <cstdint>

#include "commands/modifier.h"

class IQorRunScript : public virtual IQorUnknown {
 public:
  virtual const QorString& name() = 0;                // 0
  virtual void run(const QorString& scriptName) = 0;  // 1
  virtual void run() = 0;                             // 2
};

// Properties after the base's: "scriptName" (string, ""), the script's file path.
//
// The command's run gives no result, while the base's run gives a number: one C++ class
// can't override both, so the IQorRunScript view is a small part object that forwards to
// the command (its counts and queries are the command's).
class RunScript : public Modifier {
 public:
  RunScript();

  // Answers "RunScript", "IQorUnknown", "IQorRunScript", then the names of Modifier.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RunScript"; }

  // The class name, "RunScript".
  const QorString& name() override;
  // Runs the script the property "scriptName" names; 0.
  int32_t run() override;
  // Runs `scriptName` through the host's engine with an empty extra text; the property is
  // left as it is. Raises a class error ("RunScript") for an empty name or no engine.
  void run(const QorString& scriptName);

 private:
  class View : public IQorRunScript {
   public:
    explicit View(RunScript* owner) : owner_(owner) {}
    void addRef() override { owner_->addRef(); }
    bool release() override { return owner_->release(); }
    bool releaseNoDelete() override { return owner_->releaseNoDelete(); }
    uint32_t refCount() override { return owner_->refCount(); }
    QorWeakRef* weakRef() override { return owner_->weakRef(); }
    void queryInterface(const char* name, void** out, uintptr_t reserved) override {
      owner_->queryInterface(name, out, reserved);
    }
    const char* className() override { return owner_->className(); }
    const QorString& name() override { return owner_->name(); }
    void run(const QorString& scriptName) override { owner_->run(scriptName); }
    void run() override { owner_->run(); }

   private:
    RunScript* owner_;
  };
  View view_{this};
};
