#pragma once

#include "store/study.h"
#include "store/studyinfo.h"
#include "store/studyrepository.h"
#include "tests/support/testsupport.h"

#include <memory>

// A fully filled StudyInfo: every descriptive field distinct, so that a field copied into the
// wrong place shows.
inline StudyInfo fullInfo()
{
    StudyInfo i;
    i.studyDateTime = "20261122083015";
    i.recordingDateTime = "20261122083015";
    i.institutionName = "Clínica del Sur";
    i.technicianName = "Tec. Ruiz";
    i.doctorName = "Dra. Paz";
    i.referringDoctorName = "Dr. Gómez";
    i.treatment = "bisoprolol 5 mg";
    i.indication = "palpitaciones";
    i.comments = "first line\nsecond line";
    i.conclusion = "ritmo sinusal";
    i.sampleFormat = "short";
    i.samplingRate = 500;
    i.channelCount = 3;
    i.channelNames = "II,V2,V5";
    i.resolution = 16;
    i.gain = 450.0;
    i.patientFirstName = "José";
    i.patientLastName = "Núñez";
    i.patientSex = "M";
    i.patientBirthDate = "19570312";
    i.patientPersonIdType = "DNI";
    i.patientPersonIdNumber = "12345678";
    i.patientMedicalGroupName = "OSDE";
    i.patientMedicalGroupNumber = "99-1";
    i.patientMedicalHistoryNumber = "HC-77";
    i.patientAddress = "Av. Siempre Viva 742";
    i.patientCity = "Rosario";
    i.patientState = "Santa Fe";
    i.patientCountry = "AR";
    i.patientPhoneNumber = "+54 341 555 0101";
    i.patientAge = "69";
    i.patientWeight = "81.5";
    i.patientHeight = "174";
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
};
