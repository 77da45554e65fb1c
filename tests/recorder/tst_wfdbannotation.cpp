#include "recorder/wfdbannotation.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

WfdbAnnotation ann(
    qint64 sample, int code, QByteArray aux = {}, int sub = 0, int chan = 0, int num = 0)
{
    WfdbAnnotation a;
    a.sample = sample;
    a.code = code;
    a.aux = aux;
    a.subtype = sub;
    a.channel = chan;
    a.num = num;
    return a;
}

QByteArray bytes(std::initializer_list<int> list)
{
    QByteArray out;
    for (int b : list)
        out.append(char(b));
    return out;
}

std::string decodeError(const QByteArray& data, const QString& name = "sample.atr")
{
    try {
        decodeWfdbAnnotations(data, name);
    } catch (const WfdbError& e) {
        return e.what();
    }
    return "no error";
}

// A deliberately plain walk over the words, kept apart from the reader: counts the beat
// annotations and sums the time steps.
struct NaiveWalk
{
    int beats = 0;
    int annotations = 0;
    long long lastSample = 0;
    bool sawEnd = false;
};

NaiveWalk naiveWalk(const QByteArray& data)
{
    static const std::set<int> beatCodes
        = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 34, 35, 38, 41 };
    NaiveWalk w;
    long long t = 0;
    int i = 0;
    while (i + 1 < data.size()) {
        const unsigned word = unsigned(quint8(data[i])) + 256u * quint8(data[i + 1]);
        i += 2;
        if (word == 0) {
            w.sawEnd = true;
            break;
        }
        const unsigned code = word / 1024, low = word % 1024;
        if (code == 59) {
            const unsigned hi = unsigned(quint8(data[i])) + 256u * quint8(data[i + 1]);
            const unsigned lo = unsigned(quint8(data[i + 2])) + 256u * quint8(data[i + 3]);
            t += (long long)(int)(hi * 65536u + lo);
            i += 4;
        } else if (code == 63) {
            i += int(low + low % 2);
        } else if (code < 59) {
            t += low;
            w.lastSample = t;
            ++w.annotations;
            if (beatCodes.count(int(code)))
                ++w.beats;
        }
    }
    return w;
}

// Samples in the record, the fourth field of the header's first line.
long long recordLength(const QString& headerPath)
{
    QFile f(headerPath);
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> fields = f.readLine().simplified().split(' ');
    return fields.size() >= 4 ? fields[3].toLongLong() : -1;
}

} // namespace

TEST(WfdbAnnotation, ReferenceFilesMatchAPlainWalk)
{
    HOLTER_REQUIRE_SHARED_DATA(dataDir);
    int files = 0;
    for (const QString sub : { "mitdb", "qtdb" }) {
        const QDir dir(dataDir + "/" + sub);
        const QStringList names
            = dir.entryList({ "*.atr", "*.q1c", "*.q2c", "*.man" }, QDir::Files, QDir::Name);
        for (const QString& name : names) {
            const QString path = dir.filePath(name);
            SCOPED_TRACE(path.toStdString());
            const QVector<WfdbAnnotation> list = readWfdbAnnotations(path);
            const NaiveWalk walk = naiveWalk(testsupport::readAll(path));
            ASSERT_TRUE(walk.sawEnd);
            int beats = 0;
            for (const WfdbAnnotation& a : list)
                beats += (a.code >= 1 && a.code <= 13) || a.code == 34 || a.code == 35
                    || a.code == 38 || a.code == 41;
            EXPECT_EQ(list.size(), walk.annotations);
            EXPECT_EQ(beats, walk.beats);
            ASSERT_FALSE(list.isEmpty());
            EXPECT_EQ(list.last().sample, walk.lastSample);
            const long long length
                = recordLength(dir.filePath(QFileInfo(name).baseName() + ".hea"));
            EXPECT_GE(list.first().sample, 0);
            EXPECT_LT(list.last().sample, length);
            if (sub == "mitdb" && name.endsWith(".atr")) {
                EXPECT_GT(beats, 1000); // half an hour of heartbeats
                // Rhythm changes carry their rhythm as text, e.g. "(N", and one comes early.
                int rhythms = 0;
                for (const WfdbAnnotation& a : list) {
                    if (a.code == 28 && a.aux.startsWith('(') && !a.aux.endsWith('\0'))
                        ++rhythms;
                    else if (a.code == 28)
                        ADD_FAILURE() << "rhythm at " << a.sample << " has aux "
                                      << a.aux.toHex().toStdString();
                }
                EXPECT_GE(rhythms, 1);
                EXPECT_LT(list.first().sample, 360 * 2);
            }
            ++files;
        }
    }
    EXPECT_GT(files, 60);
}

TEST(WfdbAnnotation, FirstWordsOfRecord101)
{
    // The opening bytes of mitdb 101.atr: rhythm change at sample 7, AUX "(N" with its NUL.
    const QByteArray data
        = bytes({ 0x07, 0x70, 0x03, 0xFC, 0x28, 0x4E, 0x00, 0x00, 0x4C, 0x04, 0x00, 0x00 });
    const QVector<WfdbAnnotation> list = decodeWfdbAnnotations(data, "101.atr");
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0], ann(7, 28, "(N"));
    EXPECT_EQ(list[1], ann(7 + 76, 1));
}

TEST(WfdbAnnotation, EncodesHandComputedBytes)
{
    struct Row
    {
        const char* what;
        QVector<WfdbAnnotation> list;
        QByteArray expected;
    };
    const Row rows[] = {
        { "empty", {}, bytes({ 0, 0 }) },
        { "rhythm with even aux", { ann(7, 28, "(N") },
            bytes({ 0x07, 0x70, 0x02, 0xFC, '(', 'N', 0, 0 }) },
        { "odd aux padded", { ann(0, 28, "(VT") },
            bytes({ 0x00, 0x70, 0x03, 0xFC, '(', 'V', 'T', 0, 0, 0 }) },
        { "largest plain step", { ann(1023, 1) }, bytes({ 0xFF, 0x07, 0, 0 }) },
        { "first step that needs SKIP", { ann(1024, 1) },
            bytes({ 0x00, 0xEC, 0x00, 0x00, 0x00, 0x04, 0x00, 0x04, 0, 0 }) },
        { "SKIP high half first", { ann(0x12345, 5) },
            bytes({ 0x00, 0xEC, 0x01, 0x00, 0x45, 0x23, 0x00, 0x14, 0, 0 }) },
        { "SUB CHN NUM", { ann(2, 1, {}, 3, 1, 9) },
            bytes({ 0x02, 0x04, 0x03, 0xF4, 0x01, 0xF8, 0x09, 0xF0, 0, 0 }) },
        { "NUM carries over", { ann(1, 1, {}, 0, 0, 4), ann(3, 1, {}, 0, 0, 4) },
            bytes({ 0x01, 0x04, 0x04, 0xF0, 0x02, 0x04, 0, 0 }) },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(encodeWfdbAnnotations(row.list).toHex().toStdString(),
            row.expected.toHex().toStdString())
            << row.what;
        EXPECT_EQ(decodeWfdbAnnotations(row.expected, "x"), row.list) << row.what;
    }
}

TEST(WfdbAnnotation, ModifiersFollowTheirAnnotation)
{
    // N at 10, SUB 2, CHN 1, NUM 7; V at 30; SUB 0 doesn't carry, CHN and NUM do.
    const QByteArray data
        = bytes({ 0x0A, 0x04, 0x02, 0xF4, 0x01, 0xF8, 0x07, 0xF0, 0x14, 0x14, 0x02, 0xF8, 0, 0 });
    const QVector<WfdbAnnotation> list = decodeWfdbAnnotations(data, "x");
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0], ann(10, 1, {}, 2, 1, 7));
    EXPECT_EQ(list[1], ann(30, 5, {}, 0, 2, 7));
    // NUM and CHN before the first annotation set what it starts with.
    const QByteArray leading = bytes({ 0x05, 0xF0, 0x03, 0xF8, 0x01, 0x04, 0, 0 });
    EXPECT_EQ(
        decodeWfdbAnnotations(leading, "x"), QVector<WfdbAnnotation> { ann(1, 1, {}, 0, 3, 5) });
}

TEST(WfdbAnnotation, RoundTrips)
{
    QVector<WfdbAnnotation> list;
    qint64 t = 0;
    const qint64 steps[]
        = { 0, 1, 1023, 1024, 1025, 65535, 65536, 1 << 20, 3000000000LL, 5000000000LL, 0, 17 };
    int i = 0;
    for (qint64 step : steps) {
        t += step;
        QByteArray aux(i % 5, char('a' + i)); // lengths 0..4, odd and even
        list.append(ann(t, 1 + (i * 7) % 58, aux, i % 3 == 0 ? i : 0, (i / 4) % 2, i / 3));
        ++i;
    }
    list.append(ann(t + 5, 28, QByteArray(1023, 'x'), 1023, 1023, 1023));
    EXPECT_EQ(decodeWfdbAnnotations(encodeWfdbAnnotations(list), "x"), list);

    // Unsorted input comes back in time order, equal times in their given order.
    const QVector<WfdbAnnotation> unsorted
        = { ann(50, 5), ann(10, 1), ann(50, 28, "(AFIB"), ann(2000, 2) };
    const QVector<WfdbAnnotation> sorted
        = { ann(10, 1), ann(50, 5), ann(50, 28, "(AFIB"), ann(2000, 2) };
    EXPECT_EQ(decodeWfdbAnnotations(encodeWfdbAnnotations(unsorted), "x"), sorted);
}

TEST(WfdbAnnotation, EncodeRejectsWhatTheFormatCannotHold)
{
    const QVector<WfdbAnnotation> bad[] = {
        { ann(-1, 1) },
        { ann(5, 0) },
        { ann(5, 59) },
        { ann(5, 63) },
        { ann(5, 1, {}, 1024) },
        { ann(5, 1, {}, 0, -1) },
        { ann(5, 1, {}, 0, 0, 1024) },
        { ann(5, 1, QByteArray(1024, 'a')) },
    };
    for (const auto& list : bad)
        EXPECT_THROW(encodeWfdbAnnotations(list), WfdbError)
            << list[0].sample << " " << list[0].code;
}

TEST(WfdbAnnotation, DamagedStreamsFailClearly)
{
    struct Row
    {
        const char* what;
        QByteArray data;
    };
    const Row rows[] = {
        { "empty", {} },
        { "no end mark", bytes({ 0x07, 0x70 }) },
        { "odd length", bytes({ 0x07, 0x70, 0x00 }) },
        { "cut after SKIP", bytes({ 0x00, 0xEC, 0x00 }) },
        { "cut inside SKIP interval", bytes({ 0x00, 0xEC, 0x00, 0x00, 0x00 }) },
        { "AUX longer than the file", bytes({ 0x07, 0x70, 0x10, 0xFC, '(', 'N', 0, 0 }) },
        { "AUX pad byte missing", bytes({ 0x07, 0x70, 0x03, 0xFC, '(', 'N', 'x' }) },
        { "AUX without annotation", bytes({ 0x02, 0xFC, '(', 'N', 0, 0 }) },
        { "SUB without annotation", bytes({ 0x01, 0xF4, 0x01, 0x04, 0, 0 }) },
        { "time goes backwards",
            bytes({ 0x64, 0x04, 0x00, 0xEC, 0xFF, 0xFF, 0xCE, 0xFF, 0x00, 0x04, 0, 0 }) },
        { "before the start", bytes({ 0x00, 0xEC, 0xFF, 0xFF, 0xFB, 0xFF, 0x01, 0x04, 0, 0 }) },
    };
    for (const Row& row : rows) {
        const std::string message = decodeError(row.data, "damaged.atr");
        EXPECT_NE(message, "no error") << row.what;
        EXPECT_NE(message.find("damaged.atr"), std::string::npos) << row.what << ": " << message;
    }
}

TEST(WfdbAnnotation, EveryTruncationFails)
{
    // A stream cut anywhere loses its end mark or a part of a word, and must say so.
    const QVector<WfdbAnnotation> list
        = { ann(3, 28, "(N"), ann(5000, 1, {}, 1, 1, 2), ann(5100, 5, "odd") };
    const QByteArray full = encodeWfdbAnnotations(list);
    for (int n = 0; n < full.size(); ++n)
        EXPECT_NE(decodeError(full.left(n)), "no error") << "cut at " << n;
    // Bytes after the end mark are not part of the stream.
    EXPECT_EQ(decodeWfdbAnnotations(full + "trailing", "x"), list);
}

TEST(WfdbAnnotation, RandomBytes)
{
    std::mt19937 rng(20240601);
    int failed = 0;
    for (int round = 0; round < 400; ++round) {
        QByteArray data;
        const int size = 2 + int(rng() % 4000);
        for (int i = 0; i < size; ++i)
            data.append(char(rng() & 0xFF));
        // Half the rounds have no aligned zero word, so no end mark: that must fail.
        const bool unterminated = round % 2 == 0;
        if (unterminated)
            for (int i = 0; i + 1 < data.size(); i += 2)
                if (data.at(i) == 0 && data.at(i + 1) == 0)
                    data[i] = 1;
        try {
            const QVector<WfdbAnnotation> list = decodeWfdbAnnotations(data, "random.atr");
            // A random stream may well be valid up to an early zero word; what it gives must
            // still be in order and within the format's ranges.
            EXPECT_FALSE(unterminated) << "round " << round;
            for (int i = 0; i < list.size(); ++i) {
                EXPECT_GE(list[i].sample, i > 0 ? list[i - 1].sample : 0);
                EXPECT_TRUE(list[i].code >= 0 && list[i].code <= 58);
                EXPECT_LE(list[i].aux.size(), 1023);
            }
        } catch (const WfdbError& e) {
            ++failed;
            EXPECT_NE(std::string(e.what()).find("random.atr"), std::string::npos);
        }
    }
    EXPECT_GE(failed, 380); // an early zero word is rare
}

TEST(WfdbAnnotation, FilesWriteAtomicallyAndReadBack)
{
    testsupport::TempRoot root;
    const QString path = root.file("out.atr");
    const QVector<WfdbAnnotation> list = { ann(18, 28, "(N"), ann(77, 1), ann(4000, 5, {}, 0, 1) };
    writeWfdbAnnotations(path, list);
    EXPECT_EQ(readWfdbAnnotations(path), list);

    // A failed write leaves the old file as it was.
    const QByteArray before = testsupport::readAll(path);
    testsupport::FailingIo shortWrite(1);
    EXPECT_THROW(writeWfdbAnnotations(path, { ann(1, 1) }, &shortWrite), WfdbError);
    testsupport::FailingIo failedCommit;
    failedCommit.setFailCommit(true);
    EXPECT_THROW(writeWfdbAnnotations(path, { ann(1, 1) }, &failedCommit), WfdbError);
    EXPECT_EQ(testsupport::readAll(path), before);

    EXPECT_THROW(writeWfdbAnnotations(root.file("no/such/dir/x.atr"), list), WfdbError);
}

TEST(WfdbAnnotation, ReadErrorsNameTheFile)
{
    testsupport::TempRoot root;
    auto message = [](const QString& path) -> std::string {
        try {
            readWfdbAnnotations(path);
        } catch (const WfdbError& e) {
            return e.what();
        }
        return "no error";
    };
    EXPECT_NE(message(root.file("missing.atr")).find("missing.atr"), std::string::npos);
    EXPECT_NE(message(root.path()), "no error"); // a folder
    testsupport::writeAll(root.file("cut.atr"), bytes({ 0x07, 0x70, 0x03, 0xFC, '(', 'N' }));
    EXPECT_NE(message(root.file("cut.atr")).find("cut.atr"), std::string::npos);
}
