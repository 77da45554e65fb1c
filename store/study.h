#pragma once

#include "store/resultset.h"
#include "store/studyevent.h"
#include "store/studyinfo.h"

#include <QByteArray>
#include <QList>

#include <map>
#include <memory>
#include <utility>
#include <vector>

class SignalSource;
class BeatList;
class BeatClassSet;

// One open recording. Owned by the repository; nothing else creates or destroys one.
class Study
{
public:
    static const char* const kPropertyKeys[]; // in list-record order, null-terminated
    static const QByteArray kInitialDateTime; // "00000000000000"

    explicit Study(int id = 0);
    Study(const Study&) = delete;
    Study& operator=(const Study&) = delete;
    ~Study(); // destroys classes, beats, then signal

    int id() const { return m_id; }
    void setId(int id) { m_id = id; }

    // An unknown key reads as empty and enters the map.
    QByteArray property(const QByteArray& key);
    QByteArray property(const QByteArray& key) const; // const read: does not enter the key
    void setProperty(const QByteArray& key, const QByteArray& value);
    const std::vector<std::pair<QByteArray, QByteArray>>& properties() const
    {
        return m_properties;
    }

    QList<QByteArray> riskFactorNames() const;
    // Status of the factor, false for an unknown name; `comment` gets its comment.
    bool riskFactor(const QByteArray& name, QByteArray& comment) const;
    void setRiskFactor(const QByteArray& name, bool status, const QByteArray& comment);
    const std::map<QByteArray, RiskFactor>& riskFactors() const { return m_riskFactors; }

    QByteArray studyDateTime() const { return m_studyDateTime; }
    QByteArray recordingDateTime() const { return m_recordingDateTime; }
    void setStudyDateTime(const QByteArray& text) { m_studyDateTime = text; }
    void setRecordingDateTime(const QByteArray& text) { m_recordingDateTime = text; }

    SignalSource* signal() const { return m_signal.get(); }
    BeatList* beats() const { return m_beats.get(); }
    void setSignal(std::unique_ptr<SignalSource> signal);
    void setBeats(std::unique_ptr<BeatList> beats);
    // Morphology classes of the beats, built when a study is opened for review; not stored.
    BeatClassSet* beatClasses() const { return m_beatClasses.get(); }
    void setBeatClasses(std::unique_ptr<BeatClassSet> classes);
    // Destroys the classes, beats, then the signal, in the order their dependency needs.
    void releaseData();

    ResultSet& results() { return m_results; }
    const ResultSet& results() const { return m_results; }
    StudyEventList& events() { return m_events; }
    const StudyEventList& events() const { return m_events; }

private:
    int m_id;
    // Insertion-ordered; few keys, so a vector beats a map and keeps the list-record order.
    std::vector<std::pair<QByteArray, QByteArray>> m_properties;
    std::map<QByteArray, RiskFactor> m_riskFactors;
    std::unique_ptr<SignalSource> m_signal;
    std::unique_ptr<BeatList> m_beats;
    std::unique_ptr<BeatClassSet> m_beatClasses; // reads beats and signal, so goes first
    ResultSet m_results;
    StudyEventList m_events;
    QByteArray m_studyDateTime;
    QByteArray m_recordingDateTime;
};
