// QorString with the host's text rules: the reference host's IQorStrSupport is installed
// before the first string operation, and every host-dependent operation goes through it.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/qorstring.h"
#include "core/locator.h"
#include "refhost/host.h"

namespace {

class StrSupportHost : public ::testing::Environment {
 public:
  void SetUp() override {
    ASSERT_TRUE(refhost::boot("strsupport"));
    qor::setLocator(&refhost::manager());
  }
};
[[maybe_unused]] const auto* gHost = ::testing::AddGlobalTestEnvironment(new StrSupportHost);

std::u16string units(const QorString& s) {
  return s.isNull() ? std::u16string(u"<null>") : std::u16string(s.wide());
}

int calls(int slot) {
  return refhost::strSupport().calls(slot);
}

TEST(StrSupport, NarrowFormIsTheHostsAndIsRebuiltEachCall) {
  int before = calls(1);
  QorString s(u"\u00E9\U0001F600\u20AC");
  EXPECT_STREQ(s.narrow(), "\xC3\xA9\xF0\x9F\x98\x80\xE2\x82\xAC");  // UTF-8 of the text
  EXPECT_STREQ(QorString("\xE9").narrow(), "\xEF\xBF\xA9");          // unit 0xFFE9
  EXPECT_EQ(calls(1), before + 2);
  s.narrow();
  EXPECT_EQ(calls(1), before + 3);
  static const char twin[] = "lit";
  QorString literal(kBorrow, u"lit", twin);
  // A borrowed narrow literal needs no host.
  EXPECT_TRUE(literal.narrow() == twin && calls(1) == before + 3);
  std::ostringstream out;
  out << QorString(u"x\u00E9");
  EXPECT_EQ(out.str(), "x\xC3\xA9");
}

TEST(StrSupport, OrderingCaseWhiteSpaceAndDigitsGoThroughTheHost) {
  const int before = calls(2);  // equality first: no host
  EXPECT_TRUE(QorString(u"a") < QorString(u"b") && QorString(u"\uFFFF") > QorString(u"a"));
  EXPECT_EQ(std::vector<int>({QorString(u"b").compareTo(QorString(u"a")),
                              QorString(u"a").compareTo(QorString(u"b")),
                              QorString(u"a").compareTo(QorString(u"a"))}),
            std::vector<int>({1, -1, 0}));
  EXPECT_EQ(calls(2), before + 4);
  // Case by the wide-character rules, on a deep copy, never the source.
  QorString s(u"\u00C0b\u03A3\u0416x"), borrowed(kBorrow, u"Lit"), spaced(u"  a \u3000 b\t\tc  ");
  EXPECT_EQ(std::vector<std::u16string>({units(s.toLower()), units(s.toUpper()), units(s),
                                         units(borrowed.toUpper()), units(borrowed),
                                         units(QorString(u" a\u3000b\u2028c\t").stripWhitespace()),
                                         units(spaced.simplify()), units(spaced.simplify(u'_'))}),
            std::vector<std::u16string>({u"\u00E0b\u03C3\u0436x", u"\u00C0B\u03A3\u0416X",
                                         u"\u00C0b\u03A3\u0416x", u"LIT", u"Lit", u"abc", u"a b c",
                                         u"a_b_c"}));
  EXPECT_EQ(
      std::vector<bool>({QorString(u"\u00C9COLE").contains(QorString(u"\u00E9co"), false),
                         QorString(u"\u00C9COLE").contains(QorString(u"\u00E9co"), true),
                         QorString(u"abc").contains(QorString(u"bc"), true),  // at the end
                         QorString(u"x\u3000").isSpaceAt(1), QorString(u"x\u00A0").isSpaceAt(1),
                         QorString(u"7").isDigitAt(0), QorString(u"7").isDigitAt(1)}),
      std::vector<bool>({true, false, true, true, false, true, false}));
  for (int slot : {5, 6, 7, 8, 9}) EXPECT_GT(calls(slot), 0) << slot;
}

TEST(StrSupport, HostBoundariesUseStandardUtf8) {
  EXPECT_EQ(refhost::wideToUtf8(u"a\U0001F600\xD800"), "a\xF0\x9F\x98\x80\xED\xA0\x80");
  EXPECT_EQ(units(refhost::utf8ToWide("a\xF0\x9F\x98\x80\xC3\xA9")), u"a\U0001F600\u00E9");
  EXPECT_EQ(units(refhost::utf8ToWide("\xC0\x80|\xE2\x82|\xF4\x90\x80\x80")),
            u"\uFFFD\uFFFD|\uFFFD\uFFFD|\uFFFD\uFFFD\uFFFD\uFFFD");
  EXPECT_TRUE(refhost::utf8ToWide(nullptr).isNull());
}

}  // namespace
