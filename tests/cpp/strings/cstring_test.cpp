// QorCString without any host: borrowing and owning, construction forms, searching and
// changing, comparison and hash, number texts and the shortest real.
#include <gtest/gtest.h>

#include <algorithm>
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
#include "testkit.h"

namespace {

using Ints = std::vector<int32_t>;
using Texts = std::vector<std::string>;

std::string str(const QorCString& s) {
  return s.isNull() ? std::string("<null>") : std::string(s.data());
}

TEST(CString, BorrowedTextIsSharedUntilChangedOwnedCopiesAreDeepMovesEmptyTheSource) {
  static const char literal[] = "abc";
  QorCString a(kBorrow, literal), b(a), c;
  c = b;
  EXPECT_TRUE(c.data() == literal && c.blockSize() == 0);
  c.toUpper();
  EXPECT_TRUE(str(c) == "ABC" && c.data() != literal && c.blockSize() > 0);
  EXPECT_STREQ(literal, "abc");
  // A stack buffer borrowed through the adopt flag: ASan would report a free of it.
  char buffer[] = "stack";
  { QorCString borrowed(buffer, false); }
  EXPECT_STREQ(buffer, "stack");

  QorCString o("text"), p(o);
  EXPECT_NE(p.data(), o.data());
  p.replaceChar('t', 'T');
  EXPECT_EQ(str(o) + str(p), "textTexT");
  QorCString moved(std::move(p));
  EXPECT_TRUE(p.isNull() && str(moved) == "TexT");
  // Adopting a block from the string storage hands it over to the string.
  int32_t granted = 0;
  char* block = static_cast<char*>(qor::strAllocate(4, &granted));
  std::memcpy(block, "own", 4);
  QorCString adopted(block, true), copy(adopted);
  EXPECT_TRUE(adopted.blockSize() == 4 && copy.data() != block);
}

TEST(CString, ConstructionForms) {
  const char* pieces[] = {"x", "", "yz", nullptr};
  const char* leadingNull[] = {nullptr, "a", nullptr};
  const char* empties[] = {"", "", nullptr};
  std::istringstream in("two\nlines");
  EXPECT_EQ(Texts({str(QorCString('x')), str(QorCString(-42)), str(QorCString::withInt("slot", 7)),
                   str(QorCString(3.5)), str(QorCString(0.25f)), str(QorCString("abcdef", 3)),
                   str(QorCString("ab", 10)), str(QorCString("ab", 0)),
                   str(QorCString(static_cast<const char*>(nullptr))),
                   str(QorCString("a", nullptr, "c")), str(QorCString("", nullptr)),
                   str(QorCString::join(pieces)), str(QorCString::join(leadingNull)),
                   str(QorCString::join(empties)), str(QorCString(in))}),
            Texts({"x", "-42", "slot7", "3.500000", "0.250000", "abc", "ab", "", "<null>", "ac",
                   "<null>", "xyz", "<null>", "<null>", "two\nlines"}));
}

TEST(CString, NullAndEmptyDiffer) {
  QorCString null, empty("");
  EXPECT_TRUE(null.isEmpty() && empty.isEmpty());
  EXPECT_FALSE(null == "" || empty == static_cast<const char*>(nullptr) || null == empty);
  // A null right operand is never greater.
  EXPECT_TRUE(null.length() == 0 && null == QorCString() && null.compare(empty) < 0 &&
              null < empty && null <= null && !(empty < null));
  std::ostringstream out;
  out << null << "|" << QorCString("v");
  EXPECT_EQ(out.str(), "|v");
}

TEST(CString, SearchingAndAbbreviating) {
  testkit::AssertRecorder asserts;
  QorCString s("abcabc");
  EXPECT_EQ(
      Ints({s.find('c'), s.find('c', 3), s.find('c', 6), s.find('a', -1), QorCString().find('a'),
            s.find("bc"), s.find("bc", 2), s.find("bc", 5), s.find(""), s.find("abcabcd"),
            s.rfind('a'), s.rfind('z'), s.rfind("ab"), s.rfind(""), s.rfind("zz")}),
      Ints({2, 5, -1, -1, -1, 1, 4, -1, 0, -1, 3, -1, 3, 6, -1}));
  EXPECT_TRUE(asserts.entries.empty() && s.find("bc", -1) == -1);
  EXPECT_EQ(asserts.exprs(), Texts{"start >= 0"});

  QorCString t("abcdefghij");
  EXPECT_EQ(
      Texts({str(t.abbreviate(6, 0, 3)), str(t.abbreviate(6, 1, 3)), str(t.abbreviate(6, 2, 3)),
             str(t.abbreviate(7, 2, 2)), str(t.abbreviate(3, 0, 3)), str(t.abbreviate(2, 1, 3)),
             str(t.abbreviate(10, 0, 3))}),
      Texts({"abc...", "...hij", "a...ij", "ab..hij", "...", "..", "abcdefghij"}));
  EXPECT_TRUE(asserts.entries.size() == 1u && str(t.abbreviate(6, 5, 3)) == "abcdefghij");
  EXPECT_EQ(asserts.exprs(), (Texts{"start >= 0", "0"}));
}

TEST(CString, AssigningReusesOnlyWhatTheRulesAllow) {
  QorCString s("abcd");
  const char* block = s.data();
  s.assign("wxyz", -1);  // same length, owned: same block
  EXPECT_TRUE(s.data() == block && str(s) == "wxyz");
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
  QorCString taken, other("other"), c;
  taken.assignUtf8(wide);
  EXPECT_EQ(str(taken), "\xC3\xA9");
  taken.swap(other);
  EXPECT_EQ(str(taken) + str(other), "other\xC3\xA9");
  c = 'q';
  c = c.data();  // the same pointer: nothing
  EXPECT_EQ(str(c), "q");
}

TEST(CString, AppendingReplacingCaseTrimSimplifyReverse) {
  QorCString s(kBorrow, "ab");
  s.append('c');
  s.append("de");
  s.append("");
  s.append(static_cast<const char*>(nullptr));
  EXPECT_TRUE(str(s) == "abcde" && s.blockSize() >= 6 &&
              str(s + 'f') + "|" + str(s + "gh") == "abcdef|abcdegh");
  s.replaceAt(1, 2, "XY");  // same length: in place
  EXPECT_EQ(str(s), "aXYde");
  s.replaceAt(1, 2, "");
  s.replaceAt(1, 0, "!!");
  EXPECT_EQ(str(s), "a!!de");
  QorCString r("a.a.a");
  r.replaceAll("a", "aa");  // inserted text is not searched again
  EXPECT_EQ(str(r), "aa.aa.aa");
  r.replaceAll(".", "");
  r.replaceAll("aa", "aa");
  r.replaceAll(nullptr, "x");
  r.replaceAll("", "x");
  EXPECT_EQ(str(r), "aaaaaa");
  EXPECT_EQ(str(QorCString("abcdef").substring(2, 3)) + str(QorCString("abcdef").substring(4, 10)),
            "cdeef");

  QorCString m("Mixed \xC9 Case");
  m.toLower();
  EXPECT_EQ(str(m), "mixed \xC9 case");  // byte by byte, ASCII only
  m.toUpper();
  m.reverse();
  EXPECT_EQ(str(m), "ESAC \xC9 DEXIM");
  EXPECT_EQ(
      Texts({str(QorCString(" \t a b \n").trim()), str(QorCString("   ").trim()),
             str(QorCString("  a  \t b  ").simplify('_')), str(QorCString("a b").simplify())}),
      Texts({"a b", "", "a_b", "a b"}));
}

TEST(CString, ToFloatAndReadLineRaiseOrRefuseTheRuntimesFailures) {
  EXPECT_FLOAT_EQ(QorCString(" 1.5x").toFloat(), 1.5f);
  EXPECT_EQ(QorCString().toFloat(), 0.0f);
  try {
    QorCString("abc").toFloat();
    ADD_FAILURE() << "no exception";
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "invalid stof argument");
  }
  try {
    QorCString("1e39").toFloat();
    ADD_FAILURE() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "stof argument out of range");
  }
  std::istringstream in("first\n\nlast"), fits(std::string(4095, 'x') + "\n"),
      tooLong(std::string(4096, 'x') + "\n");
  QorCString line("old");
  Texts lines;
  while (line.readLine(in)) lines.push_back(str(line));
  EXPECT_EQ(lines, Texts({"first", "", "last"}));
  EXPECT_TRUE(line.isNull() && line.readLine(fits) && line.length() == 4095);
  EXPECT_FALSE(line.readLine(tooLong));
}

TEST(CString, ComparisonAndHash) {
  // Three-way comparison takes bytes as unsigned; the joined comparison as signed.
  QorCString e9("\xE9");
  const char* a[] = {"a", nullptr};
  const char* pieces[] = {"ab", "", "c", nullptr};
  EXPECT_EQ(
      Ints({e9.compare("z"), QorCString("abc").compare("abd"),
            QorCString("abc").compare(QorCString("abc")), e9.compareJoined(a),
            QorCString("abc").compareJoined(pieces), QorCString("abd").compareJoined(pieces),
            QorCString("ab").compareJoined(pieces), QorCString("abz").compareJoined(pieces, 2),
            QorCString("abz").compareJoined(pieces, 3)}),
      Ints({1, -1, 0, -1, 0, 1, -1, 0, 1}));
  // djb2 over signed chars; the values are Python's arithmetic on the same bytes.
  EXPECT_EQ(
      std::vector<uint32_t>({QorCString().hash(), QorCString("").hash(), QorCString("a").hash(),
                             e9.hash(), QorCString("IQorUnknown").hash(),
                             QorCString("caf\xC3\xA9").hash(), QorCString("\xFF\xFF").hash()}),
      std::vector<uint32_t>({0, 5381, 0x2b606, 0x2b58e, 0x88f34750u, 0xf35547b, 0x596a23}));
}

TEST(CString, ShortestRealGoldenTexts) {
  // The digits are those of Python's repr; the form is "%g"'s (no trailing ".0", and
  // fixed notation up to the precision: repr writes 1.0000000000000002e+16). Only texts
  // the round-trip model below can't tell apart from a wrong rule are listed.
  struct Case {
    double v;
    const char* text;
  } cases[] = {{1.0 / 3, "0.3333333333333333"},
               {1e-5, "1e-05"},
               {100.0, "100"},
               {-0.0, "0"},
               {1e16 + 2, "10000000000000002"},
               {2147483647.0, "2147483647"},
               {-2147483648.0, "-2147483648"},
               {2147483648.0, "2147483648"},  // beyond the int range: digit search
               {1e22, "1e+22"},
               {std::numeric_limits<double>::infinity(), "inf"},
               {-std::numeric_limits<double>::infinity(), "-inf"},
               {std::nan(""), "nan"},
               {-std::nan(""), "nan"}};
  for (const Case& c : cases) EXPECT_EQ(str(QorCString(c.v, true)), c.text) << c.v;
  EXPECT_EQ(str(QorCString(1.5, false)), "1.500000");
  // Floats: the shortest text that reads back to the same float.
  EXPECT_EQ(Texts({str(QorCString(1.0f / 3, true)), str(QorCString(1e10f, true)),
                   str(QorCString(16777216.0f, true))}),
            Texts({"0.33333334", "1e+10", "16777216"}));
  // A text that cannot be read back raises the runtime's failure.
  EXPECT_THROW(QorCString(5e-324, true), std::out_of_range);
  EXPECT_THROW(QorCString(1e-40f, true), std::out_of_range);
  try {
    QorCString::shortestReal(std::numeric_limits<double>::max());
    ADD_FAILURE() << "no exception";
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
  std::string mantissa(buf, std::find(buf, r.ptr, 'e'));
  int digits = static_cast<int>(std::count_if(mantissa.begin(), mantissa.end(), ::isdigit));
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
