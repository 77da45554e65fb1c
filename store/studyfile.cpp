#include "store/studyfile.h"

#include "store/resultset.h"
#include "store/storeio.h"
#include "store/study.h"
#include "store/studyinfo.h"
#include "store/trend.h"

#include <QFile>
#include <QSaveFile>

namespace StudyFile {
const char kMagicV1[] = "VTSTUDY1";
const char kMagicV2[] = "VTSTUDY2";
} // namespace StudyFile

namespace {

const int kMagicSize = 8;

// Members of the "study" object, all strings; the two dates are the study's own fields.
const char* const kStudyStringKeys[]
    = { "baseFilename", "status", "studyType", "institutionName", "technicianName", "doctorName",
          "referringDoctorName", "treatment", "indication", "comments", "conclusion", nullptr };

const char* const kAnimalKeys[] = { "animalSpecies", "animalBreed" };

QString text(const QByteArray& utf8)
{
    return QString::fromUtf8(utf8);
}

QByteArray bytes(const QJsonValue& v)
{
    return v.isString() ? v.toString().toUtf8() : QByteArray();
}

// Patient fields were numbers in some older files; they are text now.
QByteArray tolerantText(const QJsonValue& v)
{
    if (v.isString())
        return v.toString().toUtf8();
    if (v.isDouble())
        return QString::number(v.toDouble(), 'g', 6).toUtf8();
    return QByteArray();
}

QJsonArray doubles(const QVector<double>& values)
{
    QJsonArray a;
    for (double v : values)
        a.append(v);
    return a;
}

[[noreturn]] void unsupported()
{
    throw StoreError("Unsupported result type");
}

} // namespace

bool readStudyDocument(const QString& path, QJsonDocument& document)
{
    QFile f(path);
    if (!f.exists() || !f.open(QIODevice::ReadOnly))
        return false;
    const QByteArray magic = f.read(kMagicSize);
    if (magic.size() < kMagicSize)
        return false;
    const bool v2 = magic == StudyFile::kMagicV2;
    if (!v2 && magic != StudyFile::kMagicV1)
        return false;
    QByteArray body = f.readAll();
    if (body.isEmpty())
        return false;
    if (v2)
        body = qUncompress(body); // empty on a damaged stream, so the document is empty
    document = QJsonDocument::fromJson(body);
    return true;
}

QJsonObject studyToJson(const Study& study)
{
    QJsonObject o;
    o["id"] = study.id();
    for (int i = 0; kStudyStringKeys[i]; ++i)
        o[kStudyStringKeys[i]] = text(study.property(kStudyStringKeys[i]));
    o["studyDateTime"] = text(study.studyDateTime());
    o["recordingDateTime"] = text(study.recordingDateTime());
    return o;
}

QJsonObject patientToJson(const Study& study)
{
    QJsonObject o;
    const QByteArray prefix("patient/");
    for (int i = 0; Study::kPropertyKeys[i]; ++i) {
        const QByteArray key(Study::kPropertyKeys[i]);
        if (!key.startsWith(prefix))
            continue;
        const QByteArray name = key.mid(prefix.size());
        if (name == kAnimalKeys[0] || name == kAnimalKeys[1])
            continue;
        o[QString::fromLatin1(name)] = text(study.property(key));
    }
    // The animal fields exist only for veterinary studies: both or neither.
    const QByteArray species = study.property("patient/animalSpecies");
    const QByteArray breed = study.property("patient/animalBreed");
    if (!species.isEmpty() || !breed.isEmpty()) {
        o["animalSpecies"] = text(species);
        o["animalBreed"] = text(breed);
    }
    QJsonArray factors;
    for (const auto& kv : study.riskFactors()) {
        QJsonObject f;
        f["name"] = text(kv.first);
        f["status"] = kv.second.status;
        f["comment"] = text(kv.second.comment);
        factors.append(f);
    }
    o["riskFactors"] = factors;
    return o;
}

QJsonArray eventsToJson(const StudyEventList& events)
{
    QJsonArray a;
    for (int i = 0; i < events.count(); ++i) {
        const StudyEvent& e = events.at(i);
        QJsonObject o;
        o["description"] = text(e.description);
        o["position"] = e.position;
        o["duration"] = e.duration;
        o["print"] = e.print;
        o["printLength"] = e.printLength;
        a.append(o);
    }
    return a;
}

QJsonObject resultsToJson(const ResultSet& results)
{
    QJsonObject out;
    for (const QByteArray& key : results.keys()) {
        const Result* r = results.find(key);
        QJsonObject o;
        switch (r->kind()) {
        case ResultKind::Value:
            o["type"] = "value";
            o["value"] = static_cast<const ValueResult*>(r)->value;
            break;
        case ResultKind::ValueArray:
            o["type"] = "valueArray";
            o["values"] = doubles(static_cast<const ValueArrayResult*>(r)->values);
            break;
        case ResultKind::Event: {
            const auto* e = static_cast<const EventResult*>(r);
            o["type"] = "event";
            o["timestamp"] = e->timestamp;
            o["duration"] = e->duration;
            o["value"] = e->value;
            break;
        }
        case ResultKind::EventList: {
            QJsonArray ts, ds, vs;
            for (const EventResult& e : static_cast<const EventListResult*>(r)->events) {
                ts.append(e.timestamp);
                ds.append(e.duration);
                vs.append(e.value);
            }
            o["type"] = "eventList";
            o["timestamps"] = ts;
            o["durations"] = ds;
            o["values"] = vs;
            break;
        }
        case ResultKind::Trend: {
            // Bins are written as their points; a loaded trend is a plain TTrend.
            const auto* t = static_cast<const TTrend*>(r);
            QJsonArray ts, vs;
            for (int i = 0; i < t->size(); ++i) {
                ts.append(t->timeAt(i));
                vs.append(t->valueAt(i));
            }
            o["type"] = "trend";
            o["timestamps"] = ts;
            o["values"] = vs;
            break;
        }
        default:
            unsupported();
        }
        out[QString::fromUtf8(key)] = o;
    }
    return out;
}

void resultsFromJson(const QJsonObject& object, ResultSet& results, const QString& path)
{
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QJsonObject o = it.value().toObject();
        const QString type = o.value("type").toString();
        std::unique_ptr<Result> r;
        if (type == "value") {
            r = std::make_unique<ValueResult>(o.value("value").toDouble());
        } else if (type == "valueArray") {
            auto a = std::make_unique<ValueArrayResult>();
            for (const QJsonValue& v : o.value("values").toArray())
                a->values.append(v.toDouble());
            r = std::move(a);
        } else if (type == "event") {
            r = std::make_unique<EventResult>(o.value("timestamp").toDouble(),
                o.value("duration").toDouble(), o.value("value").toDouble());
        } else if (type == "eventList") {
            // The length is that of "values"; the other arrays are read at the same places.
            auto l = std::make_unique<EventListResult>();
            const QJsonArray ts = o.value("timestamps").toArray();
            const QJsonArray ds = o.value("durations").toArray();
            const QJsonArray vs = o.value("values").toArray();
            for (int i = 0; i < vs.size(); ++i)
                l->events.append(
                    EventResult(ts.at(i).toDouble(), ds.at(i).toDouble(), vs.at(i).toDouble()));
            r = std::move(l);
        } else if (type == "trend") {
            auto t = std::make_unique<TTrend>();
            const QJsonArray ts = o.value("timestamps").toArray();
            const QJsonArray vs = o.value("values").toArray();
            for (int i = 0; i < vs.size(); ++i)
                t->add(ts.at(i).toDouble(), vs.at(i).toDouble());
            r = std::move(t);
        } else {
            throw StoreError("Unsupported result type in file", path);
        }
        results.insert(it.key().toUtf8(), std::move(r));
    }
}

void studyFromJson(const QJsonObject& root, Study& study)
{
    const QJsonObject s = root.value("study").toObject();
    const QJsonObject p = root.value("patient").toObject();
    study.setId(s.value("id").toInt());
    study.setStudyDateTime(bytes(s.value("studyDateTime")));
    study.setRecordingDateTime(bytes(s.value("recordingDateTime")));
    for (auto it = s.begin(); it != s.end(); ++it)
        if (it.value().isString())
            study.setProperty(it.key().toUtf8(), it.value().toString().toUtf8());
    const QByteArray prefix("patient/");
    for (int i = 0; Study::kPropertyKeys[i]; ++i) {
        const QByteArray key(Study::kPropertyKeys[i]);
        if (!key.startsWith(prefix))
            continue;
        const QString name = QString::fromLatin1(key.mid(prefix.size()));
        // Absent animal fields stay absent, so that a save writes neither of the two.
        if ((name == kAnimalKeys[0] || name == kAnimalKeys[1]) && !p.contains(name))
            continue;
        study.setProperty(key, tolerantText(p.value(name)));
    }
    for (const QJsonValue& v : p.value("riskFactors").toArray()) {
        const QJsonObject f = v.toObject();
        study.setRiskFactor(
            bytes(f.value("name")), f.value("status").toBool(), bytes(f.value("comment")));
    }
    for (const QJsonValue& v : root.value("events").toArray()) {
        const QJsonObject o = v.toObject();
        StudyEvent& e = study.events().add();
        e.description = bytes(o.value("description"));
        e.position = o.value("position").toDouble();
        e.duration = o.value("duration").toDouble();
        e.print = o.value("print").toBool();
        e.printLength = o.value("printLength").toInt();
    }
}

QByteArray encodeStudyDocument(const Study& study)
{
    // Results first: an unsupported kind must fail before any file is touched.
    const QJsonObject results = resultsToJson(study.results());
    QJsonObject root;
    root["study"] = studyToJson(study);
    root["patient"] = patientToJson(study);
    root["events"] = eventsToJson(study.events());
    root["results"] = results;
    const QByteArray json = QJsonDocument(root).toJson(QJsonDocument::Compact);
    return QByteArray(StudyFile::kMagicV2, kMagicSize) + qCompress(json, -1);
}

void writeStudyFile(const Study& study, const QString& path, StoreIo& io)
{
    QByteArray data;
    try {
        data = encodeStudyDocument(study);
    } catch (const StoreError&) {
        throw StoreError("Unsupported result type for file", path);
    }
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        throw StoreError("Cannot create study file", path);
    if (io.write(f, data.constData(), data.size()) != data.size()) {
        f.cancelWriting();
        throw StoreError("Write error in file", path);
    }
    if (!io.commit(f))
        throw StoreError("Write error in file", path);
}

QJsonObject studyInfoToJson(const StudyInfo& i)
{
    QJsonObject o;
    o["id"] = i.id;
    const std::pair<const char*, const QByteArray*> fields[] = {
        { "baseFilename", &i.baseFilename },
        { "status", &i.status },
        { "studyType", &i.studyType },
        { "studyDateTime", &i.studyDateTime },
        { "recordingDateTime", &i.recordingDateTime },
        { "institutionName", &i.institutionName },
        { "technicianName", &i.technicianName },
        { "doctorName", &i.doctorName },
        { "referringDoctorName", &i.referringDoctorName },
        { "treatment", &i.treatment },
        { "indication", &i.indication },
        { "comments", &i.comments },
        { "conclusion", &i.conclusion },
        { "patientFirstName", &i.patientFirstName },
        { "patientLastName", &i.patientLastName },
        { "patientSex", &i.patientSex },
        { "patientBirthDate", &i.patientBirthDate },
        { "patientPersonIdType", &i.patientPersonIdType },
        { "patientPersonIdNumber", &i.patientPersonIdNumber },
        { "patientAnimalSpecies", &i.patientAnimalSpecies },
        { "patientAnimalBreed", &i.patientAnimalBreed },
        { "patientMedicalGroupName", &i.patientMedicalGroupName },
        { "patientMedicalGroupNumber", &i.patientMedicalGroupNumber },
        { "patientMedicalHistoryNumber", &i.patientMedicalHistoryNumber },
        { "patientAddress", &i.patientAddress },
        { "patientCity", &i.patientCity },
        { "patientState", &i.patientState },
        { "patientCountry", &i.patientCountry },
        { "patientPhoneNumber", &i.patientPhoneNumber },
        { "patientAge", &i.patientAge },
        { "patientWeight", &i.patientWeight },
        { "patientHeight", &i.patientHeight },
    };
    for (const auto& f : fields)
        o[f.first] = text(*f.second);
    QJsonArray factors;
    for (const RiskFactorEntry& r : i.riskFactors)
        factors.append(QJsonObject {
            { "name", text(r.name) }, { "status", r.status }, { "comment", text(r.comment) } });
    o["riskFactors"] = factors;
    return o;
}
