// QorCStringMap<V>: an ordered map from narrow names to values.
#pragma once
#include <cstdint>
#include <cstring>
#include <map>
#include <utility>

#include "base/qorcstring.h"
#include "base/wexrealloc.h"

namespace qor {
// Where a null key reports itself.
inline constexpr const char* kCStringMapSourcePath =
    "packages/core/qorcore/include/basic_types/qorcstringmap";
inline constexpr int32_t kCStringMapNullKeyLine = 40;

// Text order of narrow names: bytes compared as unsigned, a null text before any other.
struct CStringLess {
  using is_transparent = void;
  static const char* text(const QorCString& s) { return s.data(); }
  static const char* text(const char* s) { return s; }
  template <class A, class B>
  bool operator()(const A& a, const B& b) const {
    const char* x = text(a);
    const char* y = text(b);
    if (!x || !y) return !x && y;
    return std::strcmp(x, y) < 0;  // strcmp compares bytes as unsigned char
  }
};
}  // namespace qor

// An ordered map with QorCString keys, held as a pointer to a balanced tree made at the
// first insertion. Iteration runs in the text order of the keys. The map keeps its own
// copy of every key, so a key that borrows its text may go away after the insertion.
// Lookups take a char pointer, compared as text; a null key takes the assertion road
// ("data_") and finds nothing.
template <class V>
class QorCStringMap {
  using Tree = std::map<QorCString, V, qor::CStringLess>;

 public:
  QorCStringMap() = default;
  QorCStringMap(const QorCStringMap& o) : tree_(o.tree_ ? new Tree(*o.tree_) : nullptr) {}
  QorCStringMap(QorCStringMap&& o) noexcept : tree_(o.tree_) { o.tree_ = nullptr; }
  QorCStringMap& operator=(const QorCStringMap& o) {
    if (this != &o) {
      QorCStringMap copy(o);
      std::swap(tree_, copy.tree_);
    }
    return *this;
  }
  QorCStringMap& operator=(QorCStringMap&& o) noexcept {
    std::swap(tree_, o.tree_);
    return *this;
  }
  ~QorCStringMap() { delete tree_; }

  // The value of `key`, made with a default value when missing. A null key asserts and is
  // then kept as the first key.
  V& operator[](const char* key) {
    checkKey(key);
    if (!tree_) tree_ = new Tree();
    auto it = tree_->find(key);
    if (it == tree_->end()) it = tree_->emplace(QorCString(key), V()).first;
    return it->second;
  }
  V& operator[](const QorCString& key) { return (*this)[key.data()]; }

  // Sets the value of `key`; true when the key is new.
  bool insert(const char* key, const V& value) {
    bool fresh = !contains(key);
    (*this)[key] = value;
    return fresh;
  }
  bool insert(const QorCString& key, const V& value) { return insert(key.data(), value); }

  // False if there is no such key (and *value stays as it was); otherwise true, with
  // *value pointing at the value.
  bool find(const char* key, V** value) {
    if (!checkKey(key) || !tree_) return false;
    auto it = tree_->find(key);
    if (it == tree_->end()) return false;
    if (value) *value = &it->second;
    return true;
  }
  bool find(const QorCString& key, V** value) { return find(key.data(), value); }

  bool contains(const char* key) const {
    if (!checkKey(key) || !tree_) return false;
    return tree_->find(key) != tree_->end();
  }
  bool contains(const QorCString& key) const { return contains(key.data()); }

  // Removes `key`; false when it was missing.
  bool remove(const char* key) {
    if (!checkKey(key) || !tree_) return false;
    auto it = tree_->find(key);
    if (it == tree_->end()) return false;
    tree_->erase(it);
    return true;
  }
  bool remove(const QorCString& key) { return remove(key.data()); }

  int32_t count() const { return tree_ ? static_cast<int32_t>(tree_->size()) : 0; }
  void clear() {
    delete tree_;
    tree_ = nullptr;
  }

  // Calls f(key, value) for every entry in key order.
  template <class F>
  void forEach(F&& f) {
    if (tree_)
      for (auto& [k, v] : *tree_) f(k, v);
  }
  template <class F>
  void forEach(F&& f) const {
    if (tree_)
      for (const auto& [k, v] : *tree_) f(k, v);
  }

 private:
  static bool checkKey(const char* key) {
    if (key) return true;
    wexAssertFailed("data_", qor::kCStringMapSourcePath, qor::kCStringMapNullKeyLine);
    return false;
  }

  Tree* tree_ = nullptr;
};
