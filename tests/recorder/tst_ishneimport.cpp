#include "recorder/ishneimport.h"
#include "recorder/recordingimport.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "tests/recorder/edftestfile.h"
#include "tests/recorder/ishnetestfile.h"
#include "tests/recorder/tst_recordersupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace rectest;

TEST(IshneImport, ReadsBackWhatTheStandardLayoutHolds)
{
    struct Case
    {
        const char* name;
        QVector<int> resolution;
        int leads;
        QVector<int> spec;
        double step; // millivolts per stored step
        QByteArray channelNames;
    };
    const Case cases[] = {
        { "three leads, one resolution", { 2500, 2500, 2500 }, 3, { 6, 11, 15 }, 0.0025,
            "II,V1,V5" },
        // The coarser lead's range needs the coarser step for all.
        { "mixed resolutions", { 2500, 2500, 5000 }, 3, { 6, 11, 15 }, 0.005, "II,V1,V5" },
        { "twelve leads keep four", QVector<int>(12, 1000), 12,
            { 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16 }, 0.001, "I,II,III,aVR" },
        { "unknown lead codes", { 3000, 3000 }, 2, { 0, 42 }, 0.003, "Lead 1,Lead 2" },
    };
    testsupport::TempRoot files;
    for (const Case& c : cases) {
        IshneTestFile f;
        f.resolution = c.resolution;
        f.leads = c.leads;
        f.leadSpec = c.spec;
        const QString path = files.file("holter.ecg");
        testsupport::writeAll(path, f.bytes());
        RepoFixture store;
        Study* s = store.repo->openStudy(importIshneFile(*store.repo, path, ImportPatient()));
        ASSERT_NE(s, nullptr) << c.name;
        SignalSource* ecg = s->signal();
        EXPECT_EQ(ecg->samplingRate(), 200) << c.name;
        ASSERT_EQ(ecg->sampleCount(), f.samplesPerLead) << c.name;
        EXPECT_NEAR(ecg->gainStep(), c.step, 1e-12) << c.name;
        const StudyInfo info = store.repo->studyInfo(s);
        QList<QByteArray> names;
        for (int k = 0; k < ecg->channelCount(); ++k)
            names << ecg->channel(k)->name();
        EXPECT_EQ(names.join(','), c.channelNames) << c.name;
        EXPECT_EQ(info.patientLastName, QByteArray("Ruiz")) << c.name;
        EXPECT_EQ(info.patientFirstName, QByteArray("Ana")) << c.name;
        EXPECT_EQ(info.patientMedicalHistoryNumber, QByteArray("HC-4711")) << c.name;
        EXPECT_EQ(info.patientSex, QByteArray("F")) << c.name;
        EXPECT_EQ(info.patientBirthDate, QByteArray("19600405")) << c.name;
        EXPECT_EQ(s->studyDateTime(), QByteArray("20250714083015")) << c.name;
        std::vector<double> v(size_t(f.samplesPerLead));
        for (int k = 0; k < ecg->channelCount(); ++k) {
            ecg->readSamples(k, 0, f.samplesPerLead, v.data());
            const double perStep = c.resolution[k] * 1e-6 / ecg->gainStep();
            for (qint64 i = 0; i < f.samplesPerLead; ++i) {
                // Same resolution: the very sample; rescaled: the nearest stored step.
                const double exact = f.value(k, i) * perStep;
                if (perStep == 1.0)
                    ASSERT_EQ(v[size_t(i)], exact) << c.name << " lead " << k << " sample " << i;
                else
                    ASSERT_LE(std::fabs(v[size_t(i)] - exact), 0.5 + 1e-6)
                        << c.name << " lead " << k << " sample " << i;
            }
        }
        store.repo->closeStudy(s);
    }
}

TEST(IshneImport, BadFilesAreRefusedWithAClearMessageAndNoStudy)
{
    struct Case
    {
        const char* name;
        std::function<void(IshneTestFile&)> edit;
        const char* message;
    };
    const Case cases[] = {
        { "wrong magic", [](IshneTestFile& f) { f.magic = "ISHNE0.9"; },
            "not an ISHNE Holter file" },
        { "checksum mismatch", [](IshneTestFile& f) { f.breakChecksum = true; },
            "checksum does not match" },
        { "fewer samples than promised", [](IshneTestFile& f) { f.samplesWritten = 999; },
            "promises 1000 samples per lead but the file holds 999" },
        { "no leads", [](IshneTestFile& f) { f.leads = 0; }, "declares 0 leads" },
        { "thirteen leads", [](IshneTestFile& f) { f.leads = 13; }, "declares 13 leads" },
        { "sampling rate 0", [](IshneTestFile& f) { f.rate = 0; }, "sampling rate 0 Hz" },
        { "ECG offset beside the variable block", [](IshneTestFile& f) { f.ecgOffsetShift = 2; },
            "offsets disagree" },
        { "variable block of gigabytes",
            [](IshneTestFile& f) { f.declaredVariableSize = 2000000000; },
            "ends inside its header" },
        { "zero resolution",
            [](IshneTestFile& f) {
                f.resolution = { 2500, 0, 2500 };
            },
            "resolution of 0 nV" },
    };
    testsupport::TempRoot files;
    for (const Case& c : cases) {
        IshneTestFile f;
        c.edit(f);
        const QString path = files.file("bad.ishne");
        testsupport::writeAll(path, f.bytes());
        RepoFixture store;
        const std::string error
            = errorOf([&] { importIshneFile(*store.repo, path, ImportPatient()); });
        EXPECT_TRUE(contains(error, c.message)) << c.name << ": " << error;
        EXPECT_TRUE(store.isEmpty()) << c.name;
    }
    // A file cut inside its header.
    const QString cut = files.file("cut.ishne");
    testsupport::writeAll(cut, IshneTestFile().bytes().left(300));
    RepoFixture store;
    EXPECT_TRUE(contains(errorOf([&] { importIshneFile(*store.repo, cut, ImportPatient()); }),
        "ends inside its header"));
}

TEST(RecordingImport, FormatsAreRecognisedByContentNotByName)
{
    testsupport::TempRoot files;
    EdfTestFile edf;
    edf.signalList = { EdfTestSignal(), EdfTestFile::annotationSignal() };
    EdfTestFile bdf = edf;
    bdf.bdf = true;
    const QByteArray header = "rec 1 250 500\nrec.dat 16 200 12 0 0 0 0 II\n";
    struct Case
    {
        const char* file;
        QByteArray bytes;
        RecordingFormat format;
    };
    const Case cases[] = {
        { "ishne.edf", IshneTestFile().bytes(), RecordingFormat::Ishne },
        { "edf.dat", edf.bytes(), RecordingFormat::Edf },
        { "bdf.ecg", bdf.bytes(), RecordingFormat::Edf },
        { "rec.hea", header, RecordingFormat::Wfdb },
        { "notes.hea", "this is not a header at all\n", RecordingFormat::Unknown },
        { "picture.edf", QByteArray("\x89PNG\r\n\x1a\n", 8) + QByteArray(600, 'x'),
            RecordingFormat::Unknown },
        { "empty.ishne", QByteArray(), RecordingFormat::Unknown },
    };
    for (const Case& c : cases) {
        const QString path = files.file(c.file);
        testsupport::writeAll(path, c.bytes);
        EXPECT_EQ(detectRecordingFormat(path), c.format) << c.file;
        EXPECT_EQ(isImportableRecording(path), c.format != RecordingFormat::Unknown) << c.file;
    }
    // The record path without extension names the record too.
    EXPECT_EQ(detectRecordingFormat(files.file("rec")), RecordingFormat::Wfdb);

    // One entry point imports each, whatever the extension says.
    RepoFixture store;
    ImportPatient p;
    p.lastName = "Paz";
    p.firstName = "Eva";
    p.start = QDateTime(QDate(2025, 1, 2), QTime(3, 4));
    testsupport::writeAll(files.file("rec.dat"), encode16(interleaved(500, 1)));
    for (const char* file : { "ishne.edf", "edf.dat", "bdf.ecg", "rec.hea" }) {
        Study* s = store.repo->openStudy(importRecordingFile(*store.repo, files.file(file), p));
        EXPECT_NE(s, nullptr) << file;
        store.repo->closeStudy(s);
    }
    const std::string error
        = errorOf([&] { importRecordingFile(*store.repo, files.file("picture.edf"), p); });
    EXPECT_TRUE(contains(error, "is not a recording that can be imported")) << error;
    EXPECT_EQ(store.repo->listStudies().size(), 4);
}
