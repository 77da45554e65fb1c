#include "analysis/averagebeatdelineator.h"
#include "analysis/recentbeatwindow.h"
#include "fakebeats.h"
#include "results/beatcountanalyzer.h"
#include "results/heartrateanalyzer.h"
#include "results/resultsdriver.h"
#include "store/resultkeys.h"
#include "store/resultset.h"
#include "store/study.h"
#include "store/studyevent.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using fakebeats::Beats;

namespace {

// Writes every call into a shared log, so the order across analyzers shows.
class Probe : public ResultAnalyzer
{
public:
    Probe(std::string name, std::vector<std::string>& log)
        : m_name(std::move(name))
        , m_log(log)
    {
    }
    void beginRecording(BeatList&) override
    {
        m_log.push_back(m_name + ":begin");
        makeResult<ValueResult>("calls");
    }
    void addBeat(const Beat& b) override
    {
        m_log.push_back(m_name + ":" + std::to_string(b.index));
        result<ValueResult>("calls")->value += 1.0;
    }
    void addAverageBeat(double time, RecentBeatWindow&,
        const std::vector<AverageBeatDelineator*>& delineators) override
    {
        averageTimes.push_back(time);
        delineatorCount = int(delineators.size());
    }
    void finishRecording() override { m_log.push_back(m_name + ":finish"); }

    std::vector<double> averageTimes;
    int delineatorCount = -1;

private:
    std::string m_name;
    std::vector<std::string>& m_log;
};

ResultsDriver::AnalyzerMap counters()
{
    ResultsDriver::AnalyzerMap map;
    map[ResultKeys::HeartRate::kAnalyzer] = std::make_unique<HeartRateAnalyzer>();
    map[ResultKeys::BeatCount::kAnalyzer] = std::make_unique<BeatCountAnalyzer>();
    return map;
}

TEST(ResultsDriver, CallsAnalyzersInByteOrderOfNames)
{
    std::vector<std::string> log;
    ResultsDriver::AnalyzerMap map;
    for (const char* name : { "b", "A", "a", "B" })
        map[name] = std::make_unique<Probe>(name, log);
    ResultsDriver driver(std::move(map));
    Beats beats(60.0);
    beats.add(1.0, 1.0, BeatN);
    beats.add(2.0, 1.0, BeatN, -1.0, false); // noise: nobody sees it
    beats.add(3.0, 1.0, BeatV);
    driver.run(beats, false);
    // Upper case sorts before lower case.
    const std::vector<std::string> expected
        = { "A:begin", "B:begin", "a:begin", "b:begin", "A:0", "B:0", "a:0", "b:0", "A:2", "B:2",
              "a:2", "b:2", "A:finish", "B:finish", "a:finish", "b:finish" };
    EXPECT_EQ(log, expected);
}

TEST(ResultsDriver, AverageBeatWhenMoreThanTwentySecondsPassed)
{
    std::vector<std::string> log;
    ResultsDriver::AnalyzerMap map;
    map["p"] = std::make_unique<Probe>("p", log);
    auto* probe = static_cast<Probe*>(map["p"].get());
    ResultsDriver driver(std::move(map));
    Beats beats(80.0, 3);
    // Beats every 0.5 s from 0 to 70 s; the one at 20.5 s is noise. The first average comes
    // with the first valid beat after 20.0 s (20.0 itself is not more): 21.0. The next after
    // 21.0 + 20 = 41.0, so 41.5; then after 61.5, so 62.0.
    for (int k = 0; k <= 140; ++k)
        beats.add(k * 0.5, 0.5, BeatN, -1.0, k != 41);
    driver.run(beats, false);
    const std::vector<double> expected = { 21.0, 41.5, 62.0 };
    EXPECT_EQ(probe->averageTimes, expected);
    EXPECT_EQ(probe->delineatorCount, 3); // one per channel of the signal
}

TEST(ResultsDriver, FillsOnlyMissingKeysUnlessOverwriting)
{
    Beats beats(600.0);
    for (int i = 0; i < 30; ++i)
        beats.add(i, 1.0, BeatN);
    beats.add(40.0, 1.0, BeatV);

    for (bool overwrite : { false, true }) {
        ResultSet set;
        set.insert(ResultKeys::HeartRate::kAvgBpm, std::make_unique<ValueResult>(123.0));
        set.insert(ResultKeys::BeatCount::kTotalCountN, std::make_unique<ValueResult>(7.0));
        set.insert("other/kept", std::make_unique<ValueResult>(1.0));
        ResultsDriver driver(counters());
        driver.run(beats, false);
        const int stored = driver.moveResults(set, overwrite);
        // HR has 9 results, count 5.
        EXPECT_EQ(stored, overwrite ? 14 : 12);
        EXPECT_EQ(set.size(), 15);
        EXPECT_EQ(set.findAs<ValueResult>(ResultKeys::HeartRate::kAvgBpm)->value,
            overwrite ? 60.0 : 123.0);
        EXPECT_EQ(set.findAs<ValueResult>(ResultKeys::BeatCount::kTotalCountN)->value,
            overwrite ? 30.0 : 7.0);
        EXPECT_EQ(set.findAs<ValueResult>(ResultKeys::BeatCount::kTotalCountV)->value, 1.0);
        EXPECT_TRUE(set.find("other/kept"));
    }
}

// The named keys are exactly what the analyzers store: a result renamed on one side only, or
// one added without a name, shows here.
TEST(ResultsDriver, StoresExactlyTheNamedKeys)
{
    for (int channels : { 1, 3 }) {
        Beats beats(600.0, channels);
        for (int i = 0; i < 300; ++i)
            beats.add(1.0 + i, 1.0, i % 10 == 5 ? BeatV : BeatN);
        ResultsDriver driver;
        driver.run(beats, true);
        ResultSet set;
        driver.moveResults(set, true);
        EXPECT_EQ(set.keys(), ResultKeys::allKeys(channels)) << channels << " channels";
    }
    // The stored spelling of each shape of key.
    EXPECT_EQ(QByteArray(ResultKeys::HeartRate::kMinBpm), QByteArray("HR/minBPM"));
    EXPECT_EQ(
        QByteArray(ResultKeys::kSvpb.totalCountPerMinute), QByteArray("SVPB/totalCountPerMinute"));
    EXPECT_EQ(
        ResultKeys::channelKey(ResultKeys::ST::kLevelTrend, 0), QByteArray("ST/STLevelTrend(0)"));
    EXPECT_EQ(ResultKeys::channelKey(ResultKeys::QT::kQTcIntervalAvg, 12),
        QByteArray("QT/QTcIntervalAvg(12)"));
}

// Marks are added once, with the rate truncated; a study without a rate gets none.
TEST(ResultsDriver, StudyMarksComeOnlyTheFirstTime)
{
    Study study(1);
    auto beats = std::make_unique<Beats>(600.0);
    for (int i = 0; i < 60; ++i)
        beats->add(i, i < 30 ? 1.0 : 0.7, BeatN); // 60 bpm, then 85.7 bpm
    study.setBeats(std::move(beats));
    EXPECT_TRUE(computeStudyResults(study, AnalysisParams(), false));
    EXPECT_TRUE(computeStudyResults(study, AnalysisParams(), true));
    ASSERT_EQ(study.events().count(), 2);
    EXPECT_EQ(study.events().at(0).description, QByteArray("Minimum HR (60 bpm)"));
    EXPECT_EQ(study.events().at(0).duration, 5.0);
    EXPECT_EQ(study.events().at(1).description, QByteArray("Maximum HR (85 bpm)"));
    EXPECT_EQ(study.events().at(1).position, 30.0);
}

} // namespace
