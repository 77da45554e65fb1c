#include "store/study.h"

#include "store/beatclass.h"
#include "store/beatlist.h"
#include "store/signalsource.h"

const char* const Study::kPropertyKeys[] = {
    "baseFilename", "status", "studyType", "institutionName", "technicianName", "doctorName",
    "referringDoctorName", "treatment", "indication", "comments", "conclusion",
    "patient/firstName", "patient/lastName", "patient/sex", "patient/age", "patient/weight",
    "patient/height", "patient/birthDate", "patient/personIdType", "patient/personIdNumber",
    "patient/animalSpecies", "patient/animalBreed", "patient/medicalGroupName",
    "patient/medicalGroupNumber", "patient/medicalHistoryNumber", "patient/address",
    "patient/city", "patient/state", "patient/country", "patient/phoneNumber", nullptr};

const QByteArray Study::kInitialDateTime("00000000000000");

Study::Study(int id)
    : m_id(id), m_studyDateTime(kInitialDateTime), m_recordingDateTime(kInitialDateTime)
{
}

Study::~Study()
{
    releaseData();
}

void Study::releaseData()
{
    // Classes read beats and samples, and beats read their channel count from the signal.
    m_beatClasses.reset();
    m_beats.reset();
    m_signal.reset();
}

void Study::setSignal(std::unique_ptr<SignalSource> signal)
{
    m_signal = std::move(signal);
}

void Study::setBeats(std::unique_ptr<BeatList> beats)
{
    m_beats = std::move(beats);
}

void Study::setBeatClasses(std::unique_ptr<BeatClassSet> classes)
{
    m_beatClasses = std::move(classes);
}

QByteArray Study::property(const QByteArray& key)
{
    for (const auto& kv : m_properties)
        if (kv.first == key)
            return kv.second;
    m_properties.emplace_back(key, QByteArray());
    return QByteArray();
}

QByteArray Study::property(const QByteArray& key) const
{
    for (const auto& kv : m_properties)
        if (kv.first == key)
            return kv.second;
    return QByteArray();
}

void Study::setProperty(const QByteArray& key, const QByteArray& value)
{
    for (auto& kv : m_properties) {
        if (kv.first == key) {
            kv.second = value;
            return;
        }
    }
    m_properties.emplace_back(key, value);
}

QList<QByteArray> Study::riskFactorNames() const
{
    QList<QByteArray> names;
    for (const auto& kv : m_riskFactors)
        names << kv.first;
    return names;
}

bool Study::riskFactor(const QByteArray& name, QByteArray& comment) const
{
    const auto it = m_riskFactors.find(name);
    if (it == m_riskFactors.end()) {
        comment.clear();
        return false;
    }
    comment = it->second.comment;
    return it->second.status;
}

void Study::setRiskFactor(const QByteArray& name, bool status, const QByteArray& comment)
{
    RiskFactor& f = m_riskFactors[name];
    f.status = status;
    f.comment = comment;
}
