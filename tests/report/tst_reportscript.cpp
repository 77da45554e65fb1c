#include "report/placeholdertext.h"
#include "report/reportscript.h"

#include <gtest/gtest.h>

namespace {

QString eval(ReportScript& s, const char* expression)
{
    return s.evaluateText(PlaceholderText::scriptFromExpression(expression));
}

} // namespace

TEST(ReportScript, AggregatesOverStoredRows)
{
    ReportScript s;
    // Two groups: 1, 2, 3 in group 0 and 10, 20 in group 1.
    const double values[] = { 1, 2, 3, 10, 20 };
    for (int row = 0; row < 5; ++row)
        s.store("v", row, row < 3 ? 0 : 1, values[row]);
    EXPECT_EQ(eval(s, "Sum([v])"), QStringLiteral("36"));
    EXPECT_EQ(eval(s, "Avg([v])"), QStringLiteral("7.2"));
    EXPECT_EQ(eval(s, "Count([v])"), QStringLiteral("5"));
    EXPECT_EQ(eval(s, "Sum([missing])"), QStringLiteral("0"));

    s.setShowInGroup(true);
    s.setCurrentGroup(1);
    EXPECT_EQ(eval(s, "Sum([v])"), QStringLiteral("30"));
    EXPECT_EQ(eval(s, "Count([v])"), QStringLiteral("2"));
    EXPECT_EQ(eval(s, "showInGroup"), QStringLiteral("1"));

    s.clearAggregates();
    EXPECT_EQ(eval(s, "Count([v])"), QStringLiteral("0"));
}

TEST(ReportScript, BadScriptGivesEmptyTextAndFalse)
{
    ReportScript s;
    bool ok = true;
    EXPECT_TRUE(s.evaluateText("1 +", &ok).isEmpty());
    EXPECT_FALSE(ok);
    EXPECT_FALSE(s.evaluateBool("undefinedName > 2", &ok));
    EXPECT_FALSE(ok);
    // The engine keeps working after an error.
    EXPECT_EQ(s.evaluateText("2 * 3", &ok), QStringLiteral("6"));
    EXPECT_TRUE(ok);
    EXPECT_TRUE(s.evaluateBool("12 > 10"));
    EXPECT_FALSE(s.evaluateBool("0"));
}
