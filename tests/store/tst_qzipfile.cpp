#include "store/qzipfilecreator.h"
#include "store/qzipfileextractor.h"
#include "tests/store/ziptestutil.h"
#include "tests/support/testsupport.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

using testsupport::errorOf;
using testsupport::FailingIo;
using testsupport::readAll;
using testsupport::TempRoot;
using testsupport::writeAll;

namespace {

// Sizes around the 32768-byte piece, and one that spans minizip's 64 KiB write buffer.
const int kSizes[] = { 0, 1, 32767, 32768, 32769, 200001 };

QByteArray extracted(QZipFileExtractor& zip, const QString& entry, qint64 maxBytes = -1)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!zip.extractToDevice(entry, &buffer, maxBytes))
        return "<missing>";
    return buffer.data();
}

} // namespace

TEST(QZipFile, EntriesStoredAndDeflatedComeBackWholeWithTheComment)
{
    TempRoot dir;
    const QString archive = dir.file("a.zip");
    QVector<QByteArray> contents;
    {
        QZipFileCreator zip(archive);
        zip.setComment(QString::fromUtf8("VTZIP2 – año"));
        for (int size : kSizes) {
            contents << ziptest::noise(size, quint32(size));
            const QString source = dir.file(QString("src%1").arg(size));
            writeAll(source, contents.last());
            zip.addFile(source, QString("stored%1").arg(size), true);
            zip.addFile(source, QString("deflated%1").arg(size), false);
        }
        zip.addData(QByteArray(100000, 'x'), QString::fromUtf8("datos/ñ"));
        zip.close();
        zip.close(); // a second close does nothing
    }
    QZipFileExtractor zip(archive);
    EXPECT_EQ(zip.comment(), QString::fromUtf8("VTZIP2 – año"));
    for (int i = 0; i < int(std::size(kSizes)); ++i) {
        SCOPED_TRACE(kSizes[i]);
        EXPECT_EQ(extracted(zip, QString("stored%1").arg(kSizes[i])), contents[i]);
        EXPECT_EQ(extracted(zip, QString("deflated%1").arg(kSizes[i])), contents[i]);
        EXPECT_EQ(zip.entrySize(QString("stored%1").arg(kSizes[i])), kSizes[i]);
    }
    EXPECT_EQ(extracted(zip, QString::fromUtf8("datos/ñ")), QByteArray(100000, 'x'));
    // Stored entries really are stored: their bytes stand in the file as they are.
    EXPECT_TRUE(readAll(archive).contains(contents.last()));
    EXPECT_LT(QFileInfo(archive).size(), 3 * 200001 + 32768 * 4 + 100000);

    EXPECT_EQ(extracted(zip, "no such entry"), "<missing>");
    EXPECT_EQ(zip.entrySize("no such entry"), -1);
    EXPECT_EQ(extracted(zip, "STORED1"), "<missing>"); // names are case-sensitive
    EXPECT_TRUE(zip.extractFile("stored1", dir.file("out")));
    EXPECT_EQ(readAll(dir.file("out")), contents[1]);
    EXPECT_FALSE(zip.extractFile("stored1", dir.file("no/such/folder/out")));
    EXPECT_FALSE(zip.extractFile("missing", dir.file("out2")));
}

TEST(QZipFile, CreatorFailuresCarryTheirMessages)
{
    TempRoot dir;
    EXPECT_EQ(errorOf([&] { QZipFileCreator zip(dir.file("missing/a.zip")); }),
        "Cannot create zip archive");
    QZipFileCreator zip(dir.file("b.zip"));
    EXPECT_EQ(errorOf([&] { zip.addFile(dir.file("absent"), "x", true); }),
        "Cannot read file " + dir.file("absent").toStdString());
    zip.close();
    EXPECT_EQ(errorOf([&] { zip.addData("late", "x"); }), "Cannot open new file in zip");
}

// A disk that fills up at any point of the archive fails the operation that wrote there.
TEST(QZipFile, AShortWriteAnywhereIsAnError)
{
    TempRoot dir;
    const QByteArray content = ziptest::noise(150000, 7);
    writeAll(dir.file("src"), content);
    auto build = [&](StoreIo* io) {
        QZipFileCreator zip(dir.file("a.zip"), io);
        zip.setComment("VTZIP2");
        zip.addFile(dir.file("src"), "vtecgz", true);
        zip.addData("{}", "info");
        zip.close();
    };
    FailingIo counting;
    build(&counting);
    const qint64 whole = counting.written();
    // Every byte of the archive went through the seam (header fields are written twice).
    ASSERT_GE(whole, QFileInfo(dir.file("a.zip")).size());
    const struct
    {
        qint64 budget;
        const char* message;
    } cases[] = {
        { 10, "Cannot open new file in zip" }, // inside the first local header
        { 30 + 6 + 40000, "Cannot write data in zip file" }, // inside the stored data
        { whole - 10, "Cannot close zip archive" }, // inside the central directory
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.budget);
        FailingIo io(c.budget);
        EXPECT_EQ(errorOf([&] { build(&io); }), c.message);
    }
}

TEST(QZipFile, ExtractorRefusesWhatIsNotAWholeZip)
{
    TempRoot dir;
    EXPECT_EQ(
        errorOf([&] { QZipFileExtractor zip(dir.file("absent.zip")); }), "Cannot open zip archive");
    writeAll(dir.file("text.zip"), "just some text, not an archive at all");
    EXPECT_EQ(
        errorOf([&] { QZipFileExtractor zip(dir.file("text.zip")); }), "Cannot open zip archive");
    writeAll(dir.file("empty.zip"), "");
    EXPECT_EQ(
        errorOf([&] { QZipFileExtractor zip(dir.file("empty.zip")); }), "Cannot open zip archive");

    ziptest::writeZip(dir.file("good.zip"), { { "e", ziptest::noise(50000, 3), false } }, "c");
    const QByteArray good = readAll(dir.file("good.zip"));
    writeAll(dir.file("cut.zip"), good.left(good.size() / 2));
    EXPECT_EQ(
        errorOf([&] { QZipFileExtractor zip(dir.file("cut.zip")); }), "Cannot open zip archive");
}

TEST(QZipFile, DamagedOrLyingEntriesAreRefusedWithoutWritingPastTheirSize)
{
    TempRoot dir;
    const QByteArray content = ziptest::noise(70000, 11);
    const QByteArray zeros(1 << 20, '\0'); // a megabyte that deflates to about a kilobyte
    ziptest::writeZip(dir.file("a.zip"),
        { { "stored", content, false }, { "deflated", content, true },
            { "bomb", zeros, true, 4096 }, { "short", content, true, content.size() + 10 } },
        "c");
    QByteArray bytes = readAll(dir.file("a.zip"));

    // A flipped byte in stored data, and in deflated data.
    QByteArray flipped = bytes;
    flipped.data()[ziptest::entryDataOffset(bytes, "stored") + 1000] ^= 0x5a;
    writeAll(dir.file("crc.zip"), flipped);
    QByteArray mangled = bytes;
    const qint64 deflated = ziptest::entryDataOffset(bytes, "deflated");
    for (int i = 0; i < 64; ++i)
        mangled[int(deflated + i)] = char(0xff); // a reserved block type
    writeAll(dir.file("inflate.zip"), mangled);

    const struct
    {
        const char* file;
        const char* entry;
        const char* message;
    } cases[] = {
        { "crc.zip", "stored", "Corrupt file read from zip archive" },
        { "inflate.zip", "deflated", "Cannot read file in zip archive" },
        { "a.zip", "bomb", "Entry bomb in zip archive is larger than its header announces" },
        { "a.zip", "short", "Corrupt file read from zip archive" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.entry);
        QZipFileExtractor zip(dir.file(c.file));
        QBuffer out;
        out.open(QIODevice::WriteOnly);
        EXPECT_EQ(errorOf([&] { zip.extractToDevice(c.entry, &out); }), c.message);
        EXPECT_LE(out.size(), zip.entrySize(c.entry));
    }
    QZipFileExtractor zip(dir.file("a.zip"));
    EXPECT_EQ(extracted(zip, "deflated"), content); // the good entries stay readable
    EXPECT_EQ(errorOf([&] { extracted(zip, "stored", content.size() - 1); }),
        "Entry stored in zip archive is larger than a study allows");
    EXPECT_EQ(extracted(zip, "stored", content.size()), content);
}

TEST(QZipFile, ExtractionWritesGoThroughTheWriteSeam)
{
    TempRoot dir;
    const QByteArray content = ziptest::noise(100000, 5);
    ziptest::writeZip(dir.file("a.zip"), { { "e", content, true } }, "");
    QZipFileExtractor zip(dir.file("a.zip"));
    FailingIo io(50000);
    EXPECT_EQ(errorOf([&] { zip.extractFile("e", dir.file("out"), -1, &io); }), "Write error");
    EXPECT_EQ(io.written(), 50000);
    FailingIo unlimited;
    EXPECT_TRUE(zip.extractFile("e", dir.file("out"), -1, &unlimited));
    EXPECT_EQ(readAll(dir.file("out")), content);
}
