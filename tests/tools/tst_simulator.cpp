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

// The three leads of a card, read back through the card reader.
std::vector<std::vector<int>> readCard(const QString& folder, qint64* offset = nullptr)
{
    const qint64 dataOffset = CardSignalFile::findDataOffset(folder);
    if (offset)
        *offset = dataOffset;
    CardSignalFile card(CardSignalFile::dataFilePath(folder), dataOffset);
    std::vector<std::vector<int>> leads(3);
    for (int c = 0; c < 3; ++c) {
        leads[c].resize(std::size_t(card.sampleCount()));
        for (qint64 i = 0; i < card.sampleCount(); ++i)
            leads[c][std::size_t(i)] = card.sampleAt(c, i);
    }
    return leads;
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
    const auto leads = readCard(root.path());
    const QVector<WfdbAnnotation> truth = readWfdbAnnotations(root.file("truth.atr"));
    const qint64 n = qint64(leads[0].size());
    ASSERT_EQ(n, 150 * 2000); // 10 minutes in whole blocks

    int beats = 0, v = 0, s = 0, fibrillation = 0;
    for (const WfdbAnnotation& a : truth) {
        if (a.code == 28) {
            fibrillation += a.aux == "(AFIB";
            continue;
        }
        if (a.sample < 60 || a.sample + 60 >= n)
            continue;
        ++beats;
        v += a.code == 5;
        s += a.code == 8;
        // Band-limit by removing the local mean over +-100 ms, then take the largest excursion
        // within +-60 ms on any lead: the dominant wave of the QRS.
        int bestAt = -1;
        double best = -1.0;
        for (int c = 0; c < 3; ++c) {
            const auto& x = leads[std::size_t(c)];
            for (qint64 i = a.sample - 30; i <= a.sample + 30; ++i) {
                double mean = 0.0;
                for (qint64 k = std::max<qint64>(0, i - 50); k <= std::min(n - 1, i + 50); ++k)
                    mean += x[std::size_t(k)];
                mean /= double(std::min(n - 1, i + 50) - std::max<qint64>(0, i - 50) + 1);
                const double dev = std::abs(x[std::size_t(i)] - mean);
                if (dev > best) {
                    best = dev;
                    bestAt = int(i);
                }
            }
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

TEST(Simulator, CardReadsBackAsRendered)
{
    testsupport::TempRoot root;
    const QString text = "hours 0.05\npvc count 5\nbutton at 0:00:30\nsd-error at 0:01:00\n";
    simulate(text, root.path(), 9, 1000);
    qint64 offset = 0;
    const auto leads = readCard(root.path(), &offset);
    EXPECT_EQ(offset, 1000);

    // A second simulator with the same seed renders the same blocks in memory.
    Simulator again(parseSimulatorScript(text, "t"), 9);
    CardSignalFile card(CardSignalFile::dataFilePath(root.path()), offset);
    ASSERT_EQ(card.blockCount(), again.blockCount());
    std::array<qint16, 3 * Simulator::kFrames> samples;
    quint16 status = 0;
    for (int b = 0; again.nextBlock(samples, status); ++b) {
        EXPECT_EQ(card.statusWord(b), int(status)) << "block " << b;
        for (int c = 0; c < 3; ++c)
            for (int f = 0; f < Simulator::kFrames; f += 7)
                ASSERT_EQ(leads[std::size_t(c)][std::size_t(b * 2000 + f)],
                    samples[std::size_t(c * 2000 + f)])
                    << "block " << b << " channel " << c << " frame " << f;
    }
}

TEST(Simulator, CardBytesFollowTheRecorderLayout)
{
    // Decoded here by hand, independently of the card reader: block b, channel c, frame f at
    // preamble + 12002 b + 6 f + 2 (2 - c), big-endian; the status word closes the block.
    testsupport::TempRoot root;
    simulate("hours 0.01\nbutton at 0:00:05\n", root.path(), 4, 512);
    const QByteArray bytes = testsupport::readAll(root.file("HECG.VTF"));
    ASSERT_EQ(bytes.size(), 512 + 9 * 12002); // 36 s in 4-second blocks
    Simulator again(parseSimulatorScript("hours 0.01\nbutton at 0:00:05\n", "t"), 4);
    std::array<qint16, 3 * Simulator::kFrames> samples;
    quint16 status = 0;
    ASSERT_TRUE(again.nextBlock(samples, status));
    ASSERT_TRUE(again.nextBlock(samples, status)); // block 1 holds the button press
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.constData()) + 512 + 12002;
    for (int f = 0; f < 2000; ++f)
        for (int c = 0; c < 3; ++c) {
            const int at = 6 * f + 2 * (2 - c);
            const qint16 v = qint16((p[at] << 8) | p[at + 1]);
            ASSERT_EQ(v, samples[std::size_t(c * 2000 + f)]) << f << " " << c;
        }
    EXPECT_EQ((p[12000] << 8) | p[12001], 0xC001);
    const auto* first = reinterpret_cast<const unsigned char*>(bytes.constData()) + 512;
    EXPECT_EQ((first[12000] << 8) | first[12001], 0xC000);
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

} // namespace
