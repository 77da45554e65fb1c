#pragma once

#include <QByteArray>
#include <QVector>

struct RiskFactor
{
    bool status = false; // the factor is present
    QByteArray comment;
    bool operator==(const RiskFactor& o) const { return status == o.status && comment == o.comment; }
};

struct RiskFactorEntry
{
    QByteArray name;
    bool status = false;
    QByteArray comment;
    bool operator==(const RiskFactorEntry& o) const
    {
        return name == o.name && status == o.status && comment == o.comment;
    }
};

// The descriptive data of a study as a flat value: what the list holds and creation takes.
// Text is UTF-8. The six signal fields are filled only when a study is being created.
struct StudyInfo
{
    int id = 0;
    QByteArray baseFilename;
    QByteArray status;
    QByteArray studyType;
    QByteArray studyDateTime;     // "yyyyMMddHHmmss"
    QByteArray recordingDateTime; // "yyyyMMddHHmmss"
    QByteArray institutionName;
    QByteArray technicianName;
    QByteArray doctorName;
    QByteArray referringDoctorName;
    QByteArray treatment;
    QByteArray indication;
    QByteArray comments;
    QByteArray conclusion;
    QByteArray sampleFormat;
    int samplingRate = 0;     // samples per second
    int channelCount = 0;
    QByteArray channelNames;  // comma-separated
    int resolution = 0;       // bits
    double gain = 0.0;        // the range is -gain..gain
    QByteArray patientFirstName;
    QByteArray patientLastName;
    QByteArray patientSex;
    QByteArray patientBirthDate; // "yyyyMMdd"
    QByteArray patientPersonIdType;
    QByteArray patientPersonIdNumber;
    QByteArray patientAnimalSpecies;
    QByteArray patientAnimalBreed;
    QByteArray patientMedicalGroupName;
    QByteArray patientMedicalGroupNumber;
    QByteArray patientMedicalHistoryNumber;
    QByteArray patientAddress;
    QByteArray patientCity;
    QByteArray patientState;
    QByteArray patientCountry;
    QByteArray patientPhoneNumber;
    QByteArray patientAge;
    QByteArray patientWeight;
    QByteArray patientHeight;
    QVector<RiskFactorEntry> riskFactors;
};
