// Descriptions: the process-wide table of documentation texts of properties. Its key is a
// class name, ":" and a property name ("AddModel:type"). It is a chained hash table that
// starts with 17 buckets, hashes a key as the plain sum of its 16-bit units and grows to
// the next prime when the entries reach 0.8 times the buckets. No lock: it is filled on the
// thread that drives the data model.
#pragma once
#include <cstdint>

#include "base/map.h"
#include "base/qorstring.h"

class Descriptions {
 public:
  // The one table of the process, made on first use and kept to the end.
  static Descriptions& instance();

  // An empty table of 17 buckets.
  Descriptions();
  virtual ~Descriptions();
  Descriptions(const Descriptions&) = delete;
  Descriptions& operator=(const Descriptions&) = delete;

  // Stores `text` under `key`, replacing an earlier text.
  virtual void store(const QorString& key, const QorString& text);
  // The text of a key that must exist; a missing key takes the assertion road and answers
  // an empty text. Test with contains first.
  virtual const QorString& lookup(const QorString& key);
  // Whether `key` has a text.
  virtual bool contains(const QorString& key);

  int32_t count() const { return table_.count(); }
  int32_t bucketCount() const { return table_.bucketCount(); }

 private:
  Map<QorString, QorString> table_;
};
