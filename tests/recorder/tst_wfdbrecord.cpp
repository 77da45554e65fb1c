#include "recorder/wfdbrecord.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <utility>

using namespace rectest;

TEST(WfdbHeader, ParsesFieldsAndDefaults)
{
    // Field values worked out by hand from the header format's documentation.
    const QByteArray text = "# leading comment\r\n"
                            "rec1 3 250/360(0) 225000 10:30:15 22/11/2025\r\n"
                            "rec1.dat 212 200(0) 11 1024 945 -13873 0 MLII\r\n"
                            "rec1.dat 212 0 11 1024\n"
                            "\n"
                            "rec1.dat 212 500/uV 12 7 3 12 0 chest lead, left\n"
                            "#69 M 1085 1629 x1\n";
    const WfdbHeader h = WfdbHeader::parse(text, "/data/rec1.hea");
    EXPECT_DOUBLE_EQ(h.samplingRate, 250.0); // the counter frequency after it is not used
    EXPECT_EQ(h.sampleCount, 225000);
    EXPECT_EQ(h.baseDateTime(), QDateTime(QDate(2025, 11, 22), QTime(10, 30, 15)));
    ASSERT_EQ(h.channels.size(), 3);

    const WfdbSignalSpec& a = h.channels[0];
    EXPECT_EQ(a.baseline, 0); // given, so adczero does not apply
    EXPECT_EQ(a.checksum, -13873);

    const WfdbSignalSpec& b = h.channels[1];
    EXPECT_DOUBLE_EQ(b.gain, 200.0); // 0 means the default
    EXPECT_EQ(b.baseline, 1024); // defaults to adczero

    const WfdbSignalSpec& c = h.channels[2];
    EXPECT_DOUBLE_EQ(c.gainPerMillivolt(), 500000.0);
    EXPECT_EQ(c.description, QByteArray("chest lead, left")); // spaces kept

    // A time without a date gives no start.
    EXPECT_FALSE(
        WfdbHeader::parse("r 1 360 10 08:00:00\nr.dat 16\n", "r.hea").baseDateTime().isValid());
}

TEST(WfdbHeader, BadHeadersNameFileAndLine)
{
    const std::pair<const char*, const char*> cases[] = {
        { "", "no record line" },
        { "r 0 360\n", "0 signals" },
        { "r 1 -360 100\nr.dat 212\n", "not positive" },
        { "r 1 360 10 10:00:00 31/02/2024\nr.dat 212\n", "base date" },
        { "r/3 2 360 10\n", "multi-segment" },
        { "r 2 360 10\nr.dat 212 200\n", "gives 2 signals but 1" },
        { "r 1 360 10\n\n# c\nr.dat 212 abc 12\n", "line 4: gain 'abc'" },
        { "r 1 360 10\nr.dat 212 -200\n", "negative gain" },
        { "r 1 360 10\nr.dat 212x0\n", "format field" },
    };
    for (const auto& [text, expected] : cases) {
        const std::string msg = errorOf([&] { WfdbHeader::parse(text, "/x/r.hea"); });
        EXPECT_TRUE(contains(msg, expected) && contains(msg, "r.hea")) << text << " -> " << msg;
    }
}

// Both formats, three channels, an odd number of samples across several blocks: every sample
// comes back as the encoded value minus the signal's baseline. Also behind a prolog that the
// byte offset skips, with no length in the header: as many whole frames as the file holds.
TEST(WfdbSource, EverySampleComesBack)
{
    const qint64 frames = 9001;
    for (const auto& [format, prolog] : { std::pair { 212, 0 }, { 16, 0 }, { 212, 7 } }) {
        testsupport::TempRoot root;
        const std::vector<int> values = interleaved(frames, 3);
        const QByteArray data
            = QByteArray(prolog, '\x55') + (format == 212 ? encode212(values) : encode16(values));
        QByteArray header = headerText("rt", 3, 360, frames, format, 30);
        if (prolog > 0)
            header.replace("360 9001", "360").replace(".dat 212 ", ".dat 212+7 ");
        WfdbSource src(writeRecord(root.path(), "rt", header, &data));
        ASSERT_EQ(src.sampleCount(), frames);
        std::vector<double> buf(static_cast<size_t>(frames));
        // Channels visited backwards so that the decoded-block reuse is crossed in both orders.
        for (int c = 2; c >= 0; --c) {
            src.readSamples(c, 0, frames, buf.data());
            std::vector<double> expected;
            for (qint64 f = 0; f < frames; ++f)
                expected.push_back(sampleValue(f, c) - (30 + c));
            EXPECT_TRUE(buf == expected) << format << "+" << prolog << " channel " << c;
            EXPECT_EQ(src.sampleAt(c, frames), 0); // past the end
        }
    }
}

TEST(WfdbSource, SizesAndFilesChecked)
{
    testsupport::TempRoot root;
    const std::vector<int> values = interleaved(1000, 2);
    const QByteArray data = encode212(values); // 3000 bytes
    const std::pair<QByteArray, const char*> cases[] = {
        { headerText("r", 2, 360, 1001, 212), "1001" }, // more than the file holds
        { headerText("r", 1, 360, 10, 311), "format 311" },
        { "r 2 360 10\nr.dat 212\nr.dat 16\n", "different files or formats" },
        { "r 1 360 10\nr.dat 212x2\n", "samples per frame" },
        { "r 1 360 10\nmissing.dat 212\n", "missing.dat" },
    };
    for (const auto& [header, expected] : cases) {
        const QString r = writeRecord(root.path(), "r", header, &data);
        const std::string msg = errorOf([&] { WfdbSource s(r); });
        EXPECT_TRUE(contains(msg, expected)) << header.constData() << " -> " << msg;
    }
    EXPECT_TRUE(contains(errorOf([&] { WfdbSource s(root.file("nothing")); }), "nothing.hea"));
}

// Each reference header's checksum (16-bit sum of a signal's samples) and initval (its first
// sample) check every decoded sample against numbers the header's author computed.
TEST(WfdbSource, ReferenceRecordsMatchTheirHeaders)
{
    HOLTER_REQUIRE_SHARED_DATA(dataDir);
    int records = 0;
    for (const char* db : { "mitdb", "qtdb" }) {
        const QDir dir(QDir(dataDir).filePath(db));
        const QList<QByteArray> names = testsupport::readAll(dir.filePath("RECORDS")).split('\n');
        for (const QByteArray& raw : names) {
            const QString name = QString::fromUtf8(raw.trimmed());
            if (name.isEmpty() || !QFileInfo::exists(dir.filePath(name + ".hea")))
                continue;
            WfdbSource src(dir.filePath(name));
            const WfdbHeader& h = src.header();
            ++records;
            SCOPED_TRACE((QString(db) + "/" + name).toStdString());
            ASSERT_EQ(src.sampleCount(), h.sampleCount);
            const qint64 n = src.sampleCount();
            std::vector<double> buf(static_cast<size_t>(n));
            for (int c = 0; c < src.channelCount(); ++c) {
                const WfdbSignalSpec& s = h.channels[c];
                src.readSamples(c, 0, n, buf.data());
                quint16 sum = 0;
                for (double v : buf)
                    sum = quint16(sum + quint16(int(v) + s.baseline));
                EXPECT_EQ(int(buf[0]) + s.baseline, s.initialValue) << "signal " << c;
                if (s.hasChecksum) {
                    EXPECT_EQ(qint16(sum), qint16(s.checksum)) << "signal " << c;
                }
            }
        }
    }
    EXPECT_GT(records, 20);
}
