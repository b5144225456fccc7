// A host whose IQorStrSupport appears only after the first string operation that needed
// it: the strings keep their fallbacks for the life of the process.
#include <gtest/gtest.h>

#include "base/qorstring.h"
#include "core/locator.h"
#include "refhost/host.h"

namespace {

TEST(LateStrSupport, AMissStaysAMiss) {
  ASSERT_TRUE(refhost::boot("full"));
  qor::setLocator(&refhost::manager());
  EXPECT_STREQ(QorString(u"a\u00E9").narrow(), "a");  // looked up now: absent
  refhost::manager().registerService("IQorStrSupport", &refhost::strSupport());
  EXPECT_STREQ(QorString(u"a\u00E9").narrow(), "a");
  EXPECT_TRUE(QorString(u"\u00C9").toLower().at(0) == 0xC9 &&
              refhost::manager().lookups("IQorStrSupport") == 1 &&
              refhost::strSupport().calls(1) == 0);
}

}  // namespace
