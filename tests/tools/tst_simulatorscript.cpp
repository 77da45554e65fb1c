#include "tools/simulatorscript.h"

#include <gtest/gtest.h>

namespace {

struct BadScript
{
    const char* name;
    const char* text;
    int line;
    const char* fragment;
};

class ScriptErrors : public ::testing::TestWithParam<BadScript>
{
};

TEST_P(ScriptErrors, NameTheLineAndTheProblem)
{
    const BadScript& c = GetParam();
    try {
        parseSimulatorScript(QString::fromUtf8(c.text), "day.sim");
        FAIL() << "accepted: " << c.text;
    } catch (const SimulatorError& e) {
        const QString message = QString::fromUtf8(e.what());
        EXPECT_TRUE(message.startsWith(QString("day.sim:%1: ").arg(c.line))) << e.what();
        EXPECT_TRUE(message.contains(c.fragment)) << e.what();
    }
}

INSTANTIATE_TEST_SUITE_P(Simulator, ScriptErrors,
    ::testing::Values(BadScript { "UnknownKeyword", "hours 2\n\n  sneeze count 3\n", 3, "sneeze" },
        BadScript { "BadDuration", "# x\npvc at 0:10:00 for 5y\n", 2, "5y" },
        BadScript { "BadCount", "pvc count many\n", 1, "many" },
        BadScript { "NegativeCount", "pvc count -3\n", 1, "-3" },
        BadScript { "NoPlacement", "svpb\n", 1, "at TIME" },
        BadScript { "WrongPlacementWord", "svpb on 0:01\n", 1, "'on'" },
        BadScript { "BadClock", "vt at 1:75:00\n", 1, "1:75:00" },
        BadScript { "AfterEnd", "hours 1\n\nafib at 1:30:00 for 5m\n", 3, "after the end" },
        BadScript { "Overlap", "vt at 0:10:00 for 60s\n\nafib at 0:10:30 for 5m\n", 3, "line 1" },
        BadScript { "LeadOutOfRange", "electrode-off at 0:01:00 lead=4\n", 1, "lead" },
        BadScript { "RateOnSinusPattern", "bigeminy at 0:01:00 rate=80\n", 1, "no rate" },
        BadScript { "ShortPause", "pause at 0:01:00 for 0.5s\n", 1, "at least" },
        BadScript { "MissingValue", "rate 70\n", 1, "2 value" },
        BadScript { "BadStart", "start 2024-13-01 09:00:00\n", 1, "yyyy-MM-dd" },
        BadScript { "UnknownOption", "vt at 0:01:00 speed=3\n", 1, "speed=3" }),
    [](const ::testing::TestParamInfo<BadScript>& info) { return info.param.name; });

TEST(SimulatorScript, ReadsTimesDurationsAndOptions)
{
    const SimulatorScript s = parseSimulatorScript("hours 3   # three\n"
                                                   "start 2023-06-01 22:15:00\n"
                                                   "rate 80 55\n"
                                                   "night 22:30 7:00\n"
                                                   "vt at 1:02:03 for 2.5m rate=180\n"
                                                   "st-depression at 90s for 1h level=0.3\n"
                                                   "electrode-off count 2 for 40 lead=3\n",
        "x");
    EXPECT_DOUBLE_EQ(s.seconds(), 3 * 3600.0);
    EXPECT_EQ(s.start, QDateTime(QDate(2023, 6, 1), QTime(22, 15, 0)));
    EXPECT_DOUBLE_EQ(s.dayRate, 80.0);
    EXPECT_DOUBLE_EQ(s.nightRate, 55.0);
    EXPECT_EQ(s.nightFromMinute, 22 * 60 + 30);
    EXPECT_EQ(s.nightToMinute, 7 * 60);
    ASSERT_EQ(s.items.size(), 3);
    EXPECT_EQ(s.items[0].kind, SimKind::Vt);
    EXPECT_DOUBLE_EQ(s.items[0].at, 3600.0 + 120.0 + 3.0);
    EXPECT_DOUBLE_EQ(s.items[0].duration, 150.0);
    EXPECT_DOUBLE_EQ(s.items[0].rate, 180.0);
    EXPECT_EQ(s.items[0].line, 5);
    EXPECT_DOUBLE_EQ(s.items[1].at, 90.0);
    EXPECT_DOUBLE_EQ(s.items[1].duration, 3600.0);
    EXPECT_DOUBLE_EQ(s.items[1].level, 0.3);
    EXPECT_LT(s.items[2].at, 0.0);
    EXPECT_EQ(s.items[2].count, 2);
    EXPECT_DOUBLE_EQ(s.items[2].duration, 40.0);
    EXPECT_EQ(s.items[2].lead, 2);
    // Options left out come from the kind.
    const SimulatorScript d = parseSimulatorScript("afib at 0:00:10\npvc at 0:00:20", "x");
    ASSERT_EQ(d.items.size(), 2);
    EXPECT_GT(d.items[0].duration, 60.0);
    EXPECT_GT(d.items[0].rate, 60.0);
    EXPECT_EQ(d.items[1].lead, -1);
}

TEST(SimulatorScript, DefaultScriptParses)
{
    const SimulatorScript s = parseSimulatorScript(defaultSimulatorScript(), "default");
    EXPECT_DOUBLE_EQ(s.hours, 24.0);
    EXPECT_GT(s.items.size(), 20);
    // Every kind appears at least once in the demonstration day.
    for (const char* name :
        { "pvc", "couplet", "triplet", "svpb", "fusion", "pause", "button", "vt", "svt", "afib",
            "brady", "tachy", "bigeminy", "trigeminy", "avblock", "st-elevation", "st-depression",
            "muscle", "motion", "electrode-off", "low-battery", "sd-error" }) {
        const SimKindInfo* info = simKindByName(name);
        ASSERT_NE(info, nullptr) << name;
        bool found = false;
        for (const ScriptItem& item : s.items)
            found = found || item.kind == info->kind;
        EXPECT_TRUE(found) << name;
    }
}

TEST(SimulatorScript, ShorterRunsKeepTheRates)
{
    SimulatorScript s = parseSimulatorScript("hours 24\npvc count 480\n"
                                             "afib at 2:00:00 for 30m\nvt at 0:30:00\n",
        "x");
    setSimulationHours(s, 1.0);
    EXPECT_DOUBLE_EQ(s.hours, 1.0);
    ASSERT_EQ(s.items.size(), 2); // the AF at 2 h lies past the end
    EXPECT_EQ(s.items[0].count, 20);
    EXPECT_EQ(s.items[1].kind, SimKind::Vt);
}

} // namespace
