#include "tests/store/studytestutil.h"

#include "store/storeio.h"
#include "store/studyfile.h"
#include "store/trend.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <gtest/gtest.h>

namespace {

// Creates a study, closes it and returns its id and study-file path.
std::pair<int, QString> makeStudy(RepoFixture& f)
{
    StudyInfo info = fullInfo();
    f.repo->closeStudy(f.repo->createStudy(info));
    return { info.id, f.repo->studyPath(info.baseFilename, "vtstudy") };
}

QJsonObject decode(const QString& path)
{
    QJsonDocument doc;
    EXPECT_TRUE(readStudyDocument(path, doc));
    return doc.object();
}

void writeV1(const QString& path, const QJsonObject& root)
{
    testsupport::writeAll(path, QByteArray("VTSTUDY1") + QJsonDocument(root).toJson());
}

} // namespace

TEST(StudyFile, WrittenAsCompressedJsonWithFourMembers)
{
    RepoFixture f;
    const auto [id, path] = makeStudy(f);
    const QByteArray raw = testsupport::readAll(path);
    ASSERT_TRUE(raw.startsWith("VTSTUDY2"));
    // qCompress: 4 bytes of uncompressed size, most significant first, then zlib.
    const QByteArray json = qUncompress(raw.mid(8));
    ASSERT_FALSE(json.isEmpty());
    EXPECT_EQ(qFromBigEndian<quint32>(raw.constData() + 8), quint32(json.size()));
    const QJsonObject root = QJsonDocument::fromJson(json).object();
    EXPECT_EQ(root.keys(), QStringList({ "events", "patient", "results", "study" }));
    EXPECT_EQ(root["study"].toObject()["id"].toInt(), id);
    EXPECT_EQ(root["patient"].toObject()["firstName"].toString(), QString("José"));
    // Risk factors in name order.
    const QJsonArray factors = root["patient"].toObject()["riskFactors"].toArray();
    ASSERT_EQ(factors.size(), 3);
    EXPECT_EQ(factors[0].toObject()["name"].toString(), QString("Apnea del sueño"));
}

TEST(StudyFile, OldFormatLoadsTolerantlyAndIsRewrittenInTheNewOne)
{
    RepoFixture f;
    const auto [id, path] = makeStudy(f);
    QJsonObject root = decode(path);
    // Older files held some patient numbers as JSON numbers.
    QJsonObject patient = root["patient"].toObject();
    patient["age"] = 71;
    patient["weight"] = 72.123456;
    patient["height"] = 1.0e7;
    patient["sex"] = true; // nonsense type: read as empty
    root["patient"] = patient;
    // "values" shorter than "timestamps": as many events as values.
    root["results"] = QJsonObject { { "PVC/runEvents",
        QJsonObject { { "type", "eventList" }, { "timestamps", QJsonArray { 1.0, 2.0, 3.0 } },
            { "durations", QJsonArray { 0.5, 0.5, 0.5 } },
            { "values", QJsonArray { 4.0, 5.0 } } } } };
    writeV1(path, root);

    Study* s = f.repo->openStudy(id);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->property("patient/age"), QByteArray("71"));
    EXPECT_EQ(s->property("patient/weight"), QByteArray("72.1235"));
    EXPECT_EQ(s->property("patient/height"), QByteArray("1e+07"));
    EXPECT_EQ(s->property("patient/sex"), QByteArray(""));
    const auto* runs = s->results().findAs<EventListResult>("PVC/runEvents");
    ASSERT_NE(runs, nullptr);
    ASSERT_EQ(runs->events.size(), 2);
    EXPECT_DOUBLE_EQ(runs->events[1].timestamp, 2.0);
    EXPECT_DOUBLE_EQ(runs->events[1].value, 5.0);
    f.repo->saveStudy(s);
    f.repo->closeStudy(s);
    EXPECT_TRUE(testsupport::readAll(path).startsWith("VTSTUDY2"));
    EXPECT_EQ(decode(path)["patient"].toObject()["age"].toString(), QString("71"));

    // An unknown result type is refused with the message, not silently dropped.
    root["results"] = QJsonObject { { "X/y", QJsonObject { { "type", "histogram" } } } };
    writeV1(path, root);
    EXPECT_EQ(testsupport::errorOf([&] { f.repo->openStudy(id); }),
        "Unsupported result type in file " + QDir::toNativeSeparators(path).toStdString());
    EXPECT_FALSE(f.repo->isStudyOpen(id));
}
