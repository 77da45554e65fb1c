#include "recorder/wfdbannotation.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

using rectest::contains;
using rectest::errorOf;

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
    return errorOf([&] { decodeWfdbAnnotations(data, name); });
}

bool isBeat(int code)
{
    static const std::set<int> beats
        = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 34, 35, 38, 41 };
    return beats.count(code) > 0;
}

// A deliberately plain walk over the words, apart from the reader: annotations, beats and the
// sample of the last one; -1 annotations when no end mark is met.
struct Walk
{
    int annotations = -1, beats = 0;
    long long last = 0;
};

Walk plainWalk(const QByteArray& d)
{
    auto word = [&d](int i) { return unsigned(quint8(d[i])) + 256u * quint8(d[i + 1]); };
    Walk w;
    int count = 0;
    long long t = 0;
    for (int i = 0; i + 1 < d.size();) {
        const unsigned code = word(i) / 1024, low = word(i) % 1024;
        if (word(i) == 0) {
            w.annotations = count;
            break;
        }
        i += 2;
        if (code == 59) { // SKIP: a 32-bit interval, high half first
            t += (long long)(int)(word(i) * 65536u + word(i + 2));
            i += 4;
        } else if (code == 63) { // AUX: skip the text and its pad byte
            i += int(low + low % 2);
        } else if (code < 59) {
            t += low;
            w.last = t;
            ++count;
            w.beats += isBeat(int(code));
        }
    }
    return w;
}

} // namespace

TEST(WfdbAnnotation, ReferenceFilesMatchAPlainWalk)
{
    HOLTER_REQUIRE_SHARED_DATA(dataDir);
    int files = 0;
    for (const QString sub : { "mitdb", "qtdb" }) {
        const QDir dir(dataDir + "/" + sub);
        for (const QString& name :
            dir.entryList({ "*.atr", "*.q1c", "*.q2c", "*.man" }, QDir::Files, QDir::Name)) {
            const QString path = dir.filePath(name);
            SCOPED_TRACE(path.toStdString());
            const QVector<WfdbAnnotation> list = readWfdbAnnotations(path);
            const Walk walk = plainWalk(testsupport::readAll(path));
            ASSERT_FALSE(list.isEmpty());
            EXPECT_EQ(list.size(), walk.annotations);
            EXPECT_EQ(int(std::count_if(
                          list.begin(), list.end(), [](const auto& a) { return isBeat(a.code); })),
                walk.beats);
            EXPECT_EQ(list.last().sample, walk.last);
            if (sub == "mitdb" && name.endsWith(".atr")) {
                EXPECT_GT(walk.beats, 1000); // half an hour of heartbeats
                for (const WfdbAnnotation& a : list) { // rhythm text without its NUL pad
                    if (a.code == 28) {
                        EXPECT_TRUE(a.aux.startsWith('(') && !a.aux.endsWith('\0')) << a.sample;
                    }
                }
            }
            ++files;
        }
    }
    EXPECT_GT(files, 60);
}

TEST(WfdbAnnotation, DecodesHandComputedBytes)
{
    // The opening bytes of mitdb 101.atr: rhythm change at sample 7, AUX "(N" with its NUL.
    EXPECT_EQ(decodeWfdbAnnotations(
                  bytes({ 0x07, 0x70, 0x03, 0xFC, 0x28, 0x4E, 0x00, 0x00, 0x4C, 0x04, 0x00, 0x00 }),
                  "101.atr"),
        QVector<WfdbAnnotation>({ ann(7, 28, "(N"), ann(7 + 76, 1) }));
    // NUM and CHN before the first annotation set what it starts with.
    EXPECT_EQ(decodeWfdbAnnotations(bytes({ 0x05, 0xF0, 0x03, 0xF8, 0x01, 0x04, 0, 0 }), "x"),
        QVector<WfdbAnnotation> { ann(1, 1, {}, 0, 3, 5) });
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
        { "odd aux padded", { ann(0, 28, "(VT") },
            bytes({ 0x00, 0x70, 0x03, 0xFC, '(', 'V', 'T', 0, 0, 0 }) },
        { "largest plain step", { ann(1023, 1) }, bytes({ 0xFF, 0x07, 0, 0 }) },
        { "first step that needs SKIP", { ann(1024, 1) },
            bytes({ 0x00, 0xEC, 0x00, 0x00, 0x00, 0x04, 0x00, 0x04, 0, 0 }) },
        { "SKIP high half first", { ann(0x12345, 5) },
            bytes({ 0x00, 0xEC, 0x01, 0x00, 0x45, 0x23, 0x00, 0x14, 0, 0 }) },
        { "SUB CHN NUM", { ann(2, 1, {}, 3, 1, 9) },
            bytes({ 0x02, 0x04, 0x03, 0xF4, 0x01, 0xF8, 0x09, 0xF0, 0, 0 }) },
        { "SUB resets, CHN and NUM carry", { ann(10, 1, {}, 2, 1, 7), ann(30, 5, {}, 0, 2, 7) },
            bytes(
                { 0x0A, 0x04, 0x02, 0xF4, 0x01, 0xF8, 0x07, 0xF0, 0x14, 0x14, 0x02, 0xF8, 0, 0 }) },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(encodeWfdbAnnotations(row.list).toHex().toStdString(),
            row.expected.toHex().toStdString())
            << row.what;
        EXPECT_EQ(decodeWfdbAnnotations(row.expected, "x"), row.list) << row.what;
    }
}

TEST(WfdbAnnotation, RoundTrips)
{
    QVector<WfdbAnnotation> list;
    qint64 t = 0;
    int i = 0;
    for (qint64 step : { 0LL, 1023LL, 1024LL, 65536LL, 3000000000LL, 17LL }) {
        t += step;
        list.append(ann(t, 1 + (i * 7) % 58, QByteArray(i % 5, char('a' + i)), i % 3 == 0 ? i : 0,
            (i / 4) % 2, i / 3));
        ++i;
    }
    list.append(ann(t + 5, 28, QByteArray(1023, 'x'), 1023, 1023, 1023));
    EXPECT_EQ(decodeWfdbAnnotations(encodeWfdbAnnotations(list), "x"), list);

    // Unsorted input comes back in time order, equal times in their given order.
    EXPECT_EQ(decodeWfdbAnnotations(
                  encodeWfdbAnnotations({ ann(50, 5), ann(10, 1), ann(50, 28, "(AFIB") }), "x"),
        QVector<WfdbAnnotation>({ ann(10, 1), ann(50, 5), ann(50, 28, "(AFIB") }));
}

TEST(WfdbAnnotation, EncodeRejectsWhatTheFormatCannotHold)
{
    for (const WfdbAnnotation& a :
        { ann(-1, 1), ann(5, 0), ann(5, 59), ann(5, 63), ann(5, 1, {}, 1024), ann(5, 1, {}, 0, -1),
            ann(5, 1, {}, 0, 0, 1024), ann(5, 1, QByteArray(1024, 'a')) })
        EXPECT_THROW(encodeWfdbAnnotations({ a }), WfdbError) << a.sample << " " << a.code;
}

TEST(WfdbAnnotation, DamagedStreamsFailNamingTheFile)
{
    const std::pair<const char*, QByteArray> rows[] = {
        { "empty", {} },
        { "AUX longer than the file", bytes({ 0x07, 0x70, 0x10, 0xFC, '(', 'N', 0, 0 }) },
        { "AUX without annotation", bytes({ 0x02, 0xFC, '(', 'N', 0, 0 }) },
        { "SUB without annotation", bytes({ 0x01, 0xF4, 0x01, 0x04, 0, 0 }) },
        { "time goes backwards",
            bytes({ 0x64, 0x04, 0x00, 0xEC, 0xFF, 0xFF, 0xCE, 0xFF, 0x00, 0x04, 0, 0 }) },
        { "before the start", bytes({ 0x00, 0xEC, 0xFF, 0xFF, 0xFB, 0xFF, 0x01, 0x04, 0, 0 }) },
    };
    for (const auto& [what, data] : rows)
        EXPECT_TRUE(contains(decodeError(data, "damaged.atr"), "damaged.atr")) << what;

    // Cut anywhere, a stream loses its end mark or part of a word.
    const QVector<WfdbAnnotation> list
        = { ann(3, 28, "(N"), ann(5000, 1, {}, 1, 1, 2), ann(5100, 5, "odd") };
    const QByteArray full = encodeWfdbAnnotations(list);
    for (int n = 0; n < full.size(); ++n)
        EXPECT_NE(decodeError(full.left(n)), "no error") << "cut at " << n;
    // Bytes after the end mark are not part of the stream.
    EXPECT_EQ(decodeWfdbAnnotations(full + "trailing", "x"), list);
}

TEST(WfdbAnnotation, RandomBytesNeverCrash)
{
    std::mt19937 rng(20240601);
    for (int round = 0; round < 400; ++round) {
        QByteArray data;
        const int size = 2 + int(rng() % 4000);
        for (int i = 0; i < size; ++i)
            data.append(char(rng() & 0xFF));
        // Half the rounds lose every aligned zero word, so have no end mark: that must fail.
        const bool unterminated = round % 2 == 0;
        for (int i = 0; unterminated && i + 1 < data.size(); i += 2)
            if (data.at(i) == 0 && data.at(i + 1) == 0)
                data[i] = 1;
        try {
            const QVector<WfdbAnnotation> list = decodeWfdbAnnotations(data, "random.atr");
            // Valid up to an early zero word: still in order and within the format's ranges.
            EXPECT_FALSE(unterminated) << "round " << round;
            for (int i = 0; i < list.size(); ++i) {
                EXPECT_GE(list[i].sample, i > 0 ? list[i - 1].sample : 0);
                EXPECT_TRUE(list[i].code >= 0 && list[i].code <= 58);
            }
        } catch (const WfdbError& e) {
            EXPECT_TRUE(contains(e.what(), "random.atr"));
        }
    }
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

    EXPECT_TRUE(
        contains(errorOf([&] { readWfdbAnnotations(root.file("missing.atr")); }), "missing.atr"));
}
