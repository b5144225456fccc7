// QorCString without any host: borrowing and owning, construction forms, searching and
// changing, comparison and hash, number texts and the shortest real.
#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

#include "base/qorcstring.h"
#include "base/qorstring.h"
#include "base/strstorage.h"
#include "base/wexrealloc.h"

namespace {

// Records assertions instead of ending the process.
struct Asserts {
  static inline std::string last;
  static inline int count = 0;
  static int record(void*, const char* expr, const char*, int32_t) {
    last = expr;
    ++count;
    return 0;
  }
  Asserts() {
    last.clear();
    count = 0;
    wexSetAssertCallback(&record, nullptr);
  }
  ~Asserts() { wexSetAssertCallback(nullptr, nullptr); }
};

std::string str(const QorCString& s) {
  return s.isNull() ? std::string("<null>") : std::string(s.data());
}

TEST(CString, BorrowedTextIsSharedUntilChangedAndNeverFreed) {
  static const char literal[] = "abc";
  QorCString a(kBorrow, literal);
  QorCString b(a);
  QorCString c;
  c = b;
  EXPECT_EQ(c.data(), literal);
  EXPECT_EQ(c.blockSize(), 0);
  c.toUpper();
  EXPECT_EQ(str(c), "ABC");
  EXPECT_NE(c.data(), literal);
  EXPECT_GT(c.blockSize(), 0);
  EXPECT_STREQ(literal, "abc");
  // A stack buffer borrowed through the adopt flag: ASan would report a free of it.
  char buffer[] = "stack";
  { QorCString borrowed(buffer, false); }
  EXPECT_STREQ(buffer, "stack");
}

TEST(CString, OwningCopiesAreDeepAndMovesEmptyTheSource) {
  QorCString a("text");
  QorCString b(a);
  EXPECT_NE(b.data(), a.data());
  b.replaceChar('t', 'T');
  EXPECT_EQ(str(a), "text");
  EXPECT_EQ(str(b), "TexT");
  QorCString moved(std::move(b));
  EXPECT_TRUE(b.isNull());
  EXPECT_EQ(str(moved), "TexT");
  // Adopting a block from the string storage hands it over to the string.
  int32_t granted = 0;
  char* block = static_cast<char*>(qor::strAllocate(4, &granted));
  std::memcpy(block, "own", 4);
  QorCString adopted(block, true);
  EXPECT_EQ(adopted.blockSize(), 4);
  QorCString copy(adopted);
  EXPECT_NE(copy.data(), block);
}

TEST(CString, ConstructionForms) {
  EXPECT_EQ(str(QorCString('x')), "x");
  EXPECT_EQ(str(QorCString(-42)), "-42");
  EXPECT_EQ(str(QorCString::withInt("slot", 7)), "slot7");
  EXPECT_EQ(str(QorCString(3.5)), "3.500000");
  EXPECT_EQ(str(QorCString(0.25f)), "0.250000");
  EXPECT_EQ(str(QorCString("abcdef", 3)), "abc");
  EXPECT_EQ(str(QorCString("ab", 10)), "ab");
  EXPECT_EQ(str(QorCString("ab", 0)), "");
  EXPECT_EQ(str(QorCString(static_cast<const char*>(nullptr))), "<null>");
  EXPECT_EQ(str(QorCString("a", nullptr, "c")), "ac");
  EXPECT_EQ(str(QorCString("", nullptr)), "<null>");
  const char* pieces[] = {"x", "", "yz", nullptr};
  EXPECT_EQ(str(QorCString::join(pieces)), "xyz");
  const char* leadingNull[] = {nullptr, "a", nullptr};
  EXPECT_EQ(str(QorCString::join(leadingNull)), "<null>");
  const char* empties[] = {"", "", nullptr};
  EXPECT_EQ(str(QorCString::join(empties)), "<null>");
  std::istringstream in("two\nlines");
  EXPECT_EQ(str(QorCString(in)), "two\nlines");
}

TEST(CString, NullAndEmptyDiffer) {
  QorCString null, empty("");
  EXPECT_TRUE(null.isEmpty() && empty.isEmpty());
  EXPECT_EQ(null.length(), 0);
  EXPECT_FALSE(null == "");
  EXPECT_FALSE(empty == static_cast<const char*>(nullptr));
  EXPECT_TRUE(null == QorCString());
  EXPECT_FALSE(null == empty);
  EXPECT_LT(null.compare(empty), 0);
  EXPECT_TRUE(null < empty);
  EXPECT_FALSE(empty < null);  // a null right operand is never greater
  EXPECT_TRUE(null <= null);
  std::ostringstream out;
  out << null << "|" << QorCString("v");
  EXPECT_EQ(out.str(), "|v");
}

TEST(CString, Searching) {
  Asserts asserts;
  QorCString s("abcabc");
  EXPECT_EQ(s.find('c'), 2);
  EXPECT_EQ(s.find('c', 3), 5);
  EXPECT_EQ(s.find('c', 6), -1);
  EXPECT_EQ(s.find('a', -1), -1);
  EXPECT_EQ(QorCString().find('a'), -1);
  EXPECT_EQ(s.find("bc"), 1);
  EXPECT_EQ(s.find("bc", 2), 4);
  EXPECT_EQ(s.find("bc", 5), -1);
  EXPECT_EQ(s.find(""), 0);
  EXPECT_EQ(s.find("abcabcd"), -1);
  EXPECT_EQ(asserts.count, 0);
  EXPECT_EQ(s.find("bc", -1), -1);
  EXPECT_EQ(asserts.count, 1);
  EXPECT_EQ(asserts.last, "start >= 0");
  EXPECT_EQ(s.rfind('a'), 3);
  EXPECT_EQ(s.rfind('z'), -1);
  EXPECT_EQ(s.rfind("ab"), 3);
  EXPECT_EQ(s.rfind(""), 6);
  EXPECT_EQ(s.rfind("zz"), -1);
}

TEST(CString, AssigningReusesOnlyWhatTheRulesAllow) {
  QorCString s("abcd");
  const char* block = s.data();
  s.assign("wxyz", -1);  // same length, owned: same block
  EXPECT_EQ(s.data(), block);
  EXPECT_EQ(str(s), "wxyz");
  s.assign("hello", 99);  // past strlen + 1: the whole text
  EXPECT_EQ(str(s), "hello");
  s.assign("hello", 2);
  EXPECT_EQ(str(s), "he");
  QorCString over("0123456789");
  over.assignBytes(over.data() + 2, 5);  // overlapping copy into the same block
  EXPECT_EQ(str(over), "23456");
  over.assignBytes("x", 0);
  EXPECT_TRUE(over.isNull());
  over.assignWide(u"A\u00E9\u4E2D", -1);  // low bytes
  EXPECT_EQ(str(over), "A\xE9\x2D");
  QorString wide(u"\u00E9");
  wide.utf8();
  QorCString taken;
  taken.assignUtf8(wide);
  EXPECT_EQ(str(taken), "\xC3\xA9");
  QorCString other("other");
  taken.swap(other);
  EXPECT_EQ(str(taken), "other");
  EXPECT_EQ(str(other), "\xC3\xA9");
  QorCString c;
  c = 'q';
  EXPECT_EQ(str(c), "q");
  c = c.data();  // the same pointer: nothing
  EXPECT_EQ(str(c), "q");
}

TEST(CString, AppendingAndReplacing) {
  QorCString s(kBorrow, "ab");
  s.append('c');
  s.append("de");
  s.append("");
  s.append(static_cast<const char*>(nullptr));
  EXPECT_EQ(str(s), "abcde");
  EXPECT_GE(s.blockSize(), 6);
  EXPECT_EQ(str(s + 'f'), "abcdef");
  EXPECT_EQ(str(s + "gh"), "abcdegh");
  s.replaceAt(1, 2, "XY");  // same length: in place
  EXPECT_EQ(str(s), "aXYde");
  s.replaceAt(1, 2, "");
  EXPECT_EQ(str(s), "ade");
  s.replaceAt(3, 0, "!!");
  EXPECT_EQ(str(s), "ade!!");
  QorCString r("a.a.a");
  r.replaceAll("a", "aa");  // inserted text is not searched again
  EXPECT_EQ(str(r), "aa.aa.aa");
  r.replaceAll(".", "");
  EXPECT_EQ(str(r), "aaaaaa");
  r.replaceAll("aa", "aa");
  r.replaceAll(nullptr, "x");
  r.replaceAll("", "x");
  EXPECT_EQ(str(r), "aaaaaa");
  EXPECT_EQ(str(QorCString("abcdef").substring(2, 3)), "cde");
  EXPECT_EQ(str(QorCString("abcdef").substring(4, 10)), "ef");
}

TEST(CString, CaseTrimSimplifyReverse) {
  QorCString s("Mixed \xC9 Case");
  s.toLower();
  EXPECT_EQ(str(s), "mixed \xC9 case");  // byte by byte, ASCII only
  s.toUpper();
  EXPECT_EQ(str(s), "MIXED \xC9 CASE");
  s.reverse();
  EXPECT_EQ(str(s), "ESAC \xC9 DEXIM");
  EXPECT_EQ(str(QorCString(" \t a b \n").trim()), "a b");
  EXPECT_EQ(str(QorCString("   ").trim()), "");
  EXPECT_EQ(str(QorCString("  a  \t b  ").simplify('_')), "a_b");
  EXPECT_EQ(str(QorCString("a b").simplify()), "a b");
}

TEST(CString, Abbreviate) {
  Asserts asserts;
  QorCString s("abcdefghij");
  EXPECT_EQ(str(s.abbreviate(6, 0, 3)), "abc...");
  EXPECT_EQ(str(s.abbreviate(6, 1, 3)), "...hij");
  EXPECT_EQ(str(s.abbreviate(6, 2, 3)), "a...ij");
  EXPECT_EQ(str(s.abbreviate(7, 2, 2)), "ab..hij");
  EXPECT_EQ(str(s.abbreviate(3, 0, 3)), "...");
  EXPECT_EQ(str(s.abbreviate(2, 1, 3)), "..");
  EXPECT_EQ(str(s.abbreviate(10, 0, 3)), "abcdefghij");
  EXPECT_EQ(asserts.count, 0);
  EXPECT_EQ(str(s.abbreviate(6, 5, 3)), "abcdefghij");
  EXPECT_EQ(asserts.count, 1);
  EXPECT_EQ(asserts.last, "0");
}

TEST(CString, ToFloatRaisesTheRuntimeFailures) {
  EXPECT_FLOAT_EQ(QorCString(" 1.5x").toFloat(), 1.5f);
  EXPECT_EQ(QorCString().toFloat(), 0.0f);
  try {
    QorCString("abc").toFloat();
    FAIL() << "no exception";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "invalid stof argument");
  }
  try {
    QorCString("1e39").toFloat();
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "stof argument out of range");
  }
}

TEST(CString, ReadLine) {
  std::istringstream in("first\n\nlast");
  QorCString line("old");
  ASSERT_TRUE(line.readLine(in));
  EXPECT_EQ(str(line), "first");
  ASSERT_TRUE(line.readLine(in));
  EXPECT_EQ(str(line), "");
  ASSERT_TRUE(line.readLine(in));
  EXPECT_EQ(str(line), "last");
  EXPECT_FALSE(line.readLine(in));
  EXPECT_TRUE(line.isNull());
  std::istringstream fits(std::string(4095, 'x') + "\n");
  EXPECT_TRUE(line.readLine(fits));
  EXPECT_EQ(line.length(), 4095);
  std::istringstream tooLong(std::string(4096, 'x') + "\n");
  EXPECT_FALSE(line.readLine(tooLong));
}

TEST(CString, ComparisonAndHash) {
  // Three-way comparison takes bytes as unsigned; the joined comparison as signed.
  QorCString e9("\xE9");
  EXPECT_EQ(e9.compare("z"), 1);
  EXPECT_EQ(QorCString("abc").compare("abd"), -1);
  EXPECT_EQ(QorCString("abc").compare(QorCString("abc")), 0);
  const char* a[] = {"a", nullptr};
  EXPECT_EQ(e9.compareJoined(a), -1);
  const char* pieces[] = {"ab", "", "c", nullptr};
  EXPECT_EQ(QorCString("abc").compareJoined(pieces), 0);
  EXPECT_EQ(QorCString("abd").compareJoined(pieces), 1);
  EXPECT_EQ(QorCString("ab").compareJoined(pieces), -1);
  EXPECT_EQ(QorCString("abz").compareJoined(pieces, 2), 0);
  EXPECT_EQ(QorCString("abz").compareJoined(pieces, 3), 1);
  // djb2 over signed chars; the values are Python's arithmetic on the same bytes.
  EXPECT_EQ(QorCString().hash(), 0u);
  EXPECT_EQ(QorCString("").hash(), 5381u);
  EXPECT_EQ(QorCString("a").hash(), 0x2b606u);
  EXPECT_EQ(e9.hash(), 0x2b58eu);
  EXPECT_EQ(QorCString("IQorUnknown").hash(), 0x88f34750u);
  EXPECT_EQ(QorCString("caf\xC3\xA9").hash(), 0xf35547bu);
  EXPECT_EQ(QorCString("\xFF\xFF").hash(), 0x596a23u);
}

TEST(CString, ShortestRealGoldenTexts) {
  // The digits are those of Python's repr; the form is "%g"'s (no trailing ".0", and
  // fixed notation up to the precision: repr writes 1.0000000000000002e+16).
  struct Case {
    double v;
    const char* text;
  } cases[] = {{0.1, "0.1"},
               {1.0 / 3, "0.3333333333333333"},
               {2.5e-07, "2.5e-07"},
               {0.1 + 0.2, "0.30000000000000004"},
               {123.456, "123.456"},
               {-0.5, "-0.5"},
               {1e-5, "1e-05"},
               {100.0, "100"},
               {-0.0, "0"},
               {1e16 + 2, "10000000000000002"},
               {2147483647.0, "2147483647"},
               {-2147483648.0, "-2147483648"},
               {2147483648.0, "2147483648"},  // beyond the int range: digit search
               {3000000000.5, "3000000000.5"},
               {1e22, "1e+22"},
               {std::numeric_limits<double>::infinity(), "inf"},
               {-std::numeric_limits<double>::infinity(), "-inf"},
               {std::nan(""), "nan"},
               {-std::nan(""), "nan"}};
  for (const Case& c : cases) EXPECT_EQ(str(QorCString(c.v, true)), c.text) << c.v;
  EXPECT_EQ(str(QorCString(1.5, false)), "1.500000");
  // Floats: the shortest text that reads back to the same float.
  EXPECT_EQ(str(QorCString(0.1f, true)), "0.1");
  EXPECT_EQ(str(QorCString(1.0f / 3, true)), "0.33333334");
  EXPECT_EQ(str(QorCString(3.14159265f, true)), "3.1415927");
  EXPECT_EQ(str(QorCString(1e10f, true)), "1e+10");
  EXPECT_EQ(str(QorCString(16777216.0f, true)), "16777216");
  // A text that cannot be read back raises the runtime's failure.
  EXPECT_THROW(QorCString(5e-324, true), std::out_of_range);
  EXPECT_THROW(QorCString(1e-40f, true), std::out_of_range);
  try {
    QorCString::shortestReal(std::numeric_limits<double>::max());
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "stod argument out of range");
  }
}

// The shortest text against a model: the digit count of the shortest round trip
// (std::to_chars), printed as "%.*g".
template <class T>
std::string modelShortest(T v) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::scientific);
  std::string sci(buf, r.ptr);
  std::string mantissa = sci.substr(0, sci.find('e'));
  int digits = 0;
  for (char c : mantissa) digits += (c >= '0' && c <= '9');
  std::snprintf(buf, sizeof buf, "%.*g", digits, static_cast<double>(v));
  return buf;
}

TEST(CString, ShortestRealMatchesTheRoundTripModel) {
  std::mt19937_64 rng(12345);
  std::uniform_real_distribution<double> mant(1.0, 10.0);
  std::uniform_int_distribution<int> exp10(-30, 30);
  for (int i = 0; i < 20000; ++i) {
    double d = mant(rng) * std::pow(10.0, exp10(rng)) * (i % 2 ? -1 : 1);
    if (d == std::trunc(d) && std::fabs(d) < 2147483648.0) continue;
    ASSERT_EQ(str(QorCString(d, true)), modelShortest(d)) << d;
    float f = static_cast<float>(d);
    if (f == std::trunc(f) && std::fabs(f) < 2147483648.0f) continue;
    ASSERT_EQ(str(QorCString(f, true)), modelShortest(f)) << f;
  }
}

}  // namespace
