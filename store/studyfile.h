#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

class Study;
class StudyEventList;
class ResultSet;
struct StudyInfo;
class StoreIo;

// The vtstudy document: "VTSTUDY2" + qCompress(JSON) (written), or "VTSTUDY1" + JSON (read only).
namespace StudyFile {
extern const char kMagicV1[]; // "VTSTUDY1"
extern const char kMagicV2[]; // "VTSTUDY2"
} // namespace StudyFile

// False when the file is missing, unreadable, too short or of another kind. A JSON parse error
// is not tested here: the document is simply empty and callers test that.
bool readStudyDocument(const QString& path, QJsonDocument& document);

// The "study" and "patient" objects, shared with the vtecg header.
QJsonObject studyToJson(const Study& study);
QJsonObject patientToJson(const Study& study);
QJsonArray eventsToJson(const StudyEventList& events);
// Throws StoreError("Unsupported result type") for a kind outside the five.
QJsonObject resultsToJson(const ResultSet& results);
// Fills `results` from a "results" object read from `path`; throws StoreError
// "Unsupported result type in file <path>".
void resultsFromJson(const QJsonObject& object, ResultSet& results, const QString& path);

// Fills the descriptive fields of a study from its "study"/"patient"/"events" objects.
void studyFromJson(const QJsonObject& root, Study& study);

// The whole document as bytes (magic + compressed JSON).
QByteArray encodeStudyDocument(const Study& study);
// Writes atomically through QSaveFile; throws "Cannot create study file <path>", "Write error in
// file <path>" or, before touching the file, "Unsupported result type for file <path>".
void writeStudyFile(const Study& study, const QString& path, StoreIo& io);

// Every field of a StudyInfo, for tools that print a study.
QJsonObject studyInfoToJson(const StudyInfo& info);
