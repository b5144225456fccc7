// Translation and the raising of errors: which translator is used when, the two
// replacement rules, and the order and texts of a class error.
#include "core/translate.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/locator.h"
#include "refhost/host.h"
#include "refhost/translator.h"
#include "testkit.h"

namespace {

std::string text(const QorString& s) {
  return s.utf8();
}

QorString w(const char* s) {
  return QorString::fromUtf8(s);
}

// One test, because the translator's state is the process's: the order of events is the
// point.
TEST(Translate, TrivialUntilTheHostAnswersThenTheHostsForGood) {
  QorString out;
  EXPECT_EQ(text(tr(out, "Error in class %1: %2.", w("X"), w("Y"))), "Error in class X: Y.");
  EXPECT_FALSE(qor::translator()->isTranslating());
  EXPECT_STREQ(qor::translator()->className(), "QorTrivialTranslator");

  // A host without a translator service: asked again on every call.
  refhost::boot("full");
  qor::setLocator(&refhost::manager());
  int before = refhost::manager().lookups("IQorTranslatorService");
  tr(out, "a");
  tr(out, "b");
  EXPECT_EQ(refhost::manager().lookups("IQorTranslatorService"), before + 2);
  EXPECT_STREQ(qor::translator()->className(), "QorTrivialTranslator");

  // The service appears: the next call takes its translator and keeps it.
  refhost::manager().registerService("IQorTranslatorService", &refhost::translatorService());
  EXPECT_EQ(text(tr(out, "Error in class %1: %2.", w("X"), w("Y"))), "Fehler in Klasse X: Y.");
  EXPECT_STREQ(qor::translator()->className(), "TableTranslator");
  int asked = refhost::translatorService().requests();
  refhost::manager().setMode("IQorTranslatorService", refhost::ServiceMode::Absent);
  tr(out, "c");
  EXPECT_EQ(refhost::translatorService().requests(), asked) << "resolved once, never again";
  EXPECT_STREQ(qor::translator()->className(), "TableTranslator");
  EXPECT_EQ(text(tr(out, "not in the table")), "not in the table");

  // A class error now raises code 6 with the translated message (its text and log line as a
  // script sees them are the script-side test's).
  testkit::Raised r = testkit::raised([] { qor::classError("refresh", "x."); });
  EXPECT_TRUE(r.code == 6 && r.text == "Fehler in Klasse refresh: x..");
}

TEST(Translate, OnePassAndSequentialReplacementDifferAndTwoDigitPlaceholdersCountFromTen) {
  QorTrivialTranslator t;
  QorString out, args[12];
  for (int i = 0; i < 12; ++i) args[i] = w(("a" + std::to_string(i + 1)).c_str());
  QorString a1 = w("%2"), a2 = w("x"), pair[] = {a1, a2};
  std::vector<std::string> got;
  t.translate2(&out, "%1 %2", &a1, &a2);  // one pass: inserted text is not searched
  got.push_back(text(out));
  t.translateArray(&out, "%1 %2", 2, pair);  // each step works on what the earlier left
  got.push_back(text(out));
  t.translateArray(&out, "%1 %2 %3 %4 %5 %6 %7 %8 %9 %10 %11 %12", 12, args);
  got.push_back(text(out));
  t.translateArray(&out, "%10 %1", 1, args);  // %1 is found first at the start of "%10"
  got.push_back(text(out));
  t.translateArray(&out, "no placeholder", 1, args);
  got.push_back(text(out));
  got.push_back(text(tr(out, "x%1", 1, args)));  // the process's translator, by the table
  EXPECT_EQ(got, (std::vector<std::string>{"%2 x", "x %2", "a1 a2 a3 a4 a5 a6 a7 a8 a9 a10 a11 a12",
                                           "a10 %1", "no placeholder", "xa1"}));
}

}  // namespace
