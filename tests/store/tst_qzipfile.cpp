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
    // Sizes around the 32768-byte piece, and one that spans minizip's 64 KiB write buffer.
    const int sizes[] = { 0, 1, 32767, 32768, 32769, 200001 };
    {
        QZipFileCreator zip(archive);
        zip.setComment(QString::fromUtf8("VTZIP2 – año"));
        for (int size : sizes) {
            writeAll(dir.file("src"), ziptest::noise(size, quint32(size)));
            zip.addFile(dir.file("src"), QString("stored%1").arg(size), true);
            zip.addFile(dir.file("src"), QString("deflated%1").arg(size), false);
        }
        zip.addData(QByteArray(100000, 'x'), QString::fromUtf8("datos/ñ"));
        zip.close();
        zip.close(); // a second close does nothing
    }
    QZipFileExtractor zip(archive);
    EXPECT_EQ(zip.comment(), QString::fromUtf8("VTZIP2 – año"));
    for (int size : sizes) {
        SCOPED_TRACE(size);
        EXPECT_EQ(
            extracted(zip, QString("stored%1").arg(size)), ziptest::noise(size, quint32(size)));
        EXPECT_EQ(
            extracted(zip, QString("deflated%1").arg(size)), ziptest::noise(size, quint32(size)));
        EXPECT_EQ(zip.entrySize(QString("stored%1").arg(size)), size);
    }
    EXPECT_EQ(extracted(zip, QString::fromUtf8("datos/ñ")), QByteArray(100000, 'x'));
    // Stored entries really are stored: their bytes stand in the file as they are.
    EXPECT_TRUE(readAll(archive).contains(ziptest::noise(200001, 200001)));
    EXPECT_EQ(extracted(zip, "STORED1"), "<missing>"); // names are case-sensitive
    EXPECT_EQ(zip.entrySize("missing"), -1);
    EXPECT_TRUE(zip.extractFile("stored1", dir.file("out")));
    EXPECT_EQ(readAll(dir.file("out")), ziptest::noise(1, 1));
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

    // A disk that fills up at any point of the archive fails the operation that wrote there.
    writeAll(dir.file("src"), ziptest::noise(150000, 7));
    auto build = [&](StoreIo* io) {
        QZipFileCreator zip(dir.file("a.zip"), io);
        zip.addFile(dir.file("src"), "vtecgz", true);
        zip.addData("{}", "info");
        zip.close();
    };
    FailingIo counting;
    build(&counting);
    const qint64 whole = counting.written();
    // Every byte of the archive went through the seam (header fields are written twice).
    ASSERT_GE(whole, QFileInfo(dir.file("a.zip")).size());
    const std::pair<qint64, const char*> cases[] = {
        { 10, "Cannot open new file in zip" }, // inside the first local header
        { 30 + 6 + 40000, "Cannot write data in zip file" }, // inside the stored data
        { whole - 10, "Cannot close zip archive" }, // inside the central directory
    };
    for (const auto& [budget, message] : cases) {
        FailingIo io(budget);
        EXPECT_EQ(errorOf([&] { build(&io); }), message) << budget;
    }
}

TEST(QZipFile, ExtractorRefusesWhatIsNotAWholeZip)
{
    TempRoot dir;
    ziptest::writeZip(dir.file("good.zip"), { { "e", ziptest::noise(50000, 3), false } }, "c");
    const QByteArray good = readAll(dir.file("good.zip"));
    writeAll(dir.file("cut.zip"), good.left(good.size() / 2));
    writeAll(dir.file("text.zip"), "just some text, not an archive at all");
    writeAll(dir.file("empty.zip"), "");
    for (const char* name : { "absent.zip", "text.zip", "empty.zip", "cut.zip" })
        EXPECT_EQ(
            errorOf([&] { QZipFileExtractor zip(dir.file(name)); }), "Cannot open zip archive")
            << name;
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
    const QByteArray bytes = readAll(dir.file("a.zip"));
    // A flipped byte in stored data, and a reserved block type in deflated data.
    QByteArray flipped = bytes, mangled = bytes;
    flipped.data()[ziptest::entryDataOffset(bytes, "stored") + 1000] ^= 0x5a;
    mangled.replace(int(ziptest::entryDataOffset(bytes, "deflated")), 64, QByteArray(64, '\xff'));
    writeAll(dir.file("crc.zip"), flipped);
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

    // Writes go through the seam: a full disk is a write error.
    FailingIo io(50000);
    EXPECT_EQ(
        errorOf([&] { zip.extractFile("deflated", dir.file("out"), -1, &io); }), "Write error");
    EXPECT_EQ(io.written(), 50000);
}
