// Map<K, V>: a chained hash table with prime bucket counts, and the prime table that every
// hash table of the system grows through.
#pragma once
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "base/qorcstring.h"
#include "base/wexrealloc.h"

namespace qor {

// The bucket counts of hash tables. The series goes on with 2147483659, which no signed
// 32-bit count can hold; it stops at 1073741827, which is then the last size.
inline constexpr int32_t kPrimeTable[] = {
    2,        3,        5,        11,        17,        37,        67,        131,
    257,      521,      1031,     2053,      4099,      8209,      16411,     32771,
    65537,    131101,   262147,   524309,    1048583,   2097169,   4194319,   8388617,
    16777259, 33554467, 67108879, 134217757, 268435459, 536870923, 1073741827};
inline constexpr int32_t kPrimeTableSize =
    static_cast<int32_t>(sizeof(kPrimeTable) / sizeof(kPrimeTable[0]));

// Where a failed lookup of Map::get reports itself.
inline constexpr const char* kMapSourcePath = "packages/core/qorcore/include/basic_types/map";
inline constexpr int32_t kMapGetLine = 250;

}  // namespace qor

// The first entry of the prime table greater than n, or the last entry when none is.
inline int32_t nextPrime(int32_t n) {
  for (int32_t p : qor::kPrimeTable)
    if (p > n) return p;
  return qor::kPrimeTable[qor::kPrimeTableSize - 1];
}

// The hash of a key type, as a 32-bit number that the table takes modulo its bucket count.
//   integers and enumerations: the value itself (identity), truncated to 32 bits
//   pointers: the address itself, truncated to 32 bits
//   QorCString: 5381, then h = h * 33 + byte for each byte taken as a signed char; a null
//     text hashes to 0
//   any other class: its member hash()
template <class K, class Enable = void>
struct MapHash {
  uint32_t operator()(const K& key) const { return static_cast<uint32_t>(key.hash()); }
};
template <class K>
struct MapHash<K, std::enable_if_t<std::is_integral_v<K> || std::is_enum_v<K>>> {
  uint32_t operator()(K key) const { return static_cast<uint32_t>(key); }
};
template <class K>
struct MapHash<K, std::enable_if_t<std::is_pointer_v<K>>> {
  uint32_t operator()(K key) const {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(key));
  }
};
template <>
struct MapHash<QorCString> {
  uint32_t operator()(const QorCString& key) const {
    const char* s = key.data();
    if (!s) return 0;
    uint32_t h = 5381;
    for (; *s; ++s)
      h = h * 33 + static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*s)));
    return h;
  }
};

// A chained hash table. The bucket count is always an entry of the prime table (or 17);
// the table of chain heads is made at the first insertion. A new node goes to the head of
// its chain. When an insertion brings the count to 0.8 times the bucket count the table
// grows to the next prime and the nodes move over, so references to values stay valid.
// No lock: an owner that shares a map between threads guards it.
template <class K, class V, class H = MapHash<K>>
class Map {
  // Beside its bucket index a node keeps the key's full hash (where the index would
  // otherwise leave padding), so that a lookup passes other keys without comparing them
  // and a rehash does not read the keys again.
  struct Node {
    int32_t bucket;
    uint32_t hash;
    K key;
    V value;
    Node* next;
  };

 public:
  // sizeHint above 2: the first prime above sizeHint - 1; otherwise 17. The default, 7,
  // gives 11.
  explicit Map(int32_t sizeHint = 7) : bucketCount_(sizeHint > 2 ? nextPrime(sizeHint - 1) : 17) {}
  Map(const Map& other) : bucketCount_(other.bucketCount_) {
    other.forEach([this](const K& k, const V& v) { (*this)[k] = v; });
  }
  Map(Map&& other) noexcept
      : table_(other.table_), bucketCount_(other.bucketCount_), count_(other.count_) {
    other.table_ = nullptr;
    other.count_ = 0;
  }
  Map& operator=(const Map& other) {
    if (this != &other) {
      Map copy(other);
      swap(copy);
    }
    return *this;
  }
  Map& operator=(Map&& other) noexcept {
    if (this != &other) {
      clear();
      swap(other);
    }
    return *this;
  }
  ~Map() { clear(); }

  // The value of `key`, made with a default value when missing.
  V& operator[](const K& key) {
    const uint32_t full = hash_(key);
    const uint32_t h = full % static_cast<uint32_t>(bucketCount_);
    if (table_) {
      for (Node* n = table_[h]; n; n = n->next)
        if (n->hash == full && n->key == key) return n->value;
    } else {
      table_ = new Node*[static_cast<size_t>(bucketCount_)]();
    }
    Node* n = new Node{static_cast<int32_t>(h), full, key, V(), table_[h]};
    table_[h] = n;
    ++count_;
    if (static_cast<double>(count_) >= 0.8 * static_cast<double>(bucketCount_)) rehash();
    return n->value;
  }

  // The value of a key that must exist. A missing key takes the assertion road and answers
  // a shared default value.
  const V& get(const K& key) const {
    if (const V* v = find(key)) return *v;
    wexAssertFailed("0", qor::kMapSourcePath, qor::kMapGetLine);
    static const V none{};
    return none;
  }

  // The value of `key`, or null.
  V* find(const K& key) { return const_cast<V*>(static_cast<const Map*>(this)->find(key)); }
  const V* find(const K& key) const {
    if (!table_) return nullptr;
    const uint32_t full = hash_(key);
    for (Node* n = table_[full % static_cast<uint32_t>(bucketCount_)]; n; n = n->next)
      if (n->hash == full && n->key == key) return &n->value;
    return nullptr;
  }
  bool contains(const K& key) const { return find(key) != nullptr; }

  // Removes `key`; false when it was missing.
  bool remove(const K& key) {
    if (!table_) return false;
    const uint32_t full = hash_(key);
    for (Node** link = &table_[full % static_cast<uint32_t>(bucketCount_)]; *link;
         link = &(*link)->next) {
      if ((*link)->hash == full && (*link)->key == key) {
        Node* dead = *link;
        *link = dead->next;
        delete dead;
        --count_;
        return true;
      }
    }
    return false;
  }

  // Deletes every node and the table; the bucket count stays.
  void clear() {
    if (table_) {
      for (int32_t b = 0; b < bucketCount_; ++b) {
        for (Node* n = table_[b]; n;) {
          Node* next = n->next;
          delete n;
          n = next;
        }
      }
      delete[] table_;
      table_ = nullptr;
    }
    count_ = 0;
  }

  int32_t count() const { return count_; }
  int32_t bucketCount() const { return bucketCount_; }
  // Nodes in the chain of bucket b (0 before the first insertion).
  int32_t chainLength(int32_t b) const {
    int32_t c = 0;
    if (table_ && b >= 0 && b < bucketCount_)
      for (Node* n = table_[b]; n; n = n->next) ++c;
    return c;
  }

  // Calls f(key, value) for every entry, bucket by bucket from 0, each chain from its head.
  template <class F>
  void forEach(F&& f) {
    if (!table_) return;
    for (int32_t b = 0; b < bucketCount_; ++b)
      for (Node* n = table_[b]; n; n = n->next) f(static_cast<const K&>(n->key), n->value);
  }
  template <class F>
  void forEach(F&& f) const {
    if (!table_) return;
    for (int32_t b = 0; b < bucketCount_; ++b)
      for (const Node* n = table_[b]; n; n = n->next) f(n->key, static_cast<const V&>(n->value));
  }

  // A place in a walk over the entries, in the order of forEach. Any insertion or removal
  // ends the walk: a position is not valid across them.
  class Position {
    friend class Map;
    int32_t bucket_ = 0;
    Node* node_ = nullptr;
  };
  // Goes to the first entry; false for an empty map.
  bool first(Position& at) const {
    at = Position();
    return step(at);
  }
  // Goes to the entry after `at`; false past the last.
  bool next(Position& at) const { return step(at); }
  const K& keyAt(const Position& at) const { return at.node_->key; }
  V& valueAt(const Position& at) const { return at.node_->value; }

  void swap(Map& o) noexcept {
    std::swap(table_, o.table_);
    std::swap(bucketCount_, o.bucketCount_);
    std::swap(count_, o.count_);
  }

 private:
  // Moves every node, bucket by bucket from 0 and along each chain, to the head of its
  // chain in a table of the next prime size.
  void rehash() {
    int32_t size = nextPrime(bucketCount_);
    if (size == bucketCount_) return;
    Node** fresh = new Node*[static_cast<size_t>(size)]();
    for (int32_t b = 0; b < bucketCount_; ++b) {
      for (Node* n = table_[b]; n;) {
        Node* next = n->next;
        uint32_t h = n->hash % static_cast<uint32_t>(size);
        n->bucket = static_cast<int32_t>(h);
        n->next = fresh[h];
        fresh[h] = n;
        n = next;
      }
    }
    delete[] table_;
    table_ = fresh;
    bucketCount_ = size;
  }

  bool step(Position& at) const {
    if (!table_) return false;
    if (at.node_ && at.node_->next) {
      at.node_ = at.node_->next;
      return true;
    }
    for (int32_t b = at.node_ ? at.bucket_ + 1 : at.bucket_; b < bucketCount_; ++b) {
      if (table_[b]) {
        at.bucket_ = b;
        at.node_ = table_[b];
        return true;
      }
    }
    at.bucket_ = bucketCount_;
    at.node_ = nullptr;
    return false;
  }

  Node** table_ = nullptr;
  int32_t bucketCount_;
  int32_t count_ = 0;
  [[no_unique_address]] H hash_;
};
