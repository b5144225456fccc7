// UTF-8 in both directions: one 16-bit unit at a time on the way out, the lenient decoder
// on the way in.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/qorcstring.h"
#include "base/qorstring.h"

namespace {

std::vector<int> bytesOf(const char* s) {
  std::vector<int> out;
  for (; *s; ++s) out.push_back(static_cast<unsigned char>(*s));
  return out;
}

std::u16string units(const QorString& s) {
  return s.isNull() ? std::u16string(u"<null>") : std::u16string(s.wide());
}

TEST(Utf8, EncodesEachUnitByItself) {
  // Expected bytes are what Python's codec gives for the same units, each unit encoded
  // alone: b"".join(chr(u).encode("utf-8", "surrogatepass") for u in units).
  struct Case {
    std::u16string in;
    std::vector<int> out;
  } cases[] = {
      {u"A\x7F", {0x41, 0x7F}},
      {u"\u0080", {0xC2, 0x80}},
      {u"\u07FF", {0xDF, 0xBF}},
      {u"\u0800", {0xE0, 0xA0, 0x80}},
      {u"\u00E9", {0xC3, 0xA9}},
      {u"\u20AC", {0xE2, 0x82, 0xAC}},
      {u"\uFFFF", {0xEF, 0xBF, 0xBF}},
      {u"\uFFE9", {0xEF, 0xBF, 0xA9}},
      {u"\U0001F600", {0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80}},  // a pair: two sequences
      {std::u16string{0xD800, u'A'}, {0xED, 0xA0, 0x80, 0x41}},
      {std::u16string{0xDC00}, {0xED, 0xB0, 0x80}},
      {u"plain ascii text, long enough for runs", {}},
  };
  for (const Case& c : cases) {
    QorString s(c.in.c_str());
    std::vector<int> expected = c.out;
    if (expected.empty())
      for (char16_t u : c.in) expected.push_back(u);
    EXPECT_EQ(bytesOf(s.utf8()), expected);
  }
  EXPECT_EQ(std::string(QorString().utf8()) + QorString(u"").utf8(), "");
  QorString cached(u"x");
  EXPECT_EQ(cached.utf8(), cached.utf8());
  cached.append(u'y');  // a change drops the cache
  EXPECT_STREQ(cached.utf8(), "xy");
}

TEST(Utf8, EveryUnitReadsBackAsItself) {
  for (char32_t u = 1; u <= 0xFFFF; ++u) {
    char16_t text[3] = {static_cast<char16_t>(u), u'z', 0};
    QorString s(text);
    QorString back = QorString::fromUtf8(s.utf8());
    ASSERT_EQ(back.length(), 2) << static_cast<int>(u);
    ASSERT_EQ(back.at(0), u);
  }
}

TEST(Utf8, DecoderIsLenientWhereStoredTextRelyOnIt) {
  // Well-formed sequences, as Python's codec ("surrogatepass") decodes them. Continuation
  // bytes are not checked beyond NUL; a stray one as a lead gives its low seven bits.
  std::vector<std::u16string> got;
  for (const char* text : {"\xC3\xA9", "\xE2\x82\xAC", "\xDF\xBF\xE0\xA0\x80", "\xEF\xBF\xBF",
                           "\xED\xA0\xBD\xED\xB8\x80", "\xC3\x41",
                           "a\xBF"
                           "b"})
    got.push_back(units(QorString::fromUtf8(text)));
  EXPECT_EQ(got, (std::vector<std::u16string>{u"\u00E9", u"\u20AC", u"\u07FF\u0800", u"\uFFFF",
                                              u"\U0001F600", u"\u00C1", u"a?b"}));
  QorString zero = QorString::fromUtf8(
      "a\x80"
      "b");  // 0x80 gives unit 0: the text ends
  EXPECT_TRUE(units(zero) == u"a" && zero.at(2) == u'b');
  // Malformed texts give the empty string, never a part.
  const char* malformed[] = {"\xC0\x80",
                             "a\xE2\x82",
                             "ok\xC3",
                             "\xF0\x9F\x98\x80",
                             "\xE0\x9F\xBF",
                             "\xC1\xBF",
                             "abc\xF8\x88\x80\x80\x80",
                             "\xFF"};
  for (const char* m : malformed) {
    QorString s = QorString::fromUtf8(m);
    EXPECT_TRUE(s.isEmpty()) << m;
  }
  EXPECT_TRUE(QorString::fromUtf8(nullptr).isEmpty() && QorString::fromUtf8("").isEmpty());
  // A byte count ends the text as a terminator would.
  EXPECT_TRUE(units(QorString::fromUtf8("abc", 2)) == u"ab" &&
              QorString::fromUtf8("\xC3\xA9", 1).isEmpty() &&
              units(QorString::fromUtf8("ab\0cd", 5)) == u"ab");
}

}  // namespace
