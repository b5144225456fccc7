// QorString without any host: the fallback paths of every host-dependent operation,
// borrowing and owning, widening, searching and changing, placeholders and number texts.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/iterstack.h"
#include "base/qorcstring.h"
#include "base/qorstring.h"

namespace {

std::u16string units(const QorString& s) {
  return s.isNull() ? std::u16string(u"<null>") : std::u16string(s.wide());
}

TEST(String, BorrowedLiteralsCostNothingAndStayAlone) {
  static const char16_t wide[] = u"lit";
  static const char narrow[] = "lit";
  QorString a(kBorrow, wide, narrow);
  QorString b(a);
  QorString c;
  c = b;
  EXPECT_EQ(c.wide(), wide);
  EXPECT_EQ(c.blockSize(), 0);
  EXPECT_EQ(c.narrow(), narrow);  // the borrowed narrow twin, as it is
  c.append(u'!');
  EXPECT_EQ(units(c), u"lit!");
  EXPECT_STREQ(c.narrow(), "lit!");
  EXPECT_EQ(units(a), u"lit");
  QorString erased(kBorrow, wide);
  erased.erase(0, 1);  // copied before the change
  EXPECT_EQ(units(erased), u"it");
  EXPECT_EQ(wide[0], u'l');
  QorString borrowing;
  borrowing.assign(wide, 0);  // a count of 0 borrows the text, whole
  EXPECT_EQ(borrowing.wide(), wide);
  EXPECT_EQ(borrowing.length(), 3);
}

TEST(String, OwnedCopiesAreDeepAndAssignmentReusesLargeBlocks) {
  QorString a(u"owned text");
  QorString b(a);
  EXPECT_NE(b.wide(), a.wide());
  b.setAt(0, u'O');
  EXPECT_EQ(units(a), u"owned text");
  QorString big(u"a much longer text than the other");
  const char16_t* block = big.wide();
  big = a;
  EXPECT_EQ(big.wide(), block);
  EXPECT_EQ(units(big), u"owned text");
  QorString moved(std::move(big));
  EXPECT_TRUE(big.isNull());
  EXPECT_EQ(moved.wide(), block);
  moved.swap(a);
  EXPECT_EQ(a.wide(), block);
  EXPECT_EQ(units(moved), u"owned text");
}

TEST(String, WideningTakesBytesAsSigned) {
  // Every byte against the rule: 0x80..0xFF become 0xFF80..0xFFFF.
  for (int b = 1; b < 256; ++b) {
    char text[2] = {static_cast<char>(b), 0};
    QorString s(text);
    ASSERT_EQ(s.at(0), b < 128 ? b : 0xFF00 | b) << b;
    ASSERT_TRUE(s == text);
  }
  EXPECT_EQ(QorString("\xE9").at(0), 0xFFE9);
  EXPECT_FALSE(QorString(u"\u00E9") == "\xE9");
  EXPECT_EQ(units(QorString(QorCString("ab"))), u"ab");
  EXPECT_EQ(units(QorString('z')), u"z");
  QorString appended(u"x");
  appended.append("\xE9yz", 2);
  EXPECT_EQ(units(appended), u"x\uFFE9y");
  appended.assign("abc", 2);
  EXPECT_EQ(units(appended), u"ab");
}

TEST(String, NarrowFormWithoutServiceKeepsAsciiOnly) {
  EXPECT_STREQ(QorString("\xE9").narrow(), "");
  EXPECT_STREQ(QorString(u"a\u00E9b\u4E2Dc").narrow(), "abc");
  EXPECT_STREQ(QorString().narrow(), "");
  std::ostringstream out;
  out << QorString(u"x\u00E9y");
  EXPECT_EQ(out.str(), "xy");
}

TEST(String, EqualityOrderAndHash) {
  QorString null, empty(u"");
  EXPECT_TRUE(null == empty);
  EXPECT_TRUE(null == "");
  EXPECT_TRUE(empty == static_cast<const char*>(nullptr));
  EXPECT_EQ(null.compareRaw(empty), 0);
  EXPECT_EQ(empty.compareRaw(QorString(u"a")), -1);
  EXPECT_EQ(QorString(u"\uFFFF").compareRaw(QorString(u"a")), 1);  // unsigned units
  EXPECT_EQ(QorString(u"ab").compareRaw(QorString(u"a")), 1);
  EXPECT_EQ(QorString(u"\uFFE9").compareRaw("\xE9"), 0);
  EXPECT_EQ(QorString(u"a").compareRaw("b"), -1);
  EXPECT_TRUE(QorString(u"a") < QorString(u"b"));
  EXPECT_TRUE(QorString(u"\u00E9") > QorString(u"z"));
  EXPECT_EQ(QorString(u"b").compareTo(QorString(u"a")), 1);
  EXPECT_EQ(QorString(u"a").compareTo(QorString(u"ab")), -1);
  EXPECT_EQ(null.compareTo(empty), 0);
  EXPECT_EQ(null.hash(), 0u);
  EXPECT_EQ(empty.hash(), 0u);
  EXPECT_EQ(QorString(u"AB").hash(), 131u);
  EXPECT_EQ(QorString(u"\uFFFF\uFFFF").hash(), 0x1FFFEu);
}

TEST(String, Searching) {
  QorString s(u"abcabc");
  EXPECT_EQ(s.find(QorString(u"bc")), 1);
  EXPECT_EQ(s.find(QorString(u"bc"), 2), 4);
  EXPECT_EQ(s.find(QorString(u"bc"), 5), -1);
  EXPECT_EQ(s.find(QorString(u"bc"), -1), -1);
  EXPECT_EQ(s.find(QorString()), 0);
  EXPECT_EQ(s.find(QorString(u"abcabcX")), -1);
  EXPECT_EQ(s.find(u'c', 3), 5);
  EXPECT_EQ(s.find(u'c', 6), -1);
  EXPECT_EQ(QorString().find(u'c'), -1);
  EXPECT_EQ(s.rfind(QorString(u"bc")), 4);
  EXPECT_EQ(s.rfind(QorString(u"bc"), 3), 1);
  EXPECT_EQ(s.rfind(QorString(u"bc"), 0), -1);
  EXPECT_EQ(s.rfind(QorString()), 6);
  // The fallback scan folds only A to Z, and reaches the end of the text.
  EXPECT_TRUE(s.contains(QorString(u"ABC"), false));
  EXPECT_FALSE(s.contains(QorString(u"ABC"), true));
  EXPECT_TRUE(s.contains(QorString(u"bc"), true));
  EXPECT_FALSE(QorString(u"\u00C9A").contains(QorString(u"\u00E9a"), false));
  EXPECT_TRUE(s.contains(QorString(), true));
  EXPECT_TRUE(s.hasPrefix(QorString(u"abX"), 2));
  EXPECT_FALSE(s.hasPrefix(QorString(u"abX"), 3));
  EXPECT_FALSE(s.hasPrefix(QorString(u"ab"), 3));
  EXPECT_TRUE(s.hasPrefix(QorString(), 0));
  EXPECT_TRUE(s.hasPrefix(QorString(u"abc"), -1));
}

TEST(String, ChangingAndSlicing) {
  QorString s(u"a.a.a");
  s.replaceAll(QorString(u"a"), QorString(u"aa"));
  EXPECT_EQ(units(s), u"aa.aa.aa");
  s.replaceAll(QorString(u"."), QorString());
  EXPECT_EQ(units(s), u"aaaaaa");
  QorString null;
  null.replaceAll(QorString(u""), QorString(u"x"));
  EXPECT_TRUE(null.isNull());
  QorString t(u"0123456789");
  EXPECT_EQ(units(t.replaced(2, 3, QorString(u"X"))), u"01X56789");
  EXPECT_EQ(units(t.left(3)), u"012");
  EXPECT_EQ(units(t.mid(8, 5)), u"89");
  EXPECT_EQ(units(t.mid(2, 0)), u"");
  EXPECT_EQ(units(t.right(7)), u"789");
  t.erase(1, 8);
  EXPECT_EQ(units(t), u"09");
  QorString u(u"abcdef");
  u.truncate(2);
  EXPECT_EQ(units(u), u"ab");
  QorString borrowed(kBorrow, u"abc");
  borrowed.truncate(1);  // no owned block: nothing
  EXPECT_EQ(units(borrowed), u"abc");
  QorString sum(u"ab");
  sum += sum;
  sum += QorString(u"c");
  sum.append(u'd');
  sum.appendUnit(QorString(u"xyz"), 1);
  EXPECT_EQ(units(sum), u"ababcdy");
}

TEST(String, CaseWhiteSpaceAndClassificationFallbacks) {
  QorString s(u"\u00C0bC\u00E9");
  EXPECT_EQ(units(s.toLower()), u"\u00C0bc\u00E9");
  EXPECT_EQ(units(s.toUpper()), u"\u00C0BC\u00E9");
  EXPECT_EQ(units(QorString(u" a\t\n\v\f\rb\u00A0c").stripWhitespace()), u"ab\u00A0c");
  QorString spaced(u"  a   b ");
  EXPECT_EQ(units(spaced.simplify(u'_')), u"  a   b ");  // unchanged without the host
  EXPECT_TRUE(QorString(u"a1").isDigitAt(1));
  EXPECT_FALSE(QorString(u"a\u0661").isDigitAt(1));
  EXPECT_FALSE(QorString(u"a1").isDigitAt(2));
  EXPECT_FALSE(QorString(u"a1").isDigitAt(-1));
  EXPECT_TRUE(QorString(u"a\r").isSpaceAt(1));
  EXPECT_FALSE(QorString(u"a\u3000").isSpaceAt(1));
}

TEST(String, ReadingNumbers) {
  bool ok = true;
  EXPECT_EQ(QorString(u"0x10").toInt(&ok), 16);
  EXPECT_TRUE(ok);
  EXPECT_EQ(QorString(u"010").toInt(), 8);
  EXPECT_EQ(QorString(u" -12abc").toInt(), -12);
  EXPECT_EQ(QorString(u"99999999999").toInt(), 2147483647);
  EXPECT_EQ(QorString(u"-99999999999").toInt(), -2147483647 - 1);
  EXPECT_EQ(QorString(u"abc").toInt(&ok), 0);
  EXPECT_FALSE(ok);
  EXPECT_EQ(QorString(u"\uFF11").toInt(&ok), 0);  // a full-width digit is no digit
  EXPECT_FALSE(ok);
  ok = true;
  EXPECT_EQ(QorString().toInt(&ok), 0);
  EXPECT_FALSE(ok);
  EXPECT_DOUBLE_EQ(QorString(u"2.5e3").toDouble(&ok), 2500.0);
  EXPECT_TRUE(ok);
  QorString().toDouble(&ok);
  EXPECT_FALSE(ok);
}

TEST(String, NumberTexts) {
  EXPECT_EQ(units(QorString(1e11)), u"1.000000e+11");
  EXPECT_EQ(units(QorString(1e10)), u"10000000000.000000");
  EXPECT_EQ(units(QorString(-2.5)), u"-2.500000");
  EXPECT_EQ(units(QorString(-7)), u"-7");
  EXPECT_EQ(units(QorString(1234567890123L)), u"1234567890123");
  EXPECT_EQ(units(QorString(-9000000000LL)), u"-9000000000");
  QorNumberFormat two(".2");
  EXPECT_EQ(units(QorString(3.14159, two)), u"3.14");
  QorNumberFormat general(".3", true);
  EXPECT_EQ(units(QorString(1234.5, general)), u"1.23e+03");
  EXPECT_EQ(units(QorString(0.5, general)), u"0.5");
  QorNumberFormat exponent(".1", true, true);
  EXPECT_EQ(units(QorString(1234.5, exponent)), u"1.2e+03");
  QorNumberFormat padded("05");
  EXPECT_EQ(units(QorString(42, padded)), u"00042");
  EXPECT_EQ(units(QorString(42L, padded)), u"00042");
  EXPECT_EQ(units(QorString(-42LL, padded)), u"-0042");
  QorNumberFormat copy(padded);
  copy = two;
  EXPECT_STREQ(copy.conversion(), ".2");
  EXPECT_STREQ(padded.conversion(), "05");
  QorNumberFormat wide("60");  // longer than the first 40-byte buffer
  EXPECT_EQ(QorString(1.0, wide).length(), 60);
  EXPECT_EQ(units(QorString(1.0, QorNumberFormat())), u"1.000000");
}

TEST(String, Abbreviate) {
  QorString s(u"abcdefghij");
  EXPECT_EQ(units(s.abbreviate(6, 0, 3)), u"abc...");
  EXPECT_EQ(units(s.abbreviate(6, 1, 3)), u"...hij");
  EXPECT_EQ(units(s.abbreviate(6, 2, 3)), u"a...ij");
  EXPECT_EQ(units(s.abbreviate(2, 0, 3)), u"..");
  EXPECT_EQ(units(s.abbreviate(10, 0, 3)), u"abcdefghij");
  EXPECT_EQ(units(s.abbreviate(6, 9, 3)), u"abcdefghij");
}

TEST(String, SubstituteInOnePass) {
  QorString a(u"A"), b(u"Bee"), self(u"%1");
  const QorString* args[] = {&a,      &b,      nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr, &self};
  QorString s(u"%1-%2-%3|%:|%%1|%x|%");
  s.substitute(args);
  EXPECT_EQ(units(s), u"A-Bee-|%1|%%1|%x|%");  // inserted "%1" is not searched again
  QorString percent(u"100%%1");
  percent.substitute(args);
  EXPECT_EQ(units(percent), u"100%%1");
  QorString fewer(u"%1%2");
  fewer.substitute(args, 1);  // indices past the count are empty
  EXPECT_EQ(units(fewer), u"A");
  QorString borrowed(kBorrow, u"%1");
  borrowed.substitute(args);
  EXPECT_EQ(units(borrowed), u"%1");
  // Stale units behind the terminator are never taken for placeholders.
  QorString slack(u"ab%1%1");
  slack.truncate(2);
  const char16_t* block = slack.wide();
  slack.substitute(args);
  EXPECT_EQ(slack.wide(), block);  // nothing found, so the block stays
  EXPECT_EQ(units(slack), u"ab");
  QorString cut(u"x%2");
  cut.truncate(2);  // the '%' is last: there is no next unit to step over
  cut.substitute(args);
  EXPECT_EQ(units(cut), u"x%");
}

TEST(String, FormatOrder) {
  QorString r;
  QorString::format(r, "%2 %1", "%2", "x");  // highest first: "%2" is searched again
  EXPECT_EQ(units(r), u"x %2");
  QorString::format(r, "%1!", "one");
  EXPECT_EQ(units(r), u"one!");
  QorString::format(r, "%6%5%4%3%2%1", "a", "b", "c", "d", "e", "f");
  EXPECT_EQ(units(r), u"fedcba");
  QorCString array[] = {"%2", "x"};
  QorString::format(r, "%2 %1", 2, array);  // upward: "%1" first
  EXPECT_EQ(units(r), u"x x");
  QorCString ten[10] = {"A", "", "", "", "", "", "", "", "", "J"};
  QorString::format(r, "%10", 10, ten);  // "%1" matches the start of "%10"
  EXPECT_EQ(units(r), u"A0");
}

TEST(String, ListsInOneText) {
  IterStack<QorString> list;
  list.push(QorString(u"a b"));
  list.push(QorString(u"12 34"));
  list.push(QorString(u"\u00E9"));
  QorString packed = QorString::packList(list);
  EXPECT_EQ(units(packed), u"3 a b5 12 341 \u00E9");
  IterStack<QorString> back;
  QorString::unpackList(packed, back);
  ASSERT_EQ(back.count(), 3);
  for (int32_t i = 1; i <= 3; ++i) EXPECT_TRUE(back.get(i) == list.get(i)) << i;
  QorString::unpackList(QorString(u"plain text"), back);  // no length: one element
  ASSERT_EQ(back.count(), 1);
  EXPECT_EQ(units(back.get(1)), u"plain text");
  QorString::unpackList(QorString(u"2 ab0 x"), back);
  ASSERT_EQ(back.count(), 2);
  EXPECT_EQ(units(back.get(2)), u"2 ab0 x");
  QorString::unpackList(QorString(u"9 ab"), back);  // clipped to the text
  ASSERT_EQ(back.count(), 1);
  EXPECT_EQ(units(back.get(1)), u"ab");
}

TEST(String, Constants) {
  const QorString& empty = QorString::emptyString();
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_FALSE(empty.isNull());
  EXPECT_EQ(&QorString::emptyString(), &empty);
  EXPECT_EQ(units(QorString::blankString()), u" ");
  EXPECT_EQ(QorString::blankLiteral().blockSize(), 0);
  EXPECT_STREQ(QorString::blankLiteral().narrow(), " ");
  QorString::releaseConstants();
  EXPECT_EQ(units(QorString::blankString()), u" ");
  QorString::releaseConstants();
}

}  // namespace
