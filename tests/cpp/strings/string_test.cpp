// QorString without any host: the fallback paths of every host-dependent operation,
// borrowing and owning, widening, searching and changing, placeholders and number texts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <sstream>
#include <string>

#include "base/iterstack.h"
#include "base/qorcstring.h"
#include "base/qorstring.h"

namespace {

using Ints = std::vector<int32_t>;
using Units = std::vector<std::u16string>;

std::u16string units(const QorString& s) {
  return s.isNull() ? std::u16string(u"<null>") : std::u16string(s.wide());
}

QorString q(const char16_t* s) {
  return QorString(s);
}

TEST(String, BorrowedLiteralsCostNothingAndStayAloneOwnedCopiesAreDeep) {
  static const char16_t wide[] = u"lit";
  static const char narrow[] = "lit";
  QorString a(kBorrow, wide, narrow), b(a), c, erased(kBorrow, wide), borrowing;
  c = b;
  // The borrowed narrow twin, as it is.
  EXPECT_TRUE(c.wide() == wide && c.blockSize() == 0 && c.narrow() == narrow);
  c.append(u'!');
  EXPECT_EQ(units(c) + u"|" + units(a), u"lit!|lit");
  EXPECT_STREQ(c.narrow(), "lit!");
  erased.erase(0, 1);  // copied before the change
  EXPECT_TRUE(units(erased) == u"it" && wide[0] == u'l');
  borrowing.assign(wide, 0);  // a count of 0 borrows the text, whole
  EXPECT_TRUE(borrowing.wide() == wide && borrowing.length() == 3);

  QorString o(u"owned text"), p(o), big(u"a much longer text than the other");
  EXPECT_NE(p.wide(), o.wide());
  p.setAt(0, u'O');
  EXPECT_EQ(units(o), u"owned text");
  const char16_t* block = big.wide();
  big = o;  // a large block is reused
  EXPECT_TRUE(big.wide() == block && units(big) == u"owned text");
  QorString moved(std::move(big));
  EXPECT_TRUE(big.isNull() && moved.wide() == block);
  moved.swap(o);
  EXPECT_TRUE(o.wide() == block && units(moved) == u"owned text");
}

TEST(String, WideningTakesBytesAsSignedAndTheNarrowFormKeepsAsciiOnly) {
  // Every byte against the rule: 0x80..0xFF become 0xFF80..0xFFFF.
  for (int b = 1; b < 256; ++b) {
    char text[2] = {static_cast<char>(b), 0};
    QorString s(text);
    ASSERT_EQ(s.at(0), b < 128 ? b : 0xFF00 | b) << b;
    ASSERT_TRUE(s == text);
  }
  EXPECT_FALSE(q(u"\u00E9") == "\xE9");
  EXPECT_EQ(units(QorString(QorCString("ab"))) + units(QorString('z')), u"abz");
  QorString appended(u"x");
  appended.append("\xE9yz", 2);
  EXPECT_EQ(units(appended), u"x\uFFE9y");
  appended.assign("abc", 2);
  EXPECT_EQ(units(appended), u"ab");
  EXPECT_STREQ(QorString("\xE9").narrow(), "");
  EXPECT_STREQ(q(u"a\u00E9b\u4E2Dc").narrow(), "abc");
  EXPECT_STREQ(QorString().narrow(), "");
  std::ostringstream out;
  out << q(u"x\u00E9y");
  EXPECT_EQ(out.str(), "xy");
}

TEST(String, EqualityOrderAndHash) {
  QorString null, empty(u"");
  EXPECT_TRUE(null == empty && null == "" && empty == static_cast<const char*>(nullptr));
  EXPECT_EQ(
      Ints({null.compareRaw(empty), empty.compareRaw(q(u"a")), q(u"\uFFFF").compareRaw(q(u"a")),
            q(u"ab").compareRaw(q(u"a")), q(u"\uFFE9").compareRaw("\xE9"), q(u"a").compareRaw("b"),
            q(u"b").compareTo(q(u"a")), q(u"a").compareTo(q(u"ab")), null.compareTo(empty)}),
      Ints({0, -1, 1, 1, 0, -1, 1, -1, 0}));  // units compare unsigned
  EXPECT_TRUE(q(u"a") < q(u"b") && q(u"\u00E9") > q(u"z"));
  EXPECT_EQ(std::vector<uint32_t>(
                {null.hash(), empty.hash(), q(u"AB").hash(), q(u"\uFFFF\uFFFF").hash()}),
            std::vector<uint32_t>({0, 0, 131, 0x1FFFE}));
}

TEST(String, SearchingWithTheAsciiFallbacks) {
  QorString s(u"abcabc"), bc(u"bc");
  EXPECT_EQ(Ints({s.find(bc), s.find(bc, 2), s.find(bc, 5), s.find(bc, -1), s.find(QorString()),
                  s.find(q(u"abcabcX")), s.find(u'c', 3), s.find(u'c', 6), QorString().find(u'c'),
                  s.rfind(bc), s.rfind(bc, 3), s.rfind(bc, 0), s.rfind(QorString())}),
            Ints({1, 4, -1, -1, 0, -1, 5, -1, -1, 4, 1, -1, 6}));
  // The fallback scan folds only A to Z, and reaches the end of the text.
  EXPECT_EQ(std::vector<bool>({s.contains(q(u"ABC"), false), s.contains(q(u"ABC"), true),
                               s.contains(bc, true), q(u"\u00C9A").contains(q(u"\u00E9a"), false),
                               s.contains(QorString(), true), s.hasPrefix(q(u"abX"), 2),
                               s.hasPrefix(q(u"abX"), 3), s.hasPrefix(q(u"ab"), 3),
                               s.hasPrefix(QorString(), 0), s.hasPrefix(q(u"abc"), -1)}),
            std::vector<bool>({true, false, true, false, true, true, false, false, true, true}));
}

TEST(String, ChangingSlicingAndTheCaseAndClassFallbacks) {
  QorString s(u"a.a.a"), null, t(u"0123456789"), u(u"abcdef"), borrowed(kBorrow, u"abc"),
      sum(u"ab");
  s.replaceAll(q(u"a"), q(u"aa"));
  EXPECT_EQ(units(s), u"aa.aa.aa");
  s.replaceAll(q(u"."), QorString());
  EXPECT_EQ(units(s), u"aaaaaa");
  null.replaceAll(q(u""), q(u"x"));
  EXPECT_TRUE(null.isNull());
  EXPECT_EQ(Units({units(t.replaced(2, 3, q(u"X"))), units(t.left(3)), units(t.mid(8, 5)),
                   units(t.mid(2, 0)), units(t.right(7))}),
            Units({u"01X56789", u"012", u"89", u"", u"789"}));
  t.erase(1, 8);
  u.truncate(2);
  borrowed.truncate(1);  // no owned block: nothing
  EXPECT_EQ(units(t) + units(u) + units(borrowed), u"09ababc");
  sum += sum;
  sum += q(u"c");
  sum.append(u'd');
  sum.appendUnit(q(u"xyz"), 1);
  EXPECT_EQ(units(sum), u"ababcdy");

  QorString c(u"\u00C0bC\u00E9");
  // Unchanged without the host.
  EXPECT_TRUE(units(c.toLower()) + units(c.toUpper()) == u"\u00C0bc\u00E9\u00C0BC\u00E9" &&
              units(q(u" a\t\n\v\f\rb\u00A0c").stripWhitespace()) == u"ab\u00A0c" &&
              units(q(u"  a   b ").simplify(u'_')) == u"  a   b ");
  EXPECT_EQ(std::vector<bool>({q(u"a1").isDigitAt(1), q(u"a\u0661").isDigitAt(1),
                               q(u"a1").isDigitAt(2), q(u"a1").isDigitAt(-1),
                               q(u"a\r").isSpaceAt(1), q(u"a\u3000").isSpaceAt(1)}),
            std::vector<bool>({true, false, false, false, true, false}));
}

TEST(String, ReadingNumbersAndNumberTexts) {
  bool ok = true;
  EXPECT_TRUE(q(u"0x10").toInt(&ok) == 16 && ok);
  EXPECT_EQ(Ints({q(u"010").toInt(), q(u" -12abc").toInt(), q(u"99999999999").toInt(),
                  q(u"-99999999999").toInt()}),
            Ints({8, -12, 2147483647, -2147483647 - 1}));
  for (const QorString& bad :
       {q(u"abc"), q(u"\uFF11"), QorString()}) {  // a full-width digit is none
    ok = true;
    EXPECT_TRUE(bad.toInt(&ok) == 0 && !ok);
  }
  EXPECT_TRUE(q(u"2.5e3").toDouble(&ok) == 2500.0 && ok);
  QorString().toDouble(&ok);
  EXPECT_FALSE(ok);

  QorNumberFormat two(".2"), general(".3", true), exponent(".1", true, true), padded("05"),
      copy(padded),
      wide("60");  // longer than the first 40-byte buffer
  EXPECT_EQ(Units({units(QorString(1e11)), units(QorString(1e10)), units(QorString(-2.5)),
                   units(QorString(-7)), units(QorString(1234567890123L)),
                   units(QorString(-9000000000LL)), units(QorString(3.14159, two)),
                   units(QorString(1234.5, general)), units(QorString(0.5, general)),
                   units(QorString(1234.5, exponent)), units(QorString(42, padded)),
                   units(QorString(42L, padded)), units(QorString(-42LL, padded)),
                   units(QorString(1.0, QorNumberFormat()))}),
            Units({u"1.000000e+11", u"10000000000.000000", u"-2.500000", u"-7", u"1234567890123",
                   u"-9000000000", u"3.14", u"1.23e+03", u"0.5", u"1.2e+03", u"00042", u"00042",
                   u"-0042", u"1.000000"}));
  copy = two;
  EXPECT_EQ(std::string(copy.conversion()) + padded.conversion(), ".205");
  EXPECT_EQ(QorString(1.0, wide).length(), 60);

  // The plain number texts are printf's, over a wide spread of values and the specials.
  auto printf16 = [](const char* format, auto v) {
    char b[128];
    const int n = std::snprintf(b, sizeof b, format, v);
    return std::u16string(b, b + n);
  };
  std::mt19937_64 rng(11);
  std::vector<double> doubles = {0.0,      -0.0,    1e10, -1e10, std::nextafter(1e10, 2e10),
                                 0.5,      2.5,     1e-7, 5e-7,  0.0000005,
                                 1e308,    -1e-300, NAN,  -NAN,  INFINITY,
                                 -INFINITY};
  for (int i = 0; i < 20000; ++i) {
    const double mantissa = std::uniform_real_distribution<double>(-10, 10)(rng);
    doubles.push_back(std::ldexp(mantissa, static_cast<int>(rng() % 80) - 40));
  }
  for (double d : doubles)
    ASSERT_EQ(units(QorString(d)), printf16(std::fabs(d) > 1e10 ? "%e" : "%f", d)) << d;
  for (int i = 0; i < 20000; ++i) {
    const auto v = static_cast<long long>(rng());
    ASSERT_EQ(units(QorString(static_cast<int32_t>(v))), printf16("%d", static_cast<int32_t>(v)));
    ASSERT_EQ(units(QorString(static_cast<long>(v))), printf16("%ld", static_cast<long>(v)));
    ASSERT_EQ(units(QorString(v >> (i % 64))), printf16("%lld", v >> (i % 64)));
  }
}

TEST(String, AbbreviateSubstituteAndFormat) {
  QorString s(u"abcdefghij");
  EXPECT_EQ(Units({units(s.abbreviate(6, 0, 3)), units(s.abbreviate(6, 1, 3)),
                   units(s.abbreviate(6, 2, 3)), units(s.abbreviate(2, 0, 3)),
                   units(s.abbreviate(10, 0, 3)), units(s.abbreviate(6, 9, 3))}),
            Units({u"abc...", u"...hij", u"a...ij", u"..", u"abcdefghij", u"abcdefghij"}));

  QorString a(u"A"), b(u"Bee"), self(u"%1");
  const QorString* args[] = {&a,      &b,      nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr, &self};
  QorString t(u"%1-%2-%3|%:|%%1|%x|%"), percent(u"100%%1"), fewer(u"%1%2"),
      borrowed(kBorrow, u"%1"), slack(u"ab%1%1"), cut(u"x%2");
  t.substitute(args);  // one pass: an inserted "%1" is not searched again
  percent.substitute(args);
  fewer.substitute(args, 1);  // indices past the count are empty
  borrowed.substitute(args);
  // Stale units behind the terminator are never taken for placeholders; a '%' last has
  // no next unit to step over.
  slack.truncate(2);
  cut.truncate(2);
  const char16_t* block = slack.wide();
  slack.substitute(args);
  cut.substitute(args);
  EXPECT_EQ(slack.wide(), block) << "nothing found, so the block stays";
  EXPECT_EQ(
      Units({units(t), units(percent), units(fewer), units(borrowed), units(slack), units(cut)}),
      Units({u"A-Bee-|%1|%%1|%x|%", u"100%%1", u"A", u"%1", u"ab", u"x%"}));

  QorString r;
  Units formatted;
  auto add = [&] { formatted.push_back(units(r)); };
  QorString::format(r, "%2 %1", "%2", "x"), add();  // highest first: "%2" is searched again
  QorString::format(r, "%1!", "one"), add();
  QorString::format(r, "%6%5%4%3%2%1", "a", "b", "c", "d", "e", "f"), add();
  QorCString array[] = {"%2", "x"}, ten[10] = {"A", "", "", "", "", "", "", "", "", "J"};
  QorString::format(r, "%2 %1", 2, array), add();  // upward: "%1" first
  QorString::format(r, "%10", 10, ten), add();     // "%1" matches the start of "%10"
  EXPECT_EQ(formatted, Units({u"x %2", u"one!", u"fedcba", u"x x", u"A0"}));
}

TEST(String, ListsInOneTextAndTheConstants) {
  IterStack<QorString> list, back;
  for (const char16_t* item : {u"a b", u"12 34", u"\u00E9"}) list.push(q(item));
  QorString packed = QorString::packList(list);
  EXPECT_EQ(units(packed), u"3 a b5 12 341 \u00E9");
  QorString::unpackList(packed, back);
  ASSERT_EQ(back.count(), 3);
  for (int32_t i = 1; i <= 3; ++i) EXPECT_TRUE(back.get(i) == list.get(i)) << i;
  // No length: one element; a bad one ends the list; a length past the text is clipped.
  for (auto [text, count, last] :
       {std::tuple{u"plain text", 1, u"plain text"}, std::tuple{u"2 ab0 x", 2, u"2 ab0 x"},
        std::tuple{u"9 ab", 1, u"ab"}}) {
    QorString::unpackList(q(text), back);
    ASSERT_EQ(back.count(), count) << back.count();
    EXPECT_EQ(units(back.get(count)), last);
  }
  const QorString& empty = QorString::emptyString();
  EXPECT_TRUE(empty.isEmpty() && !empty.isNull() && &QorString::emptyString() == &empty &&
              units(QorString::blankString()) == u" " &&
              QorString::blankLiteral().blockSize() == 0);
  EXPECT_STREQ(QorString::blankLiteral().narrow(), " ");
  QorString::releaseConstants();
  EXPECT_EQ(units(QorString::blankString()), u" ");
  QorString::releaseConstants();
}

}  // namespace
