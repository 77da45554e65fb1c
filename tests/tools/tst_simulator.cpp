#include "tools/simulator.h"

#include "recorder/cardsignalfile.h"
#include "recorder/wfdbannotation.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kRate = 500;
constexpr double kStepsPerMv = 65536.0 / 900.0;

void simulate(
    const QString& text, const QString& folder, std::uint64_t seed = 5, int preamble = 512)
{
    Simulator sim(parseSimulatorScript(text, "t"), seed);
    sim.writeAll(folder, preamble);
}

const char* kMixedScript = "hours 0.16666\n"
                           "pvc count 25\n"
                           "svpb count 25\n"
                           "couplet count 3\n"
                           "fusion count 3\n"
                           "vt at 0:03:00 for 8s rate=170\n"
                           "afib at 0:05:00 for 3m rate=110\n"
                           "st-elevation at 0:01:00 for 2m level=0.2\n";

TEST(Simulator, EveryTruthBeatSitsOnItsPeak)
{
    testsupport::TempRoot root;
    simulate(kMixedScript, root.path());
    CardSignalFile card(
        CardSignalFile::dataFilePath(root.path()), CardSignalFile::findDataOffset(root.path()));
    const qint64 n = card.sampleCount();
    ASSERT_EQ(n, 150 * 2000); // 10 minutes in whole blocks
    // Band-limit each lead by taking away the local mean over +-100 ms (from prefix sums).
    std::vector<std::vector<double>> dev(3, std::vector<double>(std::size_t(n)));
    for (int c = 0; c < 3; ++c) {
        std::vector<double> sum(std::size_t(n) + 1, 0.0);
        for (qint64 i = 0; i < n; ++i)
            sum[std::size_t(i) + 1] = sum[std::size_t(i)] + card.sampleAt(c, i);
        for (qint64 i = 0; i < n; ++i) {
            const qint64 lo = std::max<qint64>(0, i - 50), hi = std::min(n - 1, i + 50);
            const double mean
                = (sum[std::size_t(hi) + 1] - sum[std::size_t(lo)]) / double(hi - lo + 1);
            dev[std::size_t(c)][std::size_t(i)] = std::abs(card.sampleAt(c, i) - mean);
        }
    }
    int beats = 0, v = 0, s = 0, fibrillation = 0;
    for (const WfdbAnnotation& a : readWfdbAnnotations(root.file("truth.atr"))) {
        if (a.code == 28) {
            fibrillation += a.aux == "(AFIB";
            continue;
        }
        if (a.sample < 60 || a.sample + 60 >= n)
            continue;
        ++beats;
        v += a.code == 5;
        s += a.code == 8;
        // The largest excursion within +-60 ms on any lead: the dominant wave of the QRS.
        qint64 bestAt = -1;
        double best = -1.0;
        for (const auto& x : dev)
            for (qint64 i = a.sample - 30; i <= a.sample + 30; ++i)
                if (x[std::size_t(i)] > best) {
                    best = x[std::size_t(i)];
                    bestAt = i;
                }
        EXPECT_LE(std::abs(bestAt - a.sample), 5)
            << "beat code " << a.code << " at sample " << a.sample;
        // QRS of physiological size: 0.5 to 2.5 mV above its surroundings.
        EXPECT_GT(best / kStepsPerMv, 0.5) << "at sample " << a.sample;
        EXPECT_LT(best / kStepsPerMv, 2.5) << "at sample " << a.sample;
    }
    EXPECT_GT(beats, 600);
    EXPECT_GE(v, 25 + 6 + 8);
    EXPECT_GE(s, 20);
    EXPECT_EQ(fibrillation, 1);
}

TEST(Simulator, CardBytesFollowTheRecorderLayout)
{
    // Decoded here by hand, independently of the card reader: block b, channel c, frame f at
    // preamble + 12002 b + 6 f + 2 (2 - c), big-endian; the status word closes the block.
    testsupport::TempRoot root;
    const QString text = "hours 0.05\nbutton at 0:00:05\n";
    simulate(text, root.path(), 4, 1000);
    EXPECT_EQ(CardSignalFile::findDataOffset(root.path()), 1000);
    const QByteArray bytes = testsupport::readAll(root.file("HECG.VTF"));
    ASSERT_EQ(bytes.size(), 1000 + 45 * 12002); // 180 s in 4-second blocks
    // A second simulator with the same seed renders the same blocks in memory.
    Simulator again(parseSimulatorScript(text, "t"), 4);
    std::array<qint16, 3 * Simulator::kFrames> samples;
    quint16 status = 0;
    int b = 0;
    for (; again.nextBlock(samples, status); ++b) {
        const auto* p
            = reinterpret_cast<const unsigned char*>(bytes.constData()) + 1000 + 12002 * b;
        for (int f = 0; f < 2000; ++f)
            for (int c = 0; c < 3; ++c) {
                const int at = 6 * f + 2 * (2 - c);
                ASSERT_EQ(qint16((p[at] << 8) | p[at + 1]), samples[std::size_t(c * 2000 + f)])
                    << b << " " << f << " " << c;
            }
        EXPECT_EQ(int(status), (p[12000] << 8) | p[12001]);
        EXPECT_EQ((p[12000] << 8) | p[12001], b == 1 ? 0xC001 : 0xC000) << b; // the button
    }
    EXPECT_EQ(b, 45);
}

TEST(Simulator, SameSeedSameBytesOtherSeedOtherBytes)
{
    testsupport::TempRoot root;
    const QString text = "hours 0.03\npvc count 4\nafib at 0:01:00 for 30s\nmotion count 1\n";
    simulate(text, root.file("a"), 21);
    simulate(text, root.file("b"), 21);
    simulate(text, root.file("c"), 22);
    const QByteArray a = testsupport::readAll(root.file("a/HECG.VTF"));
    ASSERT_GT(a.size(), 512);
    EXPECT_EQ(a, testsupport::readAll(root.file("b/HECG.VTF")));
    EXPECT_EQ(testsupport::readAll(root.file("a/truth.atr")),
        testsupport::readAll(root.file("b/truth.atr")));
    EXPECT_EQ(testsupport::readAll(root.file("a/truth.json")),
        testsupport::readAll(root.file("b/truth.json")));
    EXPECT_NE(a, testsupport::readAll(root.file("c/HECG.VTF")));
}

TEST(Simulator, StatusWordsAndElectrodeOff)
{
    testsupport::TempRoot root;
    simulate("hours 0.02\n"
             "button at 0:00:09\n"
             "electrode-off at 0:00:20 for 12s lead=2\n"
             "low-battery at 0:00:30 for 10s\n"
             "sd-error at 0:00:50 for 1s\n",
        root.path());
    const qint64 offset = CardSignalFile::findDataOffset(root.path());
    CardSignalFile card(CardSignalFile::dataFilePath(root.path()), offset);
    ASSERT_EQ(card.blockCount(), 18); // 72 s
    for (int b = 0; b < card.blockCount(); ++b) {
        const int word = card.statusWord(b);
        const double t0 = b * 4.0, t1 = t0 + 4.0;
        EXPECT_EQ(word & 0xF000, 0xC000);
        EXPECT_EQ((word & 0x0001) != 0, t0 <= 9.0 && 9.0 < t1) << b;
        EXPECT_EQ((word & 0x0FF0) != 0, t0 < 32.0 && 20.0 < t1) << b;
        EXPECT_EQ((word & 0x0002) != 0, t0 < 40.0 && 30.0 < t1) << b;
        EXPECT_EQ((word & 0x0004) != 0, t0 < 51.0 && 50.0 < t1) << b;
    }
    // Lead 2 is flat while off, the others keep beating; lead 2 beats again afterwards.
    auto range = [&](int c, double from, double to) {
        int lo = 32767, hi = -32768;
        for (qint64 i = qint64(from * kRate); i < qint64(to * kRate); ++i) {
            lo = std::min<int>(lo, card.sampleAt(c, i));
            hi = std::max<int>(hi, card.sampleAt(c, i));
        }
        return hi - lo;
    };
    EXPECT_EQ(range(1, 20.0, 32.0), 0);
    EXPECT_GT(range(0, 20.0, 32.0), 0.5 * kStepsPerMv);
    EXPECT_GT(range(1, 33.0, 45.0), 0.5 * kStepsPerMv);
}

TEST(Simulator, TruthJsonListsEpisodesAndStatusEvents)
{
    testsupport::TempRoot root;
    simulate("hours 0.1\nvt at 0:01:00 for 6s\ncouplet at 0:02:00\npause at 0:03:00 for 3s\n"
             "button at 0:04:00\nelectrode-off at 0:04:10 for 20s lead=3\n",
        root.path());
    const QJsonObject json
        = QJsonDocument::fromJson(testsupport::readAll(root.file("truth.json"))).object();
    QStringList kinds;
    for (const QJsonValue& v : json["episodes"].toArray())
        kinds << v.toObject()["kind"].toString();
    EXPECT_TRUE(kinds.contains("vt"));
    EXPECT_TRUE(kinds.contains("couplet"));
    EXPECT_TRUE(kinds.contains("pause"));
    const QJsonArray status = json["statusEvents"].toArray();
    ASSERT_EQ(status.size(), 2);
    EXPECT_EQ(status[0].toObject()["kind"].toString(), "button");
    EXPECT_DOUBLE_EQ(status[0].toObject()["start"].toDouble(), 240.0);
    EXPECT_EQ(status[1].toObject()["kind"].toString(), "electrodes-off");
    EXPECT_EQ(status[1].toObject()["lead"].toInt(), 3);
    // The pause shows in the truth as an RR gap of its length.
    const QVector<WfdbAnnotation> truth = readWfdbAnnotations(root.file("truth.atr"));
    double longest = 0.0;
    qint64 last = -1;
    for (const WfdbAnnotation& a : truth) {
        if (a.code == 28)
            continue;
        if (last >= 0)
            longest = std::max(longest, double(a.sample - last) / kRate);
        last = a.sample;
    }
    EXPECT_NEAR(longest, 3.0, 0.05);
    EXPECT_TRUE(QFile::exists(root.file("HECG.INF")));
}

TEST(Simulator, UnwritableFolderGivesAClearError)
{
    testsupport::TempRoot root;
    testsupport::writeAll(root.file("plain"), "not a folder");
    Simulator sim(parseSimulatorScript("hours 0.01\n", "t"), 1);
    try {
        sim.writeAll(root.file("plain"), 512);
        FAIL() << "wrote into a file";
    } catch (const SimulatorError& e) {
        EXPECT_TRUE(QString(e.what()).contains("plain")) << e.what();
    }
}

// Progress counts the card's blocks up to all of them; a cancel between blocks leaves an older
// card as it was and writes no truth.
TEST(Simulator, ProgressCountsBlocksAndCancelKeepsTheOldCard)
{
    class Sink : public ProgressSink
    {
    public:
        void progress(qint64 position, qint64 total) override
        {
            last = position;
            lastTotal = total;
            if (cancel)
                cancel->store(true);
        }
        qint64 last = -1;
        qint64 lastTotal = -1;
        CancelFlag* cancel = nullptr;
    };
    testsupport::TempRoot root;
    Simulator sim(parseSimulatorScript("hours 0.05\n", "t"), 1);
    Sink complete;
    sim.writeAll(root.file("done"), 512, &complete);
    EXPECT_EQ(complete.last, sim.blockCount());
    EXPECT_EQ(complete.lastTotal, sim.blockCount());

    ASSERT_TRUE(QDir().mkpath(root.file("old")));
    testsupport::writeAll(root.file("old/HECG.VTF"), "older card");
    CancelFlag cancel { false };
    Sink stopping;
    stopping.cancel = &cancel;
    Simulator again(parseSimulatorScript("hours 0.05\n", "t"), 1);
    const std::string error
        = testsupport::errorOf([&] { again.writeAll(root.file("old"), 512, &stopping, &cancel); });
    EXPECT_NE(error.find("cancelled"), std::string::npos) << error;
    EXPECT_LT(stopping.last, again.blockCount());
    EXPECT_EQ(testsupport::readAll(root.file("old/HECG.VTF")), QByteArray("older card"));
    EXPECT_FALSE(QFile::exists(root.file("old/truth.json")));
}

} // namespace
