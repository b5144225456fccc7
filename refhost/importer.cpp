#include "refhost/importer.h"

#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <atomic>
#include <bit>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>

#include "base/iterstack.h"
#include "core/iptr.h"
#include "hostapi/icurveset.h"
#include "hostapi/iqorcurves.h"
#include "math/qorvector.h"
#include "refhost/curvehosts.h"
#include "refhost/curveset.h"

namespace refhost {
namespace {

// Thrown inside a reader; importGeometry turns it into `why`.
struct Failure {
  std::string reason;  // completes "Can't import '<file>': "
};
struct Cancelled {};

[[noreturn]] void fail(std::string reason) {
  throw Failure{std::move(reason)};
}

// Hands fractions to the caller's callback whenever the shown thousandth moves on.
class Progress {
 public:
  explicit Progress(const std::function<bool(float)>& fn) : fn_(fn) {}
  void at(double fraction) {
    if (!fn_) return;
    const int k = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 1000.0);
    if (k <= last_) return;
    last_ = k;
    if (!fn_(static_cast<float>(k) / 1000.0f)) throw Cancelled{};
  }
  void start() {
    if (fn_ && !fn_(0.0f)) throw Cancelled{};
  }

 private:
  const std::function<bool(float)>& fn_;
  int last_ = 0;
};

// The whole file: a regular file is mapped (its pages are not copied), anything else is
// read into memory.
class FileBlock {
 public:
  explicit FileBlock(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) fail(std::strerror(errno));
    struct stat st;
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) {
      size_ = static_cast<size_t>(st.st_size);
      if (size_ == 0) {
        ::close(fd);
        return;
      }
      void* m = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
      if (m != MAP_FAILED) {
        ::close(fd);
        mapped_ = m;
        data_ = static_cast<const char*>(m);
        return;
      }
    }
    std::string bytes;
    char chunk[65536];
    for (;;) {
      const ssize_t n = ::read(fd, chunk, sizeof chunk);
      if (n == 0) break;
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        const std::string reason = std::strerror(errno);
        ::close(fd);
        fail(reason);
      }
      bytes.append(chunk, static_cast<size_t>(n));
    }
    ::close(fd);
    read_ = std::move(bytes);
    data_ = read_.data();
    size_ = read_.size();
  }
  ~FileBlock() {
    if (mapped_) ::munmap(mapped_, size_);
  }
  FileBlock(const FileBlock&) = delete;
  FileBlock& operator=(const FileBlock&) = delete;
  const char* begin() const { return data_; }
  const char* end() const { return data_ + size_; }
  size_t size() const { return size_; }

 private:
  const char* data_ = "";
  size_t size_ = 0;
  void* mapped_ = nullptr;
  std::string read_;
};

// Parses a number that runs to `end` or to a character outside the number; a leading '+'
// is allowed. Answers the position after it, or nullptr.
template <typename T>
const char* number(const char* p, const char* end, T& v) {
  if (p < end && *p == '+') ++p;
  const auto r = std::from_chars(p, end, v);
  return r.ec == std::errc() ? r.ptr : nullptr;
}

// Digit runs eight bytes at a time: a little-endian word holds the first byte lowest.
uint64_t load8(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, 8);
  return w;
}

// How many of the word's bytes, from the first, are digits (0 to 8).
int leadingDigits(uint64_t w) {
  const uint64_t other = ((w & 0xF0F0F0F0F0F0F0F0u) ^ 0x3030303030303030u) |
                         (((w & 0x0F0F0F0F0F0F0F0Fu) + 0x0606060606060606u) & 0xF0F0F0F0F0F0F0F0u);
  const uint64_t nonzero =
      (((other & 0x7F7F7F7F7F7F7F7Fu) + 0x7F7F7F7F7F7F7F7Fu) | other) & 0x8080808080808080u;
  return nonzero ? std::countr_zero(nonzero) >> 3 : 8;
}

// The value of the word's first n digits (0 to 8).
uint64_t digitsValue(uint64_t w, int n) {
  const int shift = 32 - 4 * n;                     // two shifts, as one of 64 bits is undefined
  w = (w << shift << shift) & 0x0F0F0F0F0F0F0F0Fu;  // leading zero digits fill the front
  w = (w * 10 + (w >> 8)) & 0x00FF00FF00FF00FFu;
  w = (w * 100 + (w >> 16)) & 0x0000FFFF0000FFFFu;
  return (w * 10000 + (w >> 32)) & 0xFFFFFFFFu;
}

constexpr uint64_t kScale[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

// Adds the digits from `q` to `m` and `count`; stops early once count passes 19 (m is then
// of no use).
const char* digitRun(const char* q, const char* end, uint64_t& m, long& count) {
  if constexpr (std::endian::native == std::endian::little) {
    while (end - q >= 8 && count <= 19) {
      const uint64_t w = load8(q);
      const int n = leadingDigits(w);
      if (n == 0) return q;
      m = m * kScale[n] + digitsValue(w, n);
      count += n;
      q += n;
      if (n < 8) return q;
    }
  }
  while (q < end && static_cast<unsigned char>(*q - '0') < 10 && count <= 19) {
    m = m * 10 + static_cast<unsigned>(*q++ - '0');
    ++count;
  }
  return q;
}

// A decimal without exponent of at most 19 digits whose digits make an integer up to 2^53
// has at most 19 digits after the point, so it is that integer divided by a power of ten,
// both exact in a double, and the one division rounds correctly: the same double from_chars
// gives. Everything else goes to from_chars.
[[gnu::always_inline]] inline const char* number(const char* p, const char* end, double& v) {
  static constexpr double kTens[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,
                                     1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
  const char* q = p;
  const bool negative = q < end && *q == '-';
  q += q < end && (*q == '-' || *q == '+');
  const char* const digits = q;
  uint64_t m = 0;
  long count = 0, fraction = 0;
  if (std::endian::native == std::endian::little && end - q >= 16) {
    // Whole part and fraction of at most seven digits each, in two words.
    const uint64_t w = load8(q);
    const int whole = leadingDigits(w);
    if (whole < 8) {
      m = digitsValue(w, whole);
      q += whole;
      count = whole;
      if (*q == '.') {
        const uint64_t f = load8(q + 1);
        fraction = leadingDigits(f);
        if (fraction == 8) goto general;
        m = m * kScale[fraction] + digitsValue(f, static_cast<int>(fraction));
        count += fraction;
        q += 1 + fraction;
      }
      goto done;
    }
  }
general:
  m = 0;
  count = 0;
  q = digitRun(digits, end, m, count);
  fraction = 0;
  if (q < end && *q == '.') {
    const long whole = count;
    q = digitRun(q + 1, end, m, count);
    fraction = count - whole;
  }
done:
  if (count == 0 || count > 19 || m > (uint64_t(1) << 53) || (q < end && (*q | 0x20) == 'e'))
    return number<double>(p, end, v);
  // The sign goes on as a bit: a branch on it would be a coin toss per number.
  v = std::bit_cast<double>(std::bit_cast<uint64_t>(static_cast<double>(m) / kTens[fraction]) |
                            uint64_t(negative) << 63);
  return q;
}

// ---------------------------------------------------------------------------------------
// Text point files: one point a line.

bool isSeparator(char c) {
  constexpr uint64_t kSet = uint64_t(1) << ' ' | uint64_t(1) << '\t' | uint64_t(1) << ',' |
                            uint64_t(1) << ';' | uint64_t(1) << '\r';
  const auto u = static_cast<unsigned char>(c);
  return u < 64 && ((kSet >> u) & 1);
}

// The line feeds in [p, end), sixteen bytes at a time.
size_t countLines(const char* p, const char* end) {
  using Bytes = unsigned char __attribute__((vector_size(16)));
  size_t n = 0;
  while (end - p >= 16) {
    Bytes sum = {};
    for (int k = 0; k < 255 && end - p >= 16; ++k, p += 16) {
      Bytes b;
      std::memcpy(&b, p, 16);
      sum -= (b == '\n');  // -1 where equal
    }
    for (int k = 0; k < 16; ++k) n += sum[k];
  }
  return n + static_cast<size_t>(std::count(p, end, '\n'));
}

bool isUnit(const double* n) {
  const double l = n[0] * n[0] + n[1] * n[1] + n[2] * n[2];
  return std::fabs(n[0]) <= 1 && std::fabs(n[1]) <= 1 && std::fabs(n[2]) <= 1 && l > 0.98 &&
         l < 1.02;
}

// A line of exactly `columns` numbers: answers where the next line starts, or nullptr when
// the line is anything else (the general reader then takes it).
[[gnu::always_inline]] inline const char* plainRow(const char* q, const char* end, int columns,
                                                   double* v) {
  for (int k = 0; k < columns; ++k) {
    while (q < end && isSeparator(*q)) ++q;
    const char* r = number(q, end, v[k]);
    if (!r || (r < end && *r != '\n' && !isSeparator(*r))) return nullptr;
    q = r;
  }
  while (q < end && isSeparator(*q)) ++q;
  if (q == end) return q;
  return *q == '\n' ? q + 1 : nullptr;
}

#ifdef __SSE2__
// Bit i of each mask says what byte i of the 64 from p is.
struct ByteMasks {
  uint64_t separators = 0, feeds = 0, digits = 0;
};

[[gnu::always_inline]] inline ByteMasks byteMasks(const char* p) {
  ByteMasks m;
  for (int k = 0; k < 4; ++k) {
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
    auto is = [&](char c) { return _mm_cmpeq_epi8(b, _mm_set1_epi8(c)); };
    auto bits = [&](__m128i x) {
      return uint64_t(static_cast<uint32_t>(_mm_movemask_epi8(x))) << (16 * k);
    };
    const __m128i offset = _mm_sub_epi8(b, _mm_set1_epi8('0'));
    m.separators |= bits(_mm_or_si128(_mm_or_si128(is(' '), is('\t')),
                                      _mm_or_si128(_mm_or_si128(is(','), is(';')), is('\r'))));
    m.feeds |= bits(is('\n'));
    m.digits |= bits(_mm_cmpeq_epi8(_mm_min_epu8(offset, _mm_set1_epi8(9)), offset));
  }
  return m;
}

// plainRow for a line shorter than 64 bytes with 80 readable bytes from p. The words and
// their digit runs are found from byte masks, so no number waits for the one before it;
// a word that isn't a plain decimal of up to eight digits on each side of the point goes
// to `number`.
[[gnu::always_inline]] inline const char* maskedRow(const char* p, const char* end, int columns,
                                                    double* v) {
  static constexpr double kTens[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
  const ByteMasks m = byteMasks(p);
  if (!m.feeds) return plainRow(p, end, columns, v);
  const int length = std::countr_zero(m.feeds);
  const uint64_t word = ~(m.separators | m.feeds) & ((uint64_t(1) << length) - 1);
  uint64_t starts = word & ~(word << 1);
  uint64_t ends = word & ~(word >> 1);
  for (int k = 0; k < columns; ++k) {
    if (!starts) return nullptr;
    const int first = std::countr_zero(starts);
    const int stop = std::countr_zero(ends) + 1;
    starts &= starts - 1;
    ends &= ends - 1;
    const bool negative = p[first] == '-';
    const int from = first + (negative || p[first] == '+');
    const int whole = std::countr_zero(~m.digits >> from);  // from < 64: a word ends first
    int at = from + whole;
    int fraction = 0;
    uint64_t value = digitsValue(load8(p + from), std::min(whole, 8));
    if (p[at] == '.') {
      fraction = at + 1 < 64 ? std::countr_zero(~m.digits >> (at + 1)) : 0;
      value = value * kScale[std::min(fraction, 8)] +
              digitsValue(load8(p + at + 1), std::min(fraction, 8));
      at += 1 + fraction;
    }
    if (at != stop || whole > 8 || fraction > 8 || whole + fraction == 0 ||
        value > (uint64_t(1) << 53)) {
      if (number(p + first, end, v[k]) != p + stop) return nullptr;
      continue;
    }
    v[k] = std::bit_cast<double>(
        std::bit_cast<uint64_t>(static_cast<double>(value) / kTens[fraction]) | uint64_t(negative)
                                                                                    << 63);
  }
  return starts ? nullptr : p + length + 1;
}
#endif

// The rows of a run of whole lines, and what was learnt from them.
struct TextRows {
  Positions* positions;
  std::vector<float> extra;
  int columns = 0;        // of the first row of numbers
  bool first = true;      // no row seen yet (a header or a count may come)
  bool unitFirst = true;  // columns 4-6 hold a unit vector on every row so far
  int64_t lineNo = 0;     // of the last line read
};

// Reads the lines of [p, end) into `t`, calling `tick(at)` every 4096 lines. With
// `untilRow`, stops after the first row of numbers; answers where it stopped.
template <typename Tick>
const char* readTextLines(const char* p, const char* const end, TextRows& t, bool untilRow,
                          const Tick& tick) {
  constexpr int kMaxColumns = 9;
  double v[kMaxColumns + 1];
  Positions& positions = *t.positions;
  while (p < end) {
    ++t.lineNo;
    if ((t.lineNo & 0xFFF) == 0) tick(p);
    const char* next = nullptr;
#ifdef __SSE2__
    if (t.columns && end - p >= 80)
      next = maskedRow(p, end, t.columns, v);
    else
#endif
        if (t.columns)
      next = plainRow(p, end, t.columns, v);
    if (next) {
      p = next;
    } else {
      const char* e = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
      if (!e) e = end;
      const char* q = p;
      const char* const lineStart = p;
      p = e < end ? e + 1 : end;
      while (q < e && isSeparator(*q)) ++q;
      if (q == e || *q == '#' || (*q == '/' && q + 1 < e && q[1] == '/')) continue;
      const std::string line = "line " + std::to_string(t.lineNo);
      if (t.first && ((*q >= 'A' && *q <= 'Z') || (*q >= 'a' && *q <= 'z'))) {
        t.first = false;  // a header of column names
        continue;
      }
      int n = 0;
      while (q < e) {
        if (n == kMaxColumns + 1) fail(line + " has too many values");
        const char* r = number(q, e, v[n]);
        if (!r || (r < e && !isSeparator(*r)))
          fail(line + " is not a row of numbers: \"" +
               std::string(lineStart, std::min<const char*>(e, lineStart + 60)) + "\"");
        ++n;
        q = r;
        while (q < e && isSeparator(*q)) ++q;
      }
      if (t.columns == 0) {
        if (t.first && n == 1 && v[0] >= 0 && v[0] == std::floor(v[0])) {
          t.first = false;  // a point count before the points
          continue;
        }
        if (n != 3 && n != 4 && n != 6 && n != 7 && n != 9)
          fail(line + " has " + std::to_string(n) + " values; rows of 3, 4, 6, 7 or 9 are known");
        t.columns = n;
        t.first = false;
      } else if (n != t.columns) {
        fail(line + " has " + std::to_string(n) + " values where the rows before it have " +
             std::to_string(t.columns));
      }
    }
    positions.push_back(v[0]);
    positions.push_back(v[1]);
    positions.push_back(v[2]);
    if (t.columns > 4) {
      for (int k = 3; k < t.columns; ++k) t.extra.push_back(static_cast<float>(v[k]));
      if (t.columns != 7) t.unitFirst = t.unitFirst && isUnit(v + 3);
    }
    if (untilRow) break;
  }
  return p;
}

// A piece of a big text file, cut after a line feed.
struct TextChunk {
  const char* begin;
  const char* end;
  size_t lines;   // line feeds in it
  TextRows rows;  // for chunks the helper thread reads
  Positions positions;
};

// The helper thread and what the two threads share. The calling thread takes chunks from the
// front, writing straight into the geometry; the helper takes them from the back into
// buffers of their own, so when it gets no processor time the caller simply reads them all.
// Leaving the scope stops the helper and waits for it.
struct ChunkReaders {
  std::mutex lock;
  size_t front = 0, back = 0;  // chunks [front, back) are still unclaimed
  std::atomic<bool> stop{false};
  std::atomic<size_t> done{0};  // bytes the helper has read
  size_t firstHelped = 0;       // the helper's chunks are [firstHelped, count)
  std::exception_ptr failure;   // of the helper's first chunk that failed
  std::future<void> helper;
  bool claimFront(size_t& i) {
    std::lock_guard<std::mutex> g(lock);
    if (front == back) return false;
    i = front++;
    return true;
  }
  bool claimBack(size_t& i) {
    std::lock_guard<std::mutex> g(lock);
    if (front == back) return false;
    i = --back;
    return true;
  }
  ~ChunkReaders() {
    stop = true;
    if (helper.valid()) helper.wait();
  }
};

void readPointText(const FileBlock& file, Geometry& g, Progress& progress) {
  const char* const begin = file.begin();
  const char* const end = file.end();
  TextRows front;
  front.positions = &g.positions;
  auto frontTick = [&](const char* at) {
    progress.at(static_cast<double>(at - begin) / static_cast<double>(file.size()));
  };
  // The header and the first row; a big rest is cut into chunks for two threads.
  const char* p = readTextLines(begin, end, front, true, frontTick);
  const auto extraColumns = static_cast<size_t>(std::max(front.columns - 3, 0));
  auto reserve = [&](TextRows& t, size_t rows) {
    t.positions->reserve(t.positions->size() + 3 * rows);
    if (extraColumns) t.extra.reserve(t.extra.size() + extraColumns * rows);
  };
  constexpr ptrdiff_t kChunk = 1 << 19;
  if (!front.columns || end - p < 2 * kChunk) {
    reserve(front, countLines(p, end) + 1);
    readTextLines(p, end, front, false, frontTick);
  } else {
    std::vector<TextChunk> chunks;
    const auto count = static_cast<size_t>(std::min<ptrdiff_t>((end - p) / kChunk, 64));
    for (size_t i = 0; i < count && p < end; ++i) {
      const char* cut = i + 1 == count ? end : p + (end - p) / static_cast<ptrdiff_t>(count - i);
      cut = static_cast<const char*>(std::memchr(cut, '\n', static_cast<size_t>(end - cut)));
      cut = cut ? cut + 1 : end;
      chunks.push_back({p, cut, countLines(p, cut), {}, {}});
      p = cut;
    }
    size_t lines = 1;
    for (TextChunk& c : chunks) {
      c.rows.columns = front.columns;
      c.rows.first = false;
      c.rows.positions = &c.positions;
      c.rows.lineNo = front.lineNo + static_cast<int64_t>(lines - 1);
      lines += c.lines;
    }
    reserve(front, lines);
    ChunkReaders readers;
    readers.back = readers.firstHelped = chunks.size();
    auto help = [&] {
      size_t i;
      size_t doneBefore = 0;
      while (!readers.stop && readers.claimBack(i)) {
        TextChunk& c = chunks[i];
        reserve(c.rows, c.lines + 1);
        readers.firstHelped = i;
        try {
          readTextLines(c.begin, c.end, c.rows, false, [&](const char* at) {
            readers.done.store(doneBefore + static_cast<size_t>(at - c.begin),
                               std::memory_order_relaxed);
            if (readers.stop.load(std::memory_order_relaxed)) throw Cancelled{};
          });
        } catch (const Failure&) {
          readers.failure = std::current_exception();
          return;  // the chunks before it may fail first: the caller reads those
        }
        doneBefore += static_cast<size_t>(c.end - c.begin);
        readers.done.store(doneBefore, std::memory_order_relaxed);
      }
    };
    try {
      readers.helper = std::async(std::launch::async, help);
    } catch (const std::system_error&) {
      // no thread to be had: this one reads every chunk
    }
    // Progress goes to the caller from this thread only.
    auto bothTick = [&](const char* at) {
      frontTick(at + readers.done.load(std::memory_order_relaxed));
    };
    size_t i;
    const char* reached = chunks.front().begin;
    while (readers.claimFront(i)) {
      readTextLines(chunks[i].begin, chunks[i].end, front, false, bothTick);
      reached = chunks[i].end;
    }
    if (readers.helper.valid()) {
      while (readers.helper.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        bothTick(reached);
      readers.helper.get();
    }
    if (readers.failure) std::rethrow_exception(readers.failure);
    for (size_t k = readers.firstHelped; k < chunks.size(); ++k) {
      TextRows& t = chunks[k].rows;
      g.positions.insert(g.positions.end(), t.positions->begin(), t.positions->end());
      front.extra.insert(front.extra.end(), t.extra.begin(), t.extra.end());
      front.unitFirst = front.unitFirst && t.unitFirst;
    }
  }
  const int columns = front.columns;
  const std::vector<float>& extra = front.extra;
  const bool unitFirst = front.unitFirst;
  if (g.positions.empty()) fail("it holds no points");
  // Which triple of the extra columns is what: `normalsAt` / `colorsAt` index into a row of
  // `extra` (-1: none).
  int normalsAt = -1, colorsAt = -1;
  if (columns == 6) (unitFirst ? normalsAt : colorsAt) = 0;
  if (columns == 7) colorsAt = 1;  // after the intensity
  if (columns == 9) {
    normalsAt = unitFirst ? 0 : 3;
    colorsAt = unitFirst ? 3 : 0;
  }
  const size_t stride = columns > 4 ? static_cast<size_t>(columns - 3) : 0;
  const size_t count = g.positions.size() / 3;
  auto take = [&](Normals& to, int at) {
    to.resize(3 * count);
    for (size_t i = 0; i < count; ++i)
      std::memcpy(&to[3 * i], &extra[stride * i + static_cast<size_t>(at)], 3 * sizeof(float));
  };
  if (normalsAt >= 0) take(g.normals, normalsAt);
  if (colorsAt >= 0) {
    take(g.colors, colorsAt);
    const auto [lo, hi] = std::minmax_element(g.colors.begin(), g.colors.end());
    if (*lo < 0 || *hi > 255)
      fail("a colour value " + std::to_string(*lo < 0 ? *lo : *hi) + " is outside 0 to 255");
    if (*hi > 1)
      for (float& c : g.colors) c /= 255.0f;
  }
}

// ---------------------------------------------------------------------------------------
// PLY.

enum class PType : uint8_t { I8, U8, I16, U16, I32, U32, F32, F64 };

struct PProp {
  std::string name;
  PType type = PType::F32;
  bool list = false;
  PType countType = PType::U8;
};
struct PElement {
  std::string name;
  int64_t count = 0;
  std::vector<PProp> props;
};

bool parseType(std::string_view s, PType& t) {
  static const std::pair<std::string_view, PType> names[] = {
      {"char", PType::I8},    {"int8", PType::I8},     {"uchar", PType::U8},
      {"uint8", PType::U8},   {"short", PType::I16},   {"int16", PType::I16},
      {"ushort", PType::U16}, {"uint16", PType::U16},  {"int", PType::I32},
      {"int32", PType::I32},  {"uint", PType::U32},    {"uint32", PType::U32},
      {"float", PType::F32},  {"float32", PType::F32}, {"double", PType::F64},
      {"float64", PType::F64}};
  for (const auto& [n, v] : names)
    if (n == s) {
      t = v;
      return true;
    }
  return false;
}

size_t typeSize(PType t) {
  static constexpr size_t sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
  return sizes[static_cast<int>(t)];
}

template <typename T, typename U>
T loadSwapped(const char* p, bool swap) {
  U u;
  std::memcpy(&u, p, sizeof u);
  if (swap) {
    if constexpr (sizeof u == 2) u = __builtin_bswap16(u);
    if constexpr (sizeof u == 4) u = __builtin_bswap32(u);
    if constexpr (sizeof u == 8) u = __builtin_bswap64(u);
  }
  T v;
  std::memcpy(&v, &u, sizeof v);
  return v;
}

// Values of a binary body, in either byte order.
class BinarySource {
 public:
  BinarySource(const char* p, const char* end, bool swap) : p_(p), end_(end), swap_(swap) {}
  double value(PType t) {
    const size_t n = typeSize(t);
    if (static_cast<size_t>(end_ - p_) < n) fail("the file ends inside its data");
    const char* p = p_;
    p_ += n;
    switch (t) {
      case PType::I8:
        return static_cast<int8_t>(*p);
      case PType::U8:
        return static_cast<uint8_t>(*p);
      case PType::I16:
        return loadSwapped<int16_t, uint16_t>(p, swap_);
      case PType::U16:
        return loadSwapped<uint16_t, uint16_t>(p, swap_);
      case PType::I32:
        return loadSwapped<int32_t, uint32_t>(p, swap_);
      case PType::U32:
        return loadSwapped<uint32_t, uint32_t>(p, swap_);
      case PType::F32:
        return loadSwapped<float, uint32_t>(p, swap_);
      case PType::F64:
        return loadSwapped<double, uint64_t>(p, swap_);
    }
    return 0;
  }
  size_t left() const { return static_cast<size_t>(end_ - p_); }
  size_t minimumBytes(const PElement& e) const {
    size_t n = 0;
    for (const PProp& p : e.props) n += typeSize(p.list ? p.countType : p.type);
    return n;
  }
  const char* at() const { return p_; }

 private:
  const char* p_;
  const char* end_;
  bool swap_;
};

// Values of an ASCII body: numbers between white space.
class AsciiSource {
 public:
  AsciiSource(const char* p, const char* end) : p_(p), end_(end) {}
  double value(PType) {
    while (p_ < end_ && (*p_ == ' ' || *p_ == '\t' || *p_ == '\r' || *p_ == '\n')) ++p_;
    double v;
    const char* r = number(p_, end_, v);
    if (!r)
      fail(p_ == end_ ? "the file ends inside its data"
                      : "its data holds a word that is not a number");
    p_ = r;
    return v;
  }
  size_t left() const { return static_cast<size_t>(end_ - p_); }
  size_t minimumBytes(const PElement& e) const { return 2 * e.props.size(); }
  const char* at() const { return p_; }

 private:
  const char* p_;
  const char* end_;
};

// Reads the elements of a PLY body: vertices (x y z, normals, colours), faces (fanned) and
// triangle strips (-1 starts a new strip; degenerate triangles left out). Other elements
// and properties are read past.
template <typename Source>
void readPlyBody(Source src, const std::vector<PElement>& elements, Geometry& g, Progress& progress,
                 const char* fileStart, size_t fileSize) {
  std::vector<int32_t> poly;
  int64_t vertexRows = 0;
  for (const PElement& e : elements) {
    if (e.count > 0 && src.minimumBytes(e) > 0 &&
        src.left() / src.minimumBytes(e) < static_cast<uint64_t>(e.count))
      fail("the file ends before its " + std::to_string(e.count) + " " + e.name + " rows");
    const bool isVertex = e.name == "vertex";
    const bool isFace = e.name == "face";
    const bool isStrip = e.name == "tristrips";
    // Where each property goes: 0-2 position, 3-5 normal, 6-8 colour, 9 the face's vertex
    // list, -1 nowhere.
    std::vector<int> slot(e.props.size(), -1);
    bool hasNormals = false, hasColors = false;
    float colorScale[3] = {1, 1, 1};
    for (size_t i = 0; i < e.props.size(); ++i) {
      const PProp& p = e.props[i];
      if (isVertex && !p.list) {
        static const char* const names[] = {"x",  "y",   "z",     "nx",  "ny",
                                            "nz", "red", "green", "blue"};
        for (int k = 0; k < 9; ++k)
          if (p.name == names[k]) slot[i] = k;
        if (slot[i] >= 6) {
          hasColors = true;
          colorScale[slot[i] - 6] =
              (p.type == PType::F32 || p.type == PType::F64) ? 1.0f : 1.0f / 255.0f;
        }
        hasNormals = hasNormals || (slot[i] >= 3 && slot[i] < 6);
      }
      if ((isFace || isStrip) && p.list && (p.name == "vertex_indices" || p.name == "vertex_index"))
        slot[i] = 9;
    }
    if (isVertex) {
      if (vertexRows > 0) fail("it has two vertex elements");
      vertexRows = e.count;
      g.positions.assign(3 * static_cast<size_t>(e.count), 0.0);
      if (hasNormals) g.normals.assign(3 * static_cast<size_t>(e.count), 0.0f);
      if (hasColors) g.colors.assign(3 * static_cast<size_t>(e.count), 0.0f);
    } else if (isFace) {
      g.triangles.reserve(g.triangles.size() + 3 * static_cast<size_t>(e.count));
    }
    for (int64_t row = 0; row < e.count; ++row) {
      if ((row & 0x3FFF) == 0) progress.at(static_cast<double>(src.at() - fileStart) / fileSize);
      const size_t r = static_cast<size_t>(row);
      for (size_t i = 0; i < e.props.size(); ++i) {
        const PProp& p = e.props[i];
        if (!p.list) {
          const double v = src.value(p.type);
          const int s = slot[i];
          if (s < 0) continue;
          if (s < 3)
            g.positions[3 * r + static_cast<size_t>(s)] = v;
          else if (s < 6)
            g.normals[3 * r + static_cast<size_t>(s - 3)] = static_cast<float>(v);
          else
            g.colors[3 * r + static_cast<size_t>(s - 6)] =
                static_cast<float>(v) * colorScale[s - 6];
          continue;
        }
        const double n = src.value(p.countType);
        if (n < 0 || n != std::floor(n)) fail("a list in its " + e.name + " rows has a bad length");
        const size_t len = static_cast<size_t>(n);
        if (slot[i] != 9) {
          for (size_t k = 0; k < len; ++k) src.value(p.type);
          continue;
        }
        poly.resize(len);
        for (size_t k = 0; k < len; ++k) poly[k] = static_cast<int32_t>(src.value(p.type));
        if (isFace) {
          for (size_t k = 2; k < len; ++k)
            g.triangles.insert(g.triangles.end(), {poly[0], poly[k - 1], poly[k]});
          continue;
        }
        size_t runStart = 0;
        for (size_t k = 0; k <= len; ++k) {
          if (k < len && poly[k] >= 0) continue;
          for (size_t t = runStart + 2; t < k; ++t) {
            int32_t a = poly[t - 2], b = poly[t - 1];
            const int32_t c = poly[t];
            if (a == b || b == c || a == c) continue;
            if ((t - runStart) % 2 == 1) std::swap(a, b);
            g.triangles.insert(g.triangles.end(), {a, b, c});
          }
          runStart = k + 1;
        }
      }
    }
  }
}

void readPly(const FileBlock& file, Geometry& g, Progress& progress) {
  const char* p = file.begin();
  const char* const end = file.end();
  std::vector<PElement> elements;
  enum { Ascii, Little, Big } format = Ascii;
  bool sawFormat = false;
  int lineNo = 0;
  for (;;) {
    ++lineNo;
    const char* e = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
    if (!e) fail("its header has no end_header line");
    std::string_view line(p, static_cast<size_t>(e - p));
    p = e < end ? e + 1 : end;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    std::vector<std::string_view> w;
    for (size_t i = 0; i < line.size();) {
      while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
      size_t j = i;
      while (j < line.size() && line[j] != ' ' && line[j] != '\t') ++j;
      if (j > i) w.push_back(line.substr(i, j - i));
      i = j;
    }
    const std::string where = "line " + std::to_string(lineNo) + " of its header";
    if (lineNo == 1) {
      if (w.size() != 1 || w[0] != "ply") fail("it does not start with \"ply\"");
      continue;
    }
    if (w.empty() || w[0] == "comment" || w[0] == "obj_info") continue;
    if (w[0] == "end_header") break;
    if (w[0] == "format" && w.size() == 3) {
      sawFormat = true;
      if (w[1] == "ascii")
        format = Ascii;
      else if (w[1] == "binary_little_endian")
        format = Little;
      else if (w[1] == "binary_big_endian")
        format = Big;
      else
        fail(where + " names the unknown format \"" + std::string(w[1]) + "\"");
    } else if (w[0] == "element" && w.size() == 3) {
      PElement el;
      el.name = w[1];
      if (!number(w[2].data(), w[2].data() + w[2].size(), el.count) || el.count < 0 ||
          el.count > INT32_MAX)
        fail(where + " gives the bad count \"" + std::string(w[2]) + "\"");
      elements.push_back(std::move(el));
    } else if (w[0] == "property" && !elements.empty() &&
               (w.size() == 3 || (w.size() == 5 && w[1] == "list"))) {
      PProp pr;
      pr.list = w.size() == 5;
      pr.name = w.back();
      if (!parseType(w[w.size() - 2], pr.type) || (pr.list && !parseType(w[2], pr.countType)))
        fail(where + " names an unknown type");
      elements.back().props.push_back(std::move(pr));
    } else {
      fail(where + " is not understood: \"" + std::string(line) + "\"");
    }
  }
  if (!sawFormat) fail("its header has no format line");
  const size_t bodyEnd = file.size();
  if (format == Ascii)
    readPlyBody(AsciiSource(p, file.begin() + bodyEnd), elements, g, progress, file.begin(),
                file.size());
  else
    readPlyBody(BinarySource(p, file.begin() + bodyEnd,
                             (format == Big) == (std::endian::native == std::endian::little)),
                elements, g, progress, file.begin(), file.size());
}

// ---------------------------------------------------------------------------------------
// OBJ: v (x y z, optionally r g b), vn, f (v, v/t, v/t/n, v//n; negative = relative),
// l (v or v/t; negative = relative) into `lines`.

void readObj(const FileBlock& file, Geometry& g, Polylines& lines, Progress& progress) {
  const char* p = file.begin();
  const char* const end = file.end();
  Colors colors;
  std::vector<float> normalList;
  std::vector<int32_t> vertexNormal;  // per vertex, -1 for none
  std::vector<int32_t> poly, polyNormals;
  size_t coloured = 0;
  bool anyNormal = false;
  g.positions.reserve(file.size() / 40 * 3);
  g.triangles.reserve(file.size() / 40 * 3);
  int64_t lineNo = 0;
  auto bad = [&](const char* what) { fail("line " + std::to_string(lineNo) + " " + what); };
  while (p < end) {
    ++lineNo;
    const char* e = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
    if (!e) e = end;  // a last line without a line feed
    const char* q = p;
    p = e < end ? e + 1 : end;
    if ((lineNo & 0xFFF) == 0) progress.at(static_cast<double>(p - file.begin()) / file.size());
    while (q < e && (*q == ' ' || *q == '\t')) ++q;
    if (e - q < 2 || (q[1] != ' ' && q[1] != '\t' && q[1] != 'n')) continue;
    auto skip = [&] {
      while (q < e && (*q == ' ' || *q == '\t' || *q == '\r')) ++q;
    };
    if (q[0] == 'v') {
      const bool normal = q[1] == 'n';
      q += normal ? 2 : 1;
      double v[7];
      int n = 0;
      for (skip(); q < e && n < 7; skip()) {
        const char* r = number(q, e, v[n++]);
        if (!r) bad("holds a value that is not a number");
        q = r;
      }
      if (normal) {
        if (n != 3) bad("gives a normal without three values");
        normalList.insert(normalList.end(), {float(v[0]), float(v[1]), float(v[2])});
        continue;
      }
      if (n < 3) bad("gives a vertex with fewer than three values");
      g.positions.insert(g.positions.end(), v, v + 3);
      if (n == 6) {
        colors.resize(g.positions.size(), 0.0f);
        for (int k = 0; k < 3; ++k)
          colors[g.positions.size() - 3 + static_cast<size_t>(k)] = float(v[3 + k]);
        ++coloured;
      }
    } else if ((q[0] == 'f' || q[0] == 'l') && q[1] != 'n') {
      const bool lineFace = q[0] == 'l';
      ++q;
      poly.clear();
      polyNormals.clear();
      const int64_t nv = static_cast<int64_t>(g.positions.size() / 3);
      const int64_t nn = static_cast<int64_t>(normalList.size() / 3);
      for (skip(); q < e; skip()) {
        int64_t idx[3] = {0, 0, 0};
        for (int k = 0; k < 3 && q < e; ++k) {
          if (*q != '/') {
            const char* r = number(q, e, idx[k]);
            if (!r) bad("names a vertex that is not a number");
            q = r;
          }
          if (q < e && *q == '/')
            ++q;
          else
            break;
        }
        if (idx[0] == 0) bad("names vertex 0");
        poly.push_back(static_cast<int32_t>(idx[0] < 0 ? nv + idx[0] : idx[0] - 1));
        polyNormals.push_back(static_cast<int32_t>(idx[2] < 0 ? nn + idx[2] : idx[2] - 1));
        if (idx[2] != 0) anyNormal = true;
      }
      if (lineFace) {
        if (poly.size() < 2) bad("gives a polyline with fewer than two vertices");
        lines.starts.push_back(lines.vertices.size());
        lines.vertices.insert(lines.vertices.end(), poly.begin(), poly.end());
        continue;
      }
      if (poly.size() < 3) bad("gives a face with fewer than three vertices");
      for (size_t k = 2; k < poly.size(); ++k)
        g.triangles.insert(g.triangles.end(), {poly[0], poly[k - 1], poly[k]});
      // Each vertex takes the normal named by its first corner that names one.
      for (size_t k = 0; k < poly.size() && anyNormal; ++k) {
        if (polyNormals[k] < 0) continue;
        if (polyNormals[k] >= nn) bad("names a normal the file has not given yet");
        const auto vi = static_cast<size_t>(poly[k]);
        if (vi >= vertexNormal.size()) vertexNormal.resize(std::max(2 * vi, size_t(1024)), -1);
        if (vertexNormal[vi] < 0) vertexNormal[vi] = polyNormals[k];
      }
    }
  }
  const size_t nv = g.positions.size() / 3;
  if (coloured == nv && nv > 0) {
    colors.resize(3 * nv);
    g.colors = std::move(colors);
  }
  if (anyNormal) {
    g.normals.assign(3 * nv, 0.0f);
    for (size_t i = 0; i < nv && i < vertexNormal.size(); ++i)
      if (vertexNormal[i] >= 0)
        std::memcpy(&g.normals[3 * i], &normalList[3 * static_cast<size_t>(vertexNormal[i])],
                    3 * sizeof(float));
  }
}

// ---------------------------------------------------------------------------------------
// Through assimp: OFF (its vertices as given) and STL (corners that share a position
// joined, the facet normals dropped).

class AssimpProgress : public Assimp::ProgressHandler {
 public:
  explicit AssimpProgress(Progress& p) : p_(p) {}
  bool Update(float fraction) override {
    try {
      if (fraction >= 0) p_.at(0.9 * fraction);
    } catch (const Cancelled&) {
      cancelled = true;
      return false;
    }
    return true;
  }
  bool cancelled = false;

 private:
  Progress& p_;
};

void readWithAssimp(const std::string& path, bool stl, Geometry& g, Progress& progress) {
  Assimp::Importer importer;
  auto* handler = new AssimpProgress(progress);
  importer.SetProgressHandler(handler);  // the importer owns it
  const unsigned flags = stl ? (aiProcess_DropNormals | aiProcess_JoinIdenticalVertices) : 0u;
  const aiScene* scene = importer.ReadFile(path, flags);
  if (handler->cancelled) throw Cancelled{};
  if (!scene) fail(importer.GetErrorString());
  bool normals = true, colors = true;
  for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
    normals = normals && scene->mMeshes[m]->HasNormals();
    colors = colors && scene->mMeshes[m]->HasVertexColors(0);
  }
  for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
    const aiMesh* mesh = scene->mMeshes[m];
    const auto base = static_cast<int32_t>(g.positions.size() / 3);
    for (unsigned i = 0; i < mesh->mNumVertices; ++i) {
      const aiVector3D& v = mesh->mVertices[i];
      g.positions.insert(g.positions.end(), {v.x, v.y, v.z});
      if (normals)
        g.normals.insert(g.normals.end(),
                         {mesh->mNormals[i].x, mesh->mNormals[i].y, mesh->mNormals[i].z});
      if (colors) {
        const aiColor4D& c = mesh->mColors[0][i];
        g.colors.insert(g.colors.end(), {c.r, c.g, c.b});
      }
    }
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
      const aiFace& face = mesh->mFaces[f];
      for (unsigned k = 2; k < face.mNumIndices; ++k)
        g.triangles.insert(g.triangles.end(), {base + static_cast<int32_t>(face.mIndices[0]),
                                               base + static_cast<int32_t>(face.mIndices[k - 1]),
                                               base + static_cast<int32_t>(face.mIndices[k])});
    }
  }
}

std::string lowerExtension(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  const size_t dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
  std::string ext = path.substr(dot);
  for (char& c : ext) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return ext;
}

}  // namespace

const std::vector<std::string>& importExtensions() {
  static const std::vector<std::string> all = {".ply", ".obj", ".off", ".stl",
                                               ".xyz", ".asc", ".pts", ".csv"};
  return all;
}

bool importGeometry(const std::string& path, Geometry* out, std::string* why,
                    const std::function<bool(float)>& progress) {
  return importGeometry(path, out, nullptr, why, progress);
}

bool importGeometry(const std::string& path, Geometry* out, Polylines* outLines, std::string* why,
                    const std::function<bool(float)>& progress) {
  Geometry g;
  Polylines lines;
  Progress reporter(progress);
  const std::string ext = lowerExtension(path);
  std::string reason;
  try {
    reporter.start();
    if (ext == ".off" || ext == ".stl") {
      readWithAssimp(path, ext == ".stl", g, reporter);
    } else {
      const auto& known = importExtensions();
      if (std::find(known.begin(), known.end(), ext) == known.end()) {
        std::string list;
        for (const auto& k : known) list += " " + k;
        fail("its extension \"" + ext + "\" is none of" + list);
      }
      const FileBlock file(path);
      if (ext == ".ply")
        readPly(file, g, reporter);
      else if (ext == ".obj")
        readObj(file, g, lines, reporter);
      else
        readPointText(file, g, reporter);
    }
    const size_t nv = g.positions.size() / 3;
    if (nv == 0) fail("it holds no vertices");
    if (nv > INT32_MAX) fail("it holds more than 2^31 vertices");
    for (size_t i = 0; i < g.triangles.size(); ++i)
      if (g.triangles[i] < 0 || static_cast<size_t>(g.triangles[i]) >= nv)
        fail("triangle " + std::to_string(i / 3) + " names vertex " +
             std::to_string(g.triangles[i]) + ", but vertices run from 0 to " +
             std::to_string(nv - 1));
    for (size_t i = 0; i < lines.count(); ++i)
      for (auto [v, end] = lines.line(i); v < end; ++v)
        if (*v < 0 || static_cast<size_t>(*v) >= nv)
          fail("polyline " + std::to_string(i) + " names vertex " + std::to_string(*v) +
               ", but vertices run from 0 to " + std::to_string(nv - 1));
    g.kind = g.triangles.empty() ? Geometry::Kind::Points : Geometry::Kind::Mesh;
    reporter.at(1.0);
  } catch (const Failure& f) {
    reason = "Can't import '" + path + "': " + f.reason + ".";
  } catch (const Cancelled&) {
    reason = "Importing '" + path + "' was cancelled.";
  } catch (const std::bad_alloc&) {
    reason = "Can't import '" + path + "': there is not enough memory.";
  }
  if (!reason.empty()) {
    if (why) *why = reason;
    if (out) *out = Geometry();
    if (outLines) *outLines = Polylines();
    return false;
  }
  if (out) *out = std::move(g);
  if (outLines) *outLines = std::move(lines);
  return true;
}

ICurveSet* polylineCurveSet(const Geometry& g, const Polylines& lines) {
  ICurveSet* set = makeCurveSet();
  IterStack<QorVector> points;
  IterStack<double> knots;
  for (size_t i = 0; i < lines.count(); ++i) {
    IPtr<RefFeatureHost> host(makePolyLineHost());
    auto* polyline = qorQuery<IQorPolyLine>(host.get(), "IQorPolyLine");
    auto* curve = qorQuery<IQorCurve>(host.get(), "IQorCurve");
    points.clear();
    knots.clear();
    for (auto [v, end] = lines.line(i); v < end; ++v) {
      const double* p = &g.positions[3 * static_cast<size_t>(*v)];
      points.push(QorVector(p[0], p[1], p[2]));
      knots.push(static_cast<double>(knots.count()));
    }
    polyline->setPointsAndKnots(points, knots);
    set->append(curve);
  }
  return set;
}

}  // namespace refhost
