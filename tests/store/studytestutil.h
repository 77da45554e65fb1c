#pragma once

#include "store/study.h"
#include "store/studyinfo.h"
#include "store/studyrepository.h"
#include "tests/support/testsupport.h"

#include <QDir>

#include <memory>

// A fully filled StudyInfo: every descriptive field distinct, so that a field copied into the
// wrong place shows.
inline StudyInfo fullInfo()
{
    StudyInfo i;
    i.studyDateTime = i.recordingDateTime = "20261122083015";
    i.patientFirstName = "José";
    i.patientLastName = "Núñez";
    i.patientPersonIdNumber = "12345678";
    i.patientMedicalHistoryNumber = "HC-77";
    i.comments = "first line\nsecond line";
    int n = 0;
    for (QByteArray StudyInfo::*text : { &StudyInfo::institutionName, &StudyInfo::technicianName,
             &StudyInfo::doctorName, &StudyInfo::referringDoctorName, &StudyInfo::treatment,
             &StudyInfo::indication, &StudyInfo::conclusion, &StudyInfo::patientSex,
             &StudyInfo::patientBirthDate, &StudyInfo::patientPersonIdType,
             &StudyInfo::patientMedicalGroupName, &StudyInfo::patientMedicalGroupNumber,
             &StudyInfo::patientAddress, &StudyInfo::patientCity, &StudyInfo::patientState,
             &StudyInfo::patientCountry, &StudyInfo::patientPhoneNumber, &StudyInfo::patientAge,
             &StudyInfo::patientWeight, &StudyInfo::patientHeight })
        i.*text = "año " + QByteArray::number(++n);
    i.sampleFormat = "short";
    i.samplingRate = 500;
    i.channelCount = 3;
    i.channelNames = "II,V2,V5";
    i.resolution = 16;
    i.gain = 450.0;
    i.riskFactors = { { "Diabetes", true, "tipo 2" }, { "Gota", false, "" },
        { "Apnea del sueño", true, "not in the offered list" } };
    return i;
}

struct RepoFixture
{
    testsupport::TempRoot root;
    std::unique_ptr<StudyRepository> repo;

    explicit RepoFixture(StoreIo* io = nullptr) { reopen(io); }
    void reopen(StoreIo* io = nullptr)
    {
        repo.reset();
        StudyRepository::Options o;
        o.rootOverride = root.path();
        o.io = io;
        repo = std::make_unique<StudyRepository>("VeltronaHolter", o);
    }
    QString path(const QString& name) const { return root.file(name); }
    // No study row and no file of any kind left in the root.
    bool isEmpty() const
    {
        return repo->listStudies().isEmpty()
            && QDir(root.path()).entryList(QDir::Files | QDir::Hidden).isEmpty();
    }
};
