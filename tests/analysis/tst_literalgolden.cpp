// The literal type rules must keep giving exactly the labels they gave when the label refinement
// was added: counts per type and a hash of the whole label sequence of two MIT-BIH records,
// checked against a summary written by the code before the refinement existed.
// HOLTER_WRITE_GOLDEN=1 prints the summary lines instead of comparing.

#include "analysis/memorybeatlist.h"
#include "analysis/studyprocessor.h"
#include "recorder/wfdbrecord.h"
#include "store/study.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QTextStream>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <iostream>
#include <memory>

namespace {

// "101 U=.. N=.. V=.. F=.. S=.. noise=.. hash=.." for one record, run through all five stages.
QString summary(const QString& recordPath, const QString& name)
{
    Study study;
    study.setSignal(std::make_unique<WfdbSource>(recordPath));
    auto beats = std::make_unique<MemoryBeatList>();
    MemoryBeatList* list = beats.get();
    study.setBeats(std::move(beats));
    StudyProcessor processor(&study);
    processor.setAutoDelete(false);
    ProcessingOptions options;
    options.literalRules = true;
    processor.setOptions(options);
    processor.run();

    int counts[5] = {}, noise = 0;
    std::uint64_t hash = 1469598103934665603ull; // FNV-1a over (sample, type, beat, class)
    auto mix = [&hash](std::int64_t v) {
        for (int k = 0; k < 8; ++k) {
            hash ^= std::uint64_t((v >> (8 * k)) & 0xff);
            hash *= 1099511628211ull;
        }
    };
    for (const Beat& b : list->beats()) {
        if (!b.isBeat)
            ++noise;
        else if (b.type >= 0 && b.type < 5)
            ++counts[b.type];
        mix(std::llround(b.rInstant() * 250.0));
        mix(b.type);
        mix(b.isBeat);
        mix(b.classId);
    }
    return QString("%1 U=%2 N=%3 V=%4 F=%5 S=%6 noise=%7 hash=%8")
        .arg(name)
        .arg(counts[0])
        .arg(counts[1])
        .arg(counts[2])
        .arg(counts[3])
        .arg(counts[4])
        .arg(noise)
        .arg(QString::number(hash, 16));
}

TEST(LiteralGolden, LabelsOfTwoRecordsAreUnchanged)
{
    HOLTER_REQUIRE_SHARED_DATA(dataDir);
    QFile golden(QStringLiteral(LITERAL_GOLDEN_FILE));
    ASSERT_TRUE(golden.open(QIODevice::ReadOnly | QIODevice::Text)) << LITERAL_GOLDEN_FILE;
    const QStringList lines
        = QString::fromUtf8(golden.readAll()).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2);
    const bool write = qEnvironmentVariableIsSet("HOLTER_WRITE_GOLDEN");
    for (const QString& line : lines) {
        const QString record = line.section(' ', 0, 0);
        const QString path = QDir(dataDir).filePath("mitdb/" + record);
        if (!QFile::exists(path + ".hea"))
            GTEST_SKIP() << "record " << record.toStdString() << " not found; skipping";
        const QString got = summary(path, record);
        if (write)
            std::cout << got.toStdString() << "\n";
        else
            EXPECT_EQ(got.toStdString(), line.toStdString());
    }
}

} // namespace
