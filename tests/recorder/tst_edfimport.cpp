#include "recorder/edfimport.h"
#include "recorder/recordingimport.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "tests/recorder/edftestfile.h"
#include "tests/recorder/tst_recordersupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace rectest;

namespace {

ImportPatient noPatient()
{
    return ImportPatient();
}

// ECG II in 0.1 uV steps, an EEG channel, ECG V5 in 1 uV steps given in mV, annotations.
EdfTestFile mixedFile()
{
    EdfTestFile f;
    EdfTestSignal eeg;
    eeg.label = "EEG Fpz-Cz";
    EdfTestSignal v5;
    v5.label = "ECG V5";
    v5.dimension = "mV";
    v5.physicalMin = -32.768;
    v5.physicalMax = 32.767;
    f.signalList = { EdfTestSignal(), eeg, v5, EdfTestFile::annotationSignal() };
    f.annotationLists[0] = edfAnnotationList(0.5, 2.0, "Patient event")
        + edfAnnotationList(0.7, -1, "N"); // a beat of an earlier analysis, not a mark
    f.annotationLists[2] = edfAnnotationList(2.25, -1, "Lead off");
    return f;
}

// The physical value of a file sample in millivolts.
double millivolts(const EdfTestFile& f, int s, qint64 i)
{
    const EdfTestSignal& g = f.signalList[s];
    const double unit = g.dimension == "mV" ? 1.0 : 1e-3;
    return (g.physicalMin
               + (f.value(s, i) - g.digitalMin) * (g.physicalMax - g.physicalMin)
                   / (double(g.digitalMax) - g.digitalMin))
        * unit;
}

struct Imported
{
    testsupport::TempRoot files;
    RepoFixture store;
    Study* study = nullptr;
    explicit Imported(const EdfTestFile& f, const ImportPatient& p = noPatient())
    {
        const QString path = files.file("rec.edf");
        testsupport::writeAll(path, f.bytes());
        study = store.repo->openStudy(importEdfFile(*store.repo, path, p));
    }
    ~Imported() { store.repo->closeStudy(study); }
    std::vector<double> samples(int c) const
    {
        std::vector<double> v(size_t(study->signal()->sampleCount()));
        study->signal()->readSamples(c, 0, qint64(v.size()), v.data());
        return v;
    }
};

} // namespace

TEST(EdfImport, KeepsTheEcgSignalsInMillivoltsWithHeaderAndMarks)
{
    const EdfTestFile f = mixedFile();
    Imported in(f);
    ASSERT_NE(in.study, nullptr);
    SignalSource* s = in.study->signal();
    ASSERT_EQ(s->channelCount(), 2);
    EXPECT_EQ(s->channel(0)->name(), QByteArray("II"));
    EXPECT_EQ(s->channel(1)->name(), QByteArray("V5"));
    EXPECT_EQ(s->samplingRate(), 250);
    EXPECT_EQ(s->sampleCount(), 750);
    // V5's range of +-32.8 mV must fit 16 bits, so the step is V5's 1 uV, not II's 0.1 uV.
    EXPECT_NEAR(s->gainStep(), 65.535 / 65535, 1e-12);
    for (int c = 0; c < 2; ++c) {
        const int fileSignal = c == 0 ? 0 : 2;
        const std::vector<double> v = in.samples(c);
        for (qint64 i = 0; i < 750; ++i)
            ASSERT_NEAR(v[size_t(i)] * s->gainStep(), millivolts(f, fileSignal, i),
                s->gainStep() * 0.5 + 1e-9)
                << "channel " << c << " sample " << i;
    }
    const StudyInfo info = in.store.repo->studyInfo(in.study);
    EXPECT_EQ(info.patientLastName, QByteArray("Haagse"));
    EXPECT_EQ(info.patientFirstName, QByteArray("Harry"));
    EXPECT_EQ(info.patientMedicalHistoryNumber, QByteArray("MCH-0234567"));
    EXPECT_EQ(info.patientSex, QByteArray("F"));
    EXPECT_EQ(info.patientBirthDate, QByteArray("19510502"));
    EXPECT_EQ(in.study->studyDateTime(), QByteArray("20250302101112"));
    ASSERT_EQ(in.study->events().count(), 2);
    EXPECT_EQ(in.study->events().at(0).description, QByteArray("Patient event"));
    EXPECT_DOUBLE_EQ(in.study->events().at(0).position, 0.5);
    EXPECT_DOUBLE_EQ(in.study->events().at(0).duration, 2.0);
    EXPECT_EQ(in.study->events().at(1).description, QByteArray("Lead off"));
    EXPECT_DOUBLE_EQ(in.study->events().at(1).position, 2.25);
}

TEST(EdfImport, RecordReaderAgreesWithEdflibOnContinuousRecords)
{
    // EDFlib reads EDF+C; our record reader reads EDF+D. With records end to end both must
    // make the same study.
    EdfTestFile continuous = mixedFile();
    EdfTestFile discontinuous = continuous;
    discontinuous.reserved = "EDF+D";
    Imported a(continuous), b(discontinuous);
    ASSERT_TRUE(a.study && b.study);
    for (int c = 0; c < 2; ++c)
        EXPECT_TRUE(a.samples(c) == b.samples(c)) << "channel " << c;
    EXPECT_TRUE(a.study->events() == b.study->events());
}

TEST(EdfImport, DiscontinuousGapsAreFlatAndMarkedAsNoise)
{
    EdfTestFile f = mixedFile();
    f.reserved = "EDF+D";
    f.onsets = { 10.0, 11.0, 15.0 }; // records start 10 s into the file; 3 s are missing
    f.annotationLists = { { 2, edfAnnotationList(15.5, -1, "After the gap") } };
    Imported in(f);
    ASSERT_NE(in.study, nullptr);
    SignalSource* s = in.study->signal();
    ASSERT_EQ(s->sampleCount(), 6 * 250);
    const std::vector<double> v = in.samples(0);
    for (qint64 i = 500; i < 1250; ++i)
        ASSERT_EQ(v[size_t(i)], 0.0) << "sample " << i;
    for (qint64 i = 0; i < 250; ++i) // the third record lands after the gap
        ASSERT_NEAR(v[size_t(1250 + i)] * s->gainStep(), millivolts(f, 0, 500 + i), s->gainStep());
    ASSERT_EQ(in.study->events().count(), 2);
    const StudyEvent& gap = in.study->events().at(0);
    EXPECT_EQ(gap.description, QByteArray("Noise: gap in the recording"));
    EXPECT_DOUBLE_EQ(gap.position, 2.0);
    EXPECT_DOUBLE_EQ(gap.duration, 3.0);
    EXPECT_DOUBLE_EQ(in.study->events().at(1).position, 5.5); // from the first record's start
}

TEST(EdfImport, BdfRangeIsFittedInto16Bits)
{
    EdfTestFile f;
    f.bdf = true;
    EdfTestSignal ecg;
    ecg.physicalMin = -262144;
    ecg.physicalMax = 262143;
    ecg.digitalMin = -8388608;
    ecg.digitalMax = 8388607;
    f.signalList = { ecg, EdfTestFile::annotationSignal() };
    f.value = [](int, qint64 i) { return int(i % 500) * 30000 - 7500000; }; // +-7.5e6 steps
    Imported in(f);
    ASSERT_NE(in.study, nullptr);
    SignalSource* s = in.study->signal();
    EXPECT_NEAR(s->gainStep(), 262.144 / 32767, 1e-6);
    const std::vector<double> v = in.samples(0);
    for (qint64 i = 0; i < 750; ++i)
        ASSERT_NEAR(v[size_t(i)] * s->gainStep(), millivolts(f, 0, i), s->gainStep())
            << "sample " << i;
}

TEST(EdfImport, PlainEdfTakesItsDateAndTheCallersName)
{
    EdfTestFile f;
    f.reserved = "";
    f.patient = "Subject 7";
    f.recording = "Holter day 1";
    f.date = "31.12.24";
    f.signalList = { EdfTestSignal() };
    testsupport::TempRoot files;
    RepoFixture store;
    const QString path = files.file("plain.edf");
    testsupport::writeAll(path, f.bytes());
    const std::string missing = errorOf([&] { importEdfFile(*store.repo, path, noPatient()); });
    EXPECT_TRUE(contains(missing, "the last name")) << missing;
    EXPECT_TRUE(store.isEmpty());
    ImportPatient p;
    p.lastName = "Paz";
    p.firstName = "Eva";
    Study* s = store.repo->openStudy(importEdfFile(*store.repo, path, p));
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->studyDateTime(), QByteArray("20241231101112"));
    EXPECT_EQ(store.repo->studyInfo(s).patientLastName, QByteArray("Paz"));
    store.repo->closeStudy(s);
}

TEST(EdfImport, BadFilesAreRefusedWithAClearMessageAndNoStudy)
{
    struct Case
    {
        const char* name;
        std::function<QByteArray()> bytes;
        const char* message;
    };
    auto edited = [](std::function<void(EdfTestFile&)> edit) {
        return [edit] {
            EdfTestFile f = mixedFile();
            edit(f);
            return f.bytes();
        };
    };
    const Case cases[] = {
        { "wrong magic", [] { return QByteArray("X") + mixedFile().bytes().mid(1); },
            "not an EDF or BDF file" },
        { "zero signals", edited([](EdfTestFile& f) { f.signalCountField = "0"; }),
            "declares no signals" },
        { "200 signals", edited([](EdfTestFile& f) { f.signalCountField = "200"; }),
            "declares 200 signals" },
        { "fewer records than promised",
            [] {
                const QByteArray b = mixedFile().bytes();
                return b.left(b.size() - 100);
            },
            "promises 3 data records but the file holds 2" },
        { "sampling rate 0", edited([](EdfTestFile& f) { f.signalList[2].samplesPerRecord = 0; }),
            "sampling rate of 0" },
        { "rate above 1024 Hz", edited([](EdfTestFile& f) {
             for (auto& s : f.signalList)
                 if (!s.annotations)
                     s.samplesPerRecord = 2048;
         }),
            "a whole rate of 1 to 1024 Hz" },
        { "ECG at two rates",
            edited([](EdfTestFile& f) { f.signalList[2].samplesPerRecord = 200; }),
            "different rates" },
        { "no ECG label", edited([](EdfTestFile& f) {
             f.signalList[0].label = "Resp";
             f.signalList[2].label = "EMG chin";
         }),
            "holds no ECG signal" },
        { "ECG label in beats per minute", edited([](EdfTestFile& f) {
             f.signalList = { f.signalList[0], f.signalList[3] };
             f.signalList[0].label = "ECG rate";
             f.signalList[0].dimension = "bpm";
         }),
            "holds no ECG signal" },
        { "empty digital range",
            edited([](EdfTestFile& f) { f.signalList[0].digitalMax = -32768; }),
            "empty digital or physical range" },
        { "no data records", edited([](EdfTestFile& f) { f.records = 0; }),
            "holds no data records" },
        { "a record of gigabytes", edited([](EdfTestFile& f) {
             f.records = 0;
             f.signalList[0].samplesPerRecord = 1000000000;
         }),
            "more than the format allows" },
        { "negative samples per record",
            edited([](EdfTestFile& f) { f.signalList[1].samplesPerRecord = -125; }),
            "the number of samples per record is negative" },
        { "record duration 0", edited([](EdfTestFile& f) { f.recordSeconds = "0"; }),
            "not a positive number of seconds" },
        { "annotation list without onset", edited([](EdfTestFile& f) {
             f.reserved = "EDF+D";
             f.annotationLists[1] = QByteArray("garbage\x14", 8);
         }),
            "does not start with a signed onset" },
        { "a record a century later", edited([](EdfTestFile& f) {
             f.reserved = "EDF+D";
             f.onsets = { 0.0, 1.0, 3.2e9 };
         }),
            "a study holds at most" },
        { "records overlapping", edited([](EdfTestFile& f) {
             f.reserved = "EDF+D";
             f.onsets = { 0.0, 1.0, 1.5 };
         }),
            "before the previous one ends" },
    };
    testsupport::TempRoot files;
    for (const Case& c : cases) {
        RepoFixture store;
        const QString path = files.file("bad.edf");
        testsupport::writeAll(path, c.bytes());
        const std::string error = errorOf([&] { importEdfFile(*store.repo, path, noPatient()); });
        EXPECT_TRUE(contains(error, c.message)) << c.name << ": " << error;
        EXPECT_TRUE(contains(error, QDir::toNativeSeparators(path))) << c.name << ": " << error;
        EXPECT_TRUE(store.isEmpty()) << c.name;
    }
}

TEST(EdfImport, CancelLeavesNoStudy)
{
    EdfTestFile f = mixedFile();
    f.records = 600; // 150000 samples per signal: several chunks
    testsupport::TempRoot files;
    for (const char* kind : { "EDF+C", "EDF+D" }) {
        f.reserved = kind;
        RepoFixture store;
        const QString path = files.file("cancel.edf");
        testsupport::writeAll(path, f.bytes());
        CancelFlag cancel { false };
        ProgressLog log;
        log.cancel = &cancel;
        log.cancelAt = 1;
        const std::string error
            = errorOf([&] { importRecordingFile(*store.repo, path, noPatient(), &log, &cancel); });
        EXPECT_EQ(error, "Import cancelled") << kind;
        EXPECT_TRUE(store.isEmpty()) << kind;
    }
}
