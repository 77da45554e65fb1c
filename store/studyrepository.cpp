#include "store/studyrepository.h"

#include "store/beatfile.h"
#include "store/ecgfile.h"
#include "store/freespace.h"
#include "store/storeio.h"
#include "store/study.h"
#include "store/studyfile.h"
#include "store/studystatus.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QUuid>

#include <random>

namespace {

const char kEcgExt[] = "vtecg";
const char kBeatsExt[] = "vtbeats";
const char kStudyExt[] = "vtstudy";
const char kCreateTable[] = "create table Study(id integer primary key, data text)";

[[noreturn]] void fail(const QString& message)
{
    throw StoreError(message.toStdString());
}

QString indexPathOf(const QString& root)
{
    return QString("%1/data/studies.sqlite").arg(root);
}

// The driver's own text, and which index it is about.
[[noreturn]] void failIndex(const QString& driverText, const QString& root)
{
    fail(QString("%1 (study index %2)")
             .arg(driverText, QDir::toNativeSeparators(indexPathOf(root))));
}

QJsonObject rowJson(const StudyInfo& info)
{
    QJsonObject o;
    o["baseFilename"] = QString::fromUtf8(info.baseFilename);
    o["status"] = QString::fromUtf8(info.status);
    o["studyType"] = QString::fromUtf8(info.studyType);
    o["studyDateTime"] = QString::fromUtf8(info.studyDateTime);
    o["patientFirstName"] = QString::fromUtf8(info.patientFirstName);
    o["patientLastName"] = QString::fromUtf8(info.patientLastName);
    if (!info.patientAnimalSpecies.isEmpty() || !info.patientAnimalBreed.isEmpty()) {
        o["patientAnimalSpecies"] = QString::fromUtf8(info.patientAnimalSpecies);
        o["patientAnimalBreed"] = QString::fromUtf8(info.patientAnimalBreed);
    }
    return o;
}

void fillFromRow(StudyInfo& info, const QByteArray& json)
{
    const QJsonObject o = QJsonDocument::fromJson(json).object();
    auto get = [&o](const char* key) { return o.value(key).toString().toUtf8(); };
    info.baseFilename = get("baseFilename");
    info.status = get("status");
    info.studyType = get("studyType");
    info.studyDateTime = get("studyDateTime");
    info.patientFirstName = get("patientFirstName");
    info.patientLastName = get("patientLastName");
    info.patientAnimalSpecies = get("patientAnimalSpecies");
    info.patientAnimalBreed = get("patientAnimalBreed");
}

// The pairs of StudyInfo members and property keys copied both ways.
struct InfoField
{
    QByteArray StudyInfo::*member;
    const char* key;
};

const InfoField kInfoFields[] = {
    { &StudyInfo::baseFilename, "baseFilename" },
    { &StudyInfo::status, "status" },
    { &StudyInfo::studyType, "studyType" },
    { &StudyInfo::institutionName, "institutionName" },
    { &StudyInfo::technicianName, "technicianName" },
    { &StudyInfo::doctorName, "doctorName" },
    { &StudyInfo::referringDoctorName, "referringDoctorName" },
    { &StudyInfo::treatment, "treatment" },
    { &StudyInfo::indication, "indication" },
    { &StudyInfo::comments, "comments" },
    { &StudyInfo::conclusion, "conclusion" },
    { &StudyInfo::patientFirstName, "patient/firstName" },
    { &StudyInfo::patientLastName, "patient/lastName" },
    { &StudyInfo::patientSex, "patient/sex" },
    { &StudyInfo::patientAge, "patient/age" },
    { &StudyInfo::patientWeight, "patient/weight" },
    { &StudyInfo::patientHeight, "patient/height" },
    { &StudyInfo::patientBirthDate, "patient/birthDate" },
    { &StudyInfo::patientPersonIdType, "patient/personIdType" },
    { &StudyInfo::patientPersonIdNumber, "patient/personIdNumber" },
    { &StudyInfo::patientAnimalSpecies, "patient/animalSpecies" },
    { &StudyInfo::patientAnimalBreed, "patient/animalBreed" },
    { &StudyInfo::patientMedicalGroupName, "patient/medicalGroupName" },
    { &StudyInfo::patientMedicalGroupNumber, "patient/medicalGroupNumber" },
    { &StudyInfo::patientMedicalHistoryNumber, "patient/medicalHistoryNumber" },
    { &StudyInfo::patientAddress, "patient/address" },
    { &StudyInfo::patientCity, "patient/city" },
    { &StudyInfo::patientState, "patient/state" },
    { &StudyInfo::patientCountry, "patient/country" },
    { &StudyInfo::patientPhoneNumber, "patient/phoneNumber" },
};

} // namespace

const QStringList& StudyRepository::defaultRiskFactorNames()
{
    static const QStringList names = { QString::fromUtf8("Hipertensión"), "Tabaquismo actual",
        "Ex-tabaquismo", "Sedentarismo", "Obesidad", "Diabetes", "Dislipemia", "Stress", "Angor",
        "Infarto agudo de miocardio", "Gota" };
    return names;
}

StudyRepository::StudyRepository(const QString& folderName)
    : StudyRepository(folderName, Options())
{
}

StudyRepository::StudyRepository(const QString& folderName, const Options& options)
    : m_io(options.io)
    , m_freeSpaceQuery(options.freeSpaceQuery)
    , m_riskFactorNames(defaultRiskFactorNames())
{
    m_rootPath = options.rootOverride.isEmpty()
        ? QString("%1/%2").arg(
            QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation), folderName)
        : options.rootOverride;
    QDir().mkpath(m_rootPath);
    QDir root(m_rootPath);
    root.mkdir("data");
    root.mkdir("temp");
    if (!root.exists() || !QFileInfo(root.filePath("data")).isDir())
        fail(QString("Cannot create the data folder %1").arg(QDir::toNativeSeparators(m_rootPath)));
    openIndex();
}

StudyRepository::~StudyRepository()
{
    while (!m_openStudies.empty())
        closeStudy(m_openStudies.begin()->second.get());
    {
        QSqlDatabase db = QSqlDatabase::database(m_connectionName, false);
        if (db.isOpen())
            db.close();
    }
    QSqlDatabase::removeDatabase(m_connectionName);
}

void StudyRepository::openIndex()
{
    if (!QSqlDatabase::drivers().contains("QSQLITE"))
        fail("SQLite driver not available");
    const QString indexPath = indexPathOf(m_rootPath);
    bool existed = QFileInfo::exists(indexPath);
    // One connection per repository, so that tests and tools may hold more than one.
    m_connectionName = "holter-" + QUuid::createUuid().toString(QUuid::WithoutBraces);
    QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", m_connectionName);
    db.setDatabaseName(indexPath);
    if (!db.open())
        failIndex(db.lastError().text(), m_rootPath);
    if (existed) {
        // The rows are trusted, but a file that isn't an index at all (damaged, or something
        // else under that name) is only a cache: set it aside and rebuild from the studies.
        QSqlQuery probe(db);
        if (probe.exec("select count(*) from Study"))
            return;
        db.close();
        const QString aside = QString("%1.damaged-%2")
                                  .arg(indexPath)
                                  .arg(QDateTime::currentDateTime().toString("yyyyMMddHHmmss"));
        if (!QFile::rename(indexPath, aside))
            fail(QString("The study index %1 is damaged and cannot be replaced")
                     .arg(QDir::toNativeSeparators(indexPath)));
        if (!db.open())
            failIndex(db.lastError().text(), m_rootPath);
        existed = false;
    }
    QSqlQuery create(db);
    if (!create.exec(kCreateTable))
        failIndex(create.lastError().text(), m_rootPath);
    rebuildIndex();
}

void StudyRepository::rebuildIndex()
{
    QSqlDatabase db = QSqlDatabase::database(m_connectionName);
    db.transaction();
    const QDir root(m_rootPath);
    const QStringList files
        = root.entryList({ QString("*.") + kStudyExt }, QDir::Files, QDir::Name);
    QSet<int> seen;
    for (const QString& name : files) {
        QJsonDocument doc;
        if (!readStudyDocument(QString("%1/%2").arg(m_rootPath, name), doc))
            continue;
        const QJsonObject rootObj = doc.object();
        const QJsonObject s = rootObj.value("study").toObject();
        const QJsonObject p = rootObj.value("patient").toObject();
        if (doc.isNull() || rootObj.isEmpty() || s.isEmpty() || p.isEmpty())
            continue;
        StudyInfo info;
        info.id = s.value("id").toInt();
        // A copied study file can repeat an id: the first in name order keeps it, rather than
        // leaving the whole store unusable.
        if (info.id < 1 || info.id > 999999999 || seen.contains(info.id))
            continue;
        seen.insert(info.id);
        auto str
            = [](const QJsonObject& o, const char* k) { return o.value(k).toString().toUtf8(); };
        info.baseFilename = str(s, "baseFilename");
        info.status = str(s, "status");
        info.studyType = str(s, "studyType");
        info.studyDateTime = str(s, "studyDateTime");
        info.patientFirstName = str(p, "firstName");
        info.patientLastName = str(p, "lastName");
        info.patientAnimalSpecies = str(p, "animalSpecies");
        info.patientAnimalBreed = str(p, "animalBreed");
        try {
            writeRow(info, true);
        } catch (...) {
            db.rollback();
            throw;
        }
    }
    db.commit();
}

void StudyRepository::writeRow(const StudyInfo& info, bool insert)
{
    QSqlQuery q(QSqlDatabase::database(m_connectionName));
    q.prepare(insert ? "insert into Study(id, data) values (:id, :data)"
                     : "update Study set data = :data where id = :id");
    q.bindValue(":id", info.id);
    q.bindValue(
        ":data", QString::fromUtf8(QJsonDocument(rowJson(info)).toJson(QJsonDocument::Compact)));
    if (!q.exec())
        failIndex(q.lastError().text(), m_rootPath);
}

bool StudyRepository::studyExists(int id, StudyInfo& info) const
{
    QSqlQuery q(QSqlDatabase::database(m_connectionName));
    q.prepare("select data from Study where id = ?");
    q.addBindValue(id);
    if (!q.exec() || !q.next())
        return false;
    info.id = id;
    fillFromRow(info, q.value(0).toString().toUtf8());
    return true;
}

QList<StudyInfo> StudyRepository::listStudies()
{
    QSqlQuery q(QSqlDatabase::database(m_connectionName));
    q.setForwardOnly(true);
    if (!q.exec("select id, data from Study"))
        failIndex(q.lastError().text(), m_rootPath);
    QList<StudyInfo> list;
    while (q.next()) {
        StudyInfo info;
        info.id = q.value(0).toInt();
        fillFromRow(info, q.value(1).toString().toUtf8());
        list << info;
    }
    return list;
}

QString StudyRepository::studyPath(const QByteArray& baseName, const char* extension) const
{
    return QString("%1/%2.%3")
        .arg(m_rootPath, QString::fromUtf8(baseName), QString::fromLatin1(extension));
}

int StudyRepository::newStudyId() const
{
    std::random_device device;
    std::uniform_int_distribution<int> pick(1, 999999999);
    StudyInfo unused;
    int id;
    do {
        id = pick(device);
    } while (studyExists(id, unused));
    return id;
}

QByteArray StudyRepository::newBaseName(const StudyInfo& info) const
{
    QByteArray base;
    for (const QByteArray* part : { &info.patientMedicalHistoryNumber, &info.patientPersonIdNumber,
             &info.patientLastName, &info.patientFirstName })
        if (!part->isEmpty())
            base += *part + "-";
    base += info.studyDateTime;
    QByteArray name = base;
    for (int n = 1; QFileInfo::exists(studyPath(name, kStudyExt)); ++n)
        name = base + "-" + QByteArray::number(n);
    return name;
}

Study* StudyRepository::createStudy(StudyInfo& info)
{
    if (m_rootPath.isEmpty())
        fail("Undefined database path");
    if (info.channelCount < 1 || info.channelCount > SignalSource::kMaxChannels
        || info.samplingRate < 1 || info.resolution < 1 || info.resolution > 16)
        fail(QString("Invalid signal parameters: %1 channels at %2 Hz, %3 bits")
                 .arg(info.channelCount)
                 .arg(info.samplingRate)
                 .arg(info.resolution));
    if (info.status.isEmpty())
        info.status = StudyStatus::Downloaded;
    if (info.studyType.isEmpty())
        info.studyType = "Holter";
    info.baseFilename = newBaseName(info);
    info.id = newStudyId();

    const QString studyFile = studyPath(info.baseFilename, kStudyExt);
    const QString ecgFile = studyPath(info.baseFilename, kEcgExt);
    const QString beatsFile = studyPath(info.baseFilename, kBeatsExt);
    auto study = std::make_unique<Study>(info.id);
    try {
        auto ecg = std::make_unique<EcgFile>(
            ecgFile, info.channelCount, info.samplingRate, EcgFile::kHeaderSize, true, m_io);
        ecg->setGainRange(-info.gain, info.gain);
        ecg->setResolution(info.resolution);
        const QList<QByteArray> names = info.channelNames.split(',');
        for (int c = 0; c < std::min(info.channelCount, int(names.size())); ++c)
            ecg->channel(c)->setName(names[c].trimmed());
        EcgFile* ecgRaw = ecg.get();
        study->setSignal(std::move(ecg));
        auto beats
            = std::make_unique<BeatFile>(ecgRaw, beatsFile, BeatFile::kHeaderSize, true, m_io);
        BeatFile* beatsRaw = beats.get();
        study->setBeats(std::move(beats));
        applyInfo(study.get(), info);
        for (const RiskFactorEntry& r : info.riskFactors)
            study->setRiskFactor(r.name, r.status, r.comment);
        ecgRaw->writeHeader(studyToJson(*study), patientToJson(*study));
        beatsRaw->writeHeader();
        saveStudyFile(study.get(), studyFile);
        writeRow(info, true);
    } catch (...) {
        // Nothing half-made stays behind: the name was free, so these files are ours.
        study.reset();
        QFile::remove(studyFile);
        QFile::remove(ecgFile);
        QFile::remove(beatsFile);
        throw;
    }
    Study* raw = study.get();
    m_openStudies[info.id] = std::move(study);
    return raw;
}

std::unique_ptr<Study> StudyRepository::loadStudyFile(const QString& path)
{
    QJsonDocument doc;
    if (!readStudyDocument(path, doc) || doc.isNull() || doc.isEmpty())
        return nullptr;
    const QJsonObject root = doc.object();
    if (root.isEmpty() || root.value("study").toObject().isEmpty()
        || root.value("patient").toObject().isEmpty())
        return nullptr;
    const QFileInfo fi(path);
    const QString base = fi.completeBaseName();
    const QString ecgPath = QString("%1/%2.%3").arg(fi.path(), base, kEcgExt);
    const QString beatsPath = QString("%1/%2.%3").arg(fi.path(), base, kBeatsExt);

    auto study = std::make_unique<Study>();
    studyFromJson(root, *study);
    std::unique_ptr<EcgFile> ecg = EcgFile::open(ecgPath, m_io);
    if (!ecg)
        return nullptr;
    // A study moved without its beats is still usable: it just needs processing.
    if (!QFileInfo::exists(beatsPath)) {
        BeatFile empty(ecg.get(), beatsPath, BeatFile::kHeaderSize, true, m_io);
        empty.writeHeader();
    }
    std::unique_ptr<BeatFile> beats = BeatFile::open(ecg.get(), beatsPath, m_io);
    if (!beats)
        return nullptr;
    study->setSignal(std::move(ecg));
    study->setBeats(std::move(beats));
    resultsFromJson(root.value("results").toObject(), study->results(), path);
    return study;
}

void StudyRepository::saveStudyFile(Study* study, const QString& path)
{
    writeStudyFile(*study, path, StoreIo::orStandard(m_io));
}

Study* StudyRepository::openStudy(int id)
{
    StudyInfo row;
    if (!studyExists(id, row) || isStudyOpen(id))
        return nullptr;
    std::unique_ptr<Study> study = loadStudyFile(studyPath(row.baseFilename, kStudyExt));
    if (!study)
        return nullptr;
    Study* raw = study.get();
    m_openStudies[id] = std::move(study);
    return raw;
}

void StudyRepository::saveStudy(Study* study)
{
    if (!study)
        return;
    const auto it = m_openStudies.find(study->id());
    if (it == m_openStudies.end() || it->second.get() != study)
        return;
    saveStudyFile(study, studyPath(study->property(QByteArray("baseFilename")), kStudyExt));
    writeRow(studyInfo(study), false);
}

void StudyRepository::closeStudy(Study* study)
{
    if (!study)
        return;
    const auto it = m_openStudies.find(study->id());
    if (it == m_openStudies.end() || it->second.get() != study)
        return;
    it->second->releaseData();
    m_openStudies.erase(it);
}

void StudyRepository::deleteStudy(int id)
{
    if (isStudyOpen(id))
        return;
    StudyInfo row;
    if (!studyExists(id, row))
        return;
    QFile::remove(studyPath(row.baseFilename, kStudyExt));
    QFile::remove(studyPath(row.baseFilename, kEcgExt));
    QFile::remove(studyPath(row.baseFilename, kBeatsExt));
    QSqlQuery q(QSqlDatabase::database(m_connectionName));
    q.prepare("delete from Study where id = ?");
    q.addBindValue(id);
    if (!q.exec())
        failIndex(q.lastError().text(), m_rootPath);
}

bool StudyRepository::isStudyOpen(int id) const
{
    return m_openStudies.count(id) > 0;
}

StudyInfo StudyRepository::studyInfo(const Study* study) const
{
    StudyInfo info;
    info.id = study->id();
    for (const InfoField& f : kInfoFields)
        info.*(f.member) = study->property(QByteArray(f.key));
    info.studyDateTime = study->studyDateTime();
    info.recordingDateTime = study->recordingDateTime();
    for (const auto& kv : study->riskFactors())
        info.riskFactors.append({ kv.first, kv.second.status, kv.second.comment });
    return info;
}

void StudyRepository::applyInfo(Study* study, const StudyInfo& info) const
{
    for (const InfoField& f : kInfoFields) {
        // The animal fields exist only on veterinary studies; don't invent empty ones.
        const QByteArray key(f.key);
        if ((key == "patient/animalSpecies" || key == "patient/animalBreed")
            && info.patientAnimalSpecies.isEmpty() && info.patientAnimalBreed.isEmpty())
            continue;
        study->setProperty(key, info.*(f.member));
    }
    study->setStudyDateTime(info.studyDateTime);
    study->setRecordingDateTime(info.recordingDateTime);
}

std::unique_ptr<EcgFile> StudyRepository::createEcgFile(
    const QByteArray& baseName, const Study* study)
{
    const SignalSource* s = study->signal();
    if (!s)
        fail(QString("Cannot create file %1: the study has no signal")
                 .arg(QDir::toNativeSeparators(studyPath(baseName, kEcgExt))));
    auto ecg = std::make_unique<EcgFile>(studyPath(baseName, kEcgExt), s->channelCount(),
        s->samplingRate(), EcgFile::kHeaderSize, true, m_io);
    ecg->setGainRange(s->gainMin(), s->gainMax());
    ecg->setResolution(s->resolution());
    for (int c = 0; c < s->channelCount(); ++c)
        ecg->channel(c)->setName(s->channel(c)->name());
    ecg->writeHeader(studyToJson(*study), patientToJson(*study));
    return ecg;
}

std::unique_ptr<EcgFile> StudyRepository::openEcgFile(const QByteArray& baseName)
{
    return EcgFile::open(studyPath(baseName, kEcgExt), m_io);
}

void StudyRepository::destroySource(std::unique_ptr<SignalSource> source)
{
    source.reset();
}

void StudyRepository::removeEcgFile(const QByteArray& baseName)
{
    QFile::remove(studyPath(baseName, kEcgExt));
}

void StudyRepository::replaceEcgFile(const QByteArray& fromBase, const QByteArray& toBase)
{
    QFile::remove(studyPath(toBase, kEcgExt));
    QFile::rename(studyPath(fromBase, kEcgExt), studyPath(toBase, kEcgExt));
}

QByteArray StudyRepository::dataPath() const
{
    return m_rootPath.toUtf8();
}

bool StudyRepository::hasFreeSpace() const
{
    const qint64 free = m_freeSpaceQuery ? m_freeSpaceQuery(m_rootPath) : freeBytesAt(m_rootPath);
    return free < 0 || free >= kMinFreeBytes;
}
