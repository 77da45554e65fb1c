#include "recorder/wfdbannotation.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QDir>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using rectest::contains;
using rectest::errorOf;

namespace {

WfdbAnnotation ann(
    qint64 sample, int code, QByteArray aux = {}, int sub = 0, int chan = 0, int num = 0)
{
    return WfdbAnnotation { sample, code, sub, chan, num, aux };
}

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// A deliberately plain walk over the words, apart from the reader: (sample, code) of each
// annotation; empty when no end mark is met.
std::vector<std::pair<qint64, int>> plainWalk(const QByteArray& d)
{
    auto word = [&d](int i) { return unsigned(quint8(d[i])) + 256u * quint8(d[i + 1]); };
    std::vector<std::pair<qint64, int>> out;
    long long t = 0;
    for (int i = 0; i + 1 < d.size();) {
        const unsigned code = word(i) / 1024, low = word(i) % 1024;
        if (word(i) == 0)
            return out;
        i += 2;
        if (code == 59) { // SKIP: a 32-bit interval, high half first
            t += (long long)(int)(word(i) * 65536u + word(i + 2));
            i += 4;
        } else if (code == 63) { // AUX: skip the text and its pad byte
            i += int(low + low % 2);
        } else if (code < 59) {
            t += low;
            out.emplace_back(t, int(code));
        }
    }
    return {};
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
            const auto walk = plainWalk(testsupport::readAll(path));
            ASSERT_FALSE(walk.empty());
            ASSERT_EQ(list.size(), int(walk.size()));
            for (int i = 0; i < list.size(); ++i)
                ASSERT_EQ(std::make_pair(list[i].sample, list[i].code), walk[i]) << i;
            for (const WfdbAnnotation& a : list) // rhythm text without its NUL pad
                EXPECT_TRUE(sub != "mitdb" || a.code != 28
                    || (a.aux.startsWith('(') && !a.aux.endsWith('\0')))
                    << a.sample;
            ++files;
        }
    }
    EXPECT_GT(files, 60);
}

TEST(WfdbAnnotation, HandComputedBytes)
{
    struct Row
    {
        const char* what;
        QVector<WfdbAnnotation> list;
        QByteArray expected;
    };
    const Row rows[] = {
        { "empty", {}, hex("0000") },
        { "odd aux padded", { ann(0, 28, "(VT") }, hex("0070 03fc 285654 00 0000") },
        { "largest plain step", { ann(1023, 1) }, hex("ff07 0000") },
        { "first step that needs SKIP", { ann(1024, 1) }, hex("00ec 0000 0004 0004 0000") },
        { "SKIP high half first", { ann(0x12345, 5) }, hex("00ec 0100 4523 0014 0000") },
        { "SUB CHN NUM", { ann(2, 1, {}, 3, 1, 9) }, hex("0204 03f4 01f8 09f0 0000") },
        { "SUB resets, CHN and NUM carry", { ann(10, 1, {}, 2, 1, 7), ann(30, 5, {}, 0, 2, 7) },
            hex("0a04 02f4 01f8 07f0 1414 02f8 0000") },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(encodeWfdbAnnotations(row.list).toHex().toStdString(),
            row.expected.toHex().toStdString())
            << row.what;
        EXPECT_EQ(decodeWfdbAnnotations(row.expected, "x"), row.list) << row.what;
    }
    // NUM and CHN before the first annotation set what it starts with.
    EXPECT_EQ(decodeWfdbAnnotations(hex("05f0 03f8 0104 0000"), "x"),
        QVector<WfdbAnnotation> { ann(1, 1, {}, 0, 3, 5) });
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
        { "AUX longer than the file", hex("0770 10fc 284e 0000") },
        { "AUX without annotation", hex("02fc 284e 0000") },
        { "SUB without annotation", hex("01f4 0104 0000") },
        { "time goes backwards", hex("6404 00ec ffff ceff 0004 0000") },
        { "before the start", hex("00ec ffff fbff 0104 0000") },
    };
    for (const auto& [what, data] : rows)
        EXPECT_TRUE(contains(errorOf([&] { decodeWfdbAnnotations(data, "bad.atr"); }), "bad.atr"))
            << what;

    // Cut anywhere, a stream loses its end mark or part of a word.
    const QVector<WfdbAnnotation> list
        = { ann(3, 28, "(N"), ann(5000, 1, {}, 1, 1, 2), ann(5100, 5, "odd") };
    const QByteArray full = encodeWfdbAnnotations(list);
    for (int n = 0; n < full.size(); ++n)
        EXPECT_THROW(decodeWfdbAnnotations(full.left(n), "x"), WfdbError) << "cut at " << n;
    // Bytes after the end mark are not part of the stream.
    EXPECT_EQ(decodeWfdbAnnotations(full + "trailing", "x"), list);
}

TEST(WfdbAnnotation, FilesWriteAtomicallyAndReadBack)
{
    testsupport::TempRoot root;
    const QString path = root.file("out.atr");
    // Unsorted input comes back in time order, equal times in their given order.
    writeWfdbAnnotations(path, { ann(77, 1), ann(18, 28, "(N"), ann(77, 5, {}, 0, 1) });
    EXPECT_EQ(readWfdbAnnotations(path),
        QVector<WfdbAnnotation>({ ann(18, 28, "(N"), ann(77, 1), ann(77, 5, {}, 0, 1) }));

    // A failed write leaves the old file as it was.
    const QByteArray before = testsupport::readAll(path);
    testsupport::FailingIo shortWrite(1);
    EXPECT_THROW(writeWfdbAnnotations(path, { ann(1, 1) }, &shortWrite), WfdbError);
    EXPECT_EQ(testsupport::readAll(path), before);

    EXPECT_TRUE(
        contains(errorOf([&] { readWfdbAnnotations(root.file("missing.atr")); }), "missing.atr"));
}
